#pragma once

#include <Mox/Export.h>
#include <VoBgp/Parse/ExtCommRouteFamily.h>

#include <string_view>

namespace Routing::Bgp {

/// The words and names of route origins, which identify the site a route came from (RFC 4360,
/// section 5).
struct VOBGP_EXPORT ExtCommRouteOriginFamily {
    static constexpr ExtCommClassification classification = extCommClassificationRouteOrigin;

    // For policy: the prefix in full, without its colon for an AS, and in short.
    static constexpr std::string_view asWord = "Route-Origin-AS";
    static constexpr std::string_view ipv4Word = "Route-Origin-IP:";
    static constexpr std::string_view shortWord = "SoO:";
    // For show output.
    static constexpr std::string_view showTwoOctetAs = "RouteOrigin2ByteASN ";
    static constexpr std::string_view showFourOctetAs = "RouteOrigin4ByteASN ";
    static constexpr std::string_view showIpv4 = "RouteOrigin ";

    static constexpr std::string_view asName = "Routing::Bgp::ExtCommRouteOriginAs";
    static constexpr std::string_view ipv4Name = "Routing::Bgp::ExtCommRouteOriginIpv4Address";
    static constexpr std::string_view pluginName = "Routing::Bgp::BgpParseExtCommRouteOriginSm";
    static ExtCommSource source() noexcept;

    // The rows of the sub-rules.
    struct VOBGP_EXPORT TwoOctetAs {
        using Community = ExtCommRouteAs<ExtCommRouteOriginFamily>;
        using Kind = ExtCommRuleKind::TransTwoOctetAs;
        static constexpr auto subtype = extCommPktSubtypeTransTwoOctetAsRouteOrigin;
        static constexpr std::string_view ruleName =
            "Routing::Bgp::BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule";
    };
    struct VOBGP_EXPORT Ipv4Address {
        using Community = ExtCommRouteIpv4Address<ExtCommRouteOriginFamily>;
        using Kind = ExtCommRuleKind::TransIpv4Address;
        static constexpr auto subtype = extCommPktSubtypeTransIpv4AddressRouteOrigin;
        static constexpr std::string_view ruleName =
            "Routing::Bgp::BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule";
    };
    struct VOBGP_EXPORT FourOctetAs {
        using Community = ExtCommRouteAs<ExtCommRouteOriginFamily>;
        using Kind = ExtCommRuleKind::TransFourOctetAs;
        static constexpr auto subtype = extCommPktSubtypeTransFourOctetAsRouteOrigin;
        static constexpr std::string_view ruleName =
            "Routing::Bgp::BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule";
    };

    using SubRules = ExtCommSubRules<TwoOctetAs, Ipv4Address, FourOctetAs>;

    /// Asserts: a type octet that no rule builds a route origin with an AS for.
    [[noreturn]] static void unexpectedType();
};

using ExtCommRouteOriginAs = ExtCommRouteAs<ExtCommRouteOriginFamily>;
using ExtCommRouteOriginIpv4Address = ExtCommRouteIpv4Address<ExtCommRouteOriginFamily>;
using BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule =
    ExtCommTypedSubRule<ExtCommRouteOriginFamily::TwoOctetAs>;
using BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule =
    ExtCommTypedSubRule<ExtCommRouteOriginFamily::Ipv4Address>;
using BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule =
    ExtCommTypedSubRule<ExtCommRouteOriginFamily::FourOctetAs>;
using BgpParseExtCommRouteOriginSm = ExtCommTypedPlugin<ExtCommRouteOriginFamily>;

extern template class ExtCommRouteAs<ExtCommRouteOriginFamily>;
extern template class ExtCommRouteIpv4Address<ExtCommRouteOriginFamily>;
extern template class ExtCommTypedSubRule<ExtCommRouteOriginFamily::TwoOctetAs>;
extern template class ExtCommTypedSubRule<ExtCommRouteOriginFamily::Ipv4Address>;
extern template class ExtCommTypedSubRule<ExtCommRouteOriginFamily::FourOctetAs>;
extern template class ExtCommTypedPlugin<ExtCommRouteOriginFamily>;

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommRouteOriginAs::Ptr extCommRouteOriginAsFactory(ExtCommContent const& content,
                                                                   bool fourByteAs);
VOBGP_EXPORT ExtCommRouteOriginIpv4Address::Ptr
extCommRouteOriginIpv4AddressFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommRouteOriginSm::Ptr bgpParseExtCommRouteOriginSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
