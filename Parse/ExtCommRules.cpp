#include <VoBgp/Parse/ExtCommRules.h>

#include <Mox/Assert.h>
#include <Mox/Exception.h>

#include <string>

namespace Routing::Bgp {

// ---- Bases --------------------------------------------------------------------------------------

Mox::Type const& BgpParseExtCommRuleBase::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::BgpParseExtCommRuleBase",
        {Mox::readOnlyAttribute<BgpParseExtCommRuleBase, &BgpParseExtCommRuleBase::parseControl>(
            "parseControl")});
    return type;
}

BgpParseExtCommRuleBase::~BgpParseExtCommRuleBase() = default;

BgpParseExtCommRuleCollections& BgpParseExtCommRuleBase::ruleCollections() const noexcept {
    auto const* const ruleCollections = parseControl_.ruleCollections().get();
    MOX_ASSERT_TEXT(ruleCollections != nullptr, "__null != ruleCollections");
    return const_cast<BgpParseExtCommRuleCollections&>(*ruleCollections);
}

template <class Width>
Mox::Type const& ExtCommTypeRuleBase<Width>::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, Width::typeRuleBaseName,
        {Mox::readOnlyAttribute<ExtCommTypeRuleBase, &ExtCommTypeRuleBase::pktType>("pktType")},
        &BgpParseExtCommRuleBase::staticType());
    return type;
}

template class ExtCommTypeRuleBase<ExtCommWidth::EightOctets>;
template class ExtCommTypeRuleBase<ExtCommWidth::TwentyOctets>;

template <class Kind>
Mox::Type const& ExtCommSubRuleBase<Kind>::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, Kind::subRuleName,
        {Mox::readOnlyAttribute<ExtCommSubRuleBase, &ExtCommSubRuleBase::pktSubType>("pktSubType")},
        &BgpParseExtCommRuleBase::staticType());
    return type;
}

// ---- Rules of one type --------------------------------------------------------------------------

template <class Kind>
Mox::Type const& ExtCommPerTypeRule<Kind>::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, Kind::ruleName,
        {Mox::readOnlyAttribute<ExtCommPerTypeRule, &ExtCommPerTypeRule::subTypeRules>(
            "subTypeRule")},
        &ExtCommTypeRuleBase<Width>::staticType());
    return type;
}

template <class Kind>
ExtCommPerTypeRule<Kind>::ExtCommPerTypeRule(BgpParseExtCommControl const& parseControl)
  : ExtCommTypeRuleBase<Width>(parseControl, Kind::pktType) {
    handleInitialized();
}

template <class Kind>
ExtCommPerTypeRule<Kind>::~ExtCommPerTypeRule() = default;

template <class Kind>
Mox::PtrConst<typename ExtCommPerTypeRule<Kind>::Width::Community>
ExtCommPerTypeRule<Kind>::inhale(typename Width::Content const& content) const {
    auto claimed = subTypeRule_.inhale(Width::subtypeOctet(content), content);
    if (claimed) {
        return claimed;
    }
    using Layout = typename Kind::Layout;
    return ExtCommLayout::build<Layout, typename Layout::Community>(
        content, extCommClassificationUnSpecified);
}

template <class Kind>
void ExtCommPerTypeRule<Kind>::subTypeRuleIs(Mox::PtrConst<SubRule> const& rule) {
    if (!rule) {
        auto const name = Kind::ruleName.substr(Kind::ruleName.rfind(':') + 1);
        throw Mox::NullMutatorArgumentException(std::string(name) + "::subTypeRuleIs");
    }
    subTypeRule_.is(rule);
}

template <class Kind>
void ExtCommPerTypeRule<Kind>::handleInitialized() {
    if constexpr (Kind::announced == Announced::yes) {
        this->announce(ExtCommRuleKey<Kind>(this));
    } else {
        handleDel();
    }
}

template <class Kind>
void ExtCommPerTypeRule<Kind>::handleDel() {
    this->ruleCollections().keyDel(ExtCommRuleKey<Kind>(this));
}

#define VOBGP_KIND_CLASSES(Kind)                                                                   \
    template class ExtCommSubRuleBase<ExtCommRuleKind::Kind>;                                      \
    template class ExtCommPerTypeRule<ExtCommRuleKind::Kind>;
VOBGP_EXT_COMM_SUBTYPE_KINDS(VOBGP_KIND_CLASSES)
#undef VOBGP_KIND_CLASSES

// ---- The top-level rule -------------------------------------------------------------------------

Mox::Type const& BgpParseExtendedCommunityRule::staticType() noexcept {
    using Rule = BgpParseExtendedCommunityRule;
    static Mox::Type const type(Mox::Type::Kind::entity,
                                "Routing::Bgp::BgpParseExtendedCommunityRule",
                                {Mox::readOnlyAttribute<Rule, &Rule::typeRules>("typeRule"),
                                 Mox::readOnlyAttribute<Rule, &Rule::ip6TypeRules>("ip6TypeRule")},
                                &BgpParseExtCommRuleBase::staticType());
    return type;
}

BgpParseExtendedCommunityRule::BgpParseExtendedCommunityRule(
    BgpParseExtCommControl const& parseControl)
  : BgpParseExtCommRuleBase(parseControl) {
    handleInitialized();
}

BgpParseExtendedCommunityRule::~BgpParseExtendedCommunityRule() = default;

void BgpParseExtendedCommunityRule::handleInitialized() {
#define VOBGP_FILE_TYPE_RULE(Kind)                                                                 \
    fileTypeRule(Mox::makeActive<ExtCommRuleKind::Kind::Rule>(parseControl()));
    VOBGP_EXT_COMM_SUBTYPE_KINDS(VOBGP_FILE_TYPE_RULE)
#undef VOBGP_FILE_TYPE_RULE
    announce(BgpParseExtendedCommunityRuleKey(this));
}

void BgpParseExtendedCommunityRule::handleDel() {
    ruleCollections().keyDel(BgpParseExtendedCommunityRuleKey(this));
}

ExtComm::PtrConst
BgpParseExtendedCommunityRule::parseExtendedCommunity(ExtCommContent const& content) const {
    if (auto parsed = typeRule_.inhale(content.typeOctet(), content)) {
        return parsed;
    }
    return Mox::makeActive<ExtComm>(extCommClassificationUnSpecified, content);
}

ExtCommIp6::PtrConst
BgpParseExtendedCommunityRule::parseExtendedCommunityIp6(ExtCommIp6Content const& content) const {
    if (auto parsed = ip6TypeRule_.inhale(content.type(), content)) {
        return parsed;
    }
    return extCommIp6Factory(extCommClassificationUnSpecified, content);
}

String BgpParseExtendedCommunityRule::showString(U64 const& extCommVal, bool formatAsDot,
                                                 bool ucmpLinkbwWeighted, bool formatJson) const {
    using Format = ExtComm::StrepFormat;
    U32 format = Format::strepFormatClassification | Format::strepFormatUI;
    format |= formatJson ? Format::strepFormatJson : 0;
    format |= formatAsDot ? Format::strepFormatAsdot : 0;
    format |= ucmpLinkbwWeighted ? Format::strepFormatLinkBwWeighted : 0;
    return parseExtendedCommunity(ExtCommContent(extCommVal))->toStrepForPolicy(Format(format));
}

void BgpParseExtendedCommunityRule::typeRuleIs(
    BgpParseExtendedCommunityTypeRuleBase::PtrConst const& rule) {
    if (!rule) {
        throw Mox::NullMutatorArgumentException("BgpParseExtendedCommunityRule::typeRuleIs");
    }
    typeRule_.is(rule);
}

void BgpParseExtendedCommunityRule::ip6TypeRuleIs(
    BgpParseExtendedCommunityIp6TypeRuleBase::PtrConst const& rule) {
    if (!rule) {
        throw Mox::NullMutatorArgumentException("BgpParseExtendedCommunityRule::ip6TypeRuleIs");
    }
    ip6TypeRule_.is(rule);
}

BgpParseExtendedCommunityRule::Ptr
bgpParseExtendedCommunityRuleFactory(BgpParseExtCommControl const& parseControl) {
    return Mox::makeActive<BgpParseExtendedCommunityRule>(parseControl);
}

// ---- Reflection ---------------------------------------------------------------------------------

namespace {

#define VOBGP_KIND_TYPES(Kind)                                                                     \
    Mox::TypeRegistration(ExtCommRuleKind::Kind::SubRule::staticType()),                           \
        Mox::TypeRegistration(ExtCommRuleKind::Kind::Rule::staticType()),

Mox::TypeRegistration const extCommRuleRegistrations[] = {
    Mox::TypeRegistration(BgpParseExtCommRuleBase::staticType()),
    Mox::TypeRegistration(BgpParseExtendedCommunityTypeRuleBase::staticType()),
    Mox::TypeRegistration(BgpParseExtendedCommunityIp6TypeRuleBase::staticType()),
    Mox::TypeRegistration(BgpParseExtendedCommunityRule::staticType()),
    VOBGP_EXT_COMM_SUBTYPE_KINDS(VOBGP_KIND_TYPES)};

#undef VOBGP_KIND_TYPES

} // namespace

} // namespace Routing::Bgp
