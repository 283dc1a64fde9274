#include <VoBgp/Parse/ExtCommRules.h>

#include <Mox/Assert.h>
#include <Mox/Exception.h>

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

// ---- Layouts ------------------------------------------------------------------------------------

namespace ExtCommLayout {

ExtComm::PtrConst TwoOctetAs::build(ExtCommContent const& content) {
    return ExtCommAsNumber::ExtCommAsNumberIs(extCommClassificationUnSpecified, content, false);
}

ExtComm::PtrConst FourOctetAs::build(ExtCommContent const& content) {
    return ExtCommAsNumber::ExtCommAsNumberIs(extCommClassificationUnSpecified, content, true);
}

ExtComm::PtrConst Ipv4Address::build(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommIpv4Address>(extCommClassificationUnSpecified, content);
}

ExtComm::PtrConst Subtyped::build(ExtCommContent const& content) {
    return ExtCommSubtyped::ExtCommSubtypedIs(extCommClassificationUnSpecified, content);
}

ExtCommIp6::PtrConst Ip6Subtyped::build(ExtCommIp6Content const& content) {
    return Mox::makeActive<ExtCommIp6Subtyped>(extCommClassificationUnSpecified, content);
}

} // namespace ExtCommLayout

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
    return claimed ? std::move(claimed) : Kind::Layout::build(content);
}

template <class Kind>
void ExtCommPerTypeRule<Kind>::subTypeRuleIs(Mox::PtrConst<SubRule> const& rule) {
    if (!rule) {
        throw Mox::NullMutatorArgumentException(Kind::nullSubRule);
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

#define VOBGP_NO_KIND(...)
#define VOBGP_KIND_CLASSES(number, Tag, ...)                                                       \
    template class ExtCommSubRuleBase<ExtCommRuleKind::Tag>;                                       \
    template class ExtCommPerTypeRule<ExtCommRuleKind::Tag>;
VOBGP_EXT_COMM_RULE_KINDS(VOBGP_NO_KIND, VOBGP_KIND_CLASSES)
#undef VOBGP_KIND_CLASSES

// ---- The rule at the top ------------------------------------------------------------------------

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
#define VOBGP_FILE_TYPE_RULE(number, Tag, RuleClass, ...)                                          \
    fileTypeRule(Mox::makeActive<RuleClass>(parseControl()));
    VOBGP_EXT_COMM_RULE_KINDS(VOBGP_NO_KIND, VOBGP_FILE_TYPE_RULE)
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

#define VOBGP_KIND_TYPES(number, Tag, ...)                                                         \
    Mox::TypeRegistration(ExtCommSubRuleBase<ExtCommRuleKind::Tag>::staticType()),                 \
        Mox::TypeRegistration(ExtCommPerTypeRule<ExtCommRuleKind::Tag>::staticType()),

Mox::TypeRegistration const registrations[] = {
    Mox::TypeRegistration(BgpParseExtCommRuleBase::staticType()),
    Mox::TypeRegistration(BgpParseExtendedCommunityTypeRuleBase::staticType()),
    Mox::TypeRegistration(BgpParseExtendedCommunityIp6TypeRuleBase::staticType()),
    Mox::TypeRegistration(BgpParseExtendedCommunityRule::staticType()),
    VOBGP_EXT_COMM_RULE_KINDS(VOBGP_NO_KIND, VOBGP_KIND_TYPES)};

#undef VOBGP_KIND_TYPES
#undef VOBGP_NO_KIND

} // namespace

} // namespace Routing::Bgp
