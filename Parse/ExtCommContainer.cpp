#include <VoBgp/Parse/ExtCommContainer.h>

#include <Mox/Exception.h>
#include <Mox/Type.h>
#include <VoBgp/BgpShowCliExtCommCache.h>
#include <VoBgp/Parse/ExtCommColor.h>
#include <VoBgp/Parse/ExtCommDefaultGateway.h>
#include <VoBgp/Parse/ExtCommLinkBandwidth.h>
#include <VoBgp/Parse/ExtCommOriginValidationState.h>
#include <VoBgp/Parse/ExtCommRouteOrigin.h>
#include <VoBgp/Parse/ExtCommRouteTarget.h>
#include <VoBgp/Parse/ExtCommTunnelEncap.h>

#include <algorithm>
#include <limits>

namespace Routing::Bgp {

Mox::Type const& BgpParseExtCommContainerSm::staticType() noexcept {
    using Container = BgpParseExtCommContainerSm;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::BgpParseExtCommContainerSm",
        {Mox::pointerAttribute<Container, &Container::parseExtCommRuleCollections>(
             "parseExtCommRuleCollections"),
         Mox::pointerAttribute<Container, &Container::extCommParser>("extCommParser"),
         {"extCommParserSms",
          [](Mox::CharBuffer& out, void const* object) {
              out.appendDecimal(
                  Mox::Detail::attributeOwner<Container>(object).extCommParserSms().size());
          }},
         {"extCommParserSmsMetadata",
          [](Mox::CharBuffer& out, void const* object) {
              out.appendDecimal(Mox::Detail::attributeOwner<Container>(object)
                                    .extCommParserSmsMetadata()
                                    .nextIndex);
          }},
         Mox::pointerAttribute<Container, &Container::extCommCache>("extCommCache")});
    return type;
}

namespace {

using Metadata = BgpParseExtCommContainerSm::ExtCommParserSmsMetadata;

Mox::Type const metadataType(Mox::Type::Kind::value,
                             "Routing::Bgp::BgpParseExtCommContainerSm::ExtCommParserSmsMetadata",
                             {{"nextIndex", [](Mox::CharBuffer& out, void const* object) {
                                   out.appendDecimal(
                                       static_cast<Metadata const*>(object)->nextIndex);
                               }}});

Mox::TypeRegistration const extCommContainerRegistrations[] = {
    Mox::TypeRegistration(BgpParseExtCommContainerSm::staticType()),
    Mox::TypeRegistration(metadataType),
};

} // namespace

BgpParseExtCommContainerSm::BgpParseExtCommContainerSm() {
    handleInitialized();
}

BgpParseExtCommContainerSm::~BgpParseExtCommContainerSm() = default;

void BgpParseExtCommContainerSm::handleInitialized() {
    BgpParseExtCommRuleCollections::PtrConst const registry = parseExtCommRuleCollectionsIs();
    extCommParserSmsEnq(bgpParseExtCommRouteOriginSmFactory(registry));
    extCommParserSmsEnq(bgpParseExtCommRouteTargetSmFactory(registry));
    extCommParserSmsEnq(bgpParseExtCommTunnelEncapSmFactory(registry));
    extCommParserSmsEnq(bgpParseExtCommDefaultGatewaySmFactory(registry));
    extCommParserSmsEnq(bgpParseExtCommLinkBandwidthSmFactory(registry));
    extCommParserSmsEnq(bgpParseExtCommColorSmFactory(registry));
    extCommParserSmsEnq(bgpParseExtCommOriginValidationStateSmFactory(registry));
    extCommParserIs(BgpParseExtCommControl(registry));
    extCommCache_ = BgpShowCli::extCommCacheFactory();
}

BgpParseExtCommRuleCollections::Ptr const&
BgpParseExtCommContainerSm::parseExtCommRuleCollectionsIs() {
    if (!parseExtCommRuleCollections_) {
        parseExtCommRuleCollections_ = bgpParseExtCommRuleCollectionsFactory();
    }
    return parseExtCommRuleCollections_;
}

BgpParseExtendedCommunityRule::Ptr const&
BgpParseExtCommContainerSm::extCommParserIs(BgpParseExtCommControl const& control) {
    if (!extCommParser_ || !(extCommParser_->parseControl() == control)) {
        extCommParser_ = bgpParseExtendedCommunityRuleFactory(control);
    }
    return extCommParser_;
}

BgpParseExtCommPluginBaseSm::PtrConst
BgpParseExtCommContainerSm::extCommParserSms(U32 index) const {
    auto const* const plugin = extCommParserSms_.get(index);
    return plugin == nullptr ? nullptr : *plugin;
}

void BgpParseExtCommContainerSm::extCommParserSmsIs(
    U32 index, BgpParseExtCommPluginBaseSm::PtrConst const& plugin) {
    if (!plugin) {
        throw Mox::NullMutatorArgumentException("BgpParseExtCommContainerSm::extCommParserSmsIs");
    }
    extCommParserSms_.is(index, plugin);
}

U32 BgpParseExtCommContainerSm::extCommParserSmsEnq(
    BgpParseExtCommPluginBaseSm::PtrConst const& plugin) {
    if (!plugin) {
        throw Mox::NullMutatorArgumentException("BgpParseExtCommContainerSm::extCommParserSmsEnq");
    }
    U32 index = extCommParserSmsMetadata_.nextIndex;
    if (!extCommParserSms_.empty()) {
        auto const last = extCommParserSms_.tailIndex();
        if (last == std::numeric_limits<U32>::max()) {
            throw Mox::RangeException("BgpParseExtCommContainerSm::extCommParserSmsEnq");
        }
        index = std::max(index, last + 1);
    }
    extCommParserSms_.is(index, plugin);
    extCommParserSmsMetadata_.nextIndex = index;
    return index;
}

BgpParseExtCommPluginBaseSm::PtrConst BgpParseExtCommContainerSm::extCommParserSmsDeq() {
    if (extCommParserSms_.empty()) {
        return nullptr;
    }
    auto head = extCommParserSms_.begin()->second;
    extCommParserSms_.del(extCommParserSms_.headIndex());
    return head;
}

BgpParseExtCommContainerSm::Ptr bgpParseExtCommContainerSmFactory() {
    return Mox::makeActive<BgpParseExtCommContainerSm>();
}

} // namespace Routing::Bgp
