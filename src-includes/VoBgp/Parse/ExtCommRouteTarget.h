#pragma once

#include <Mox/Export.h>
#include <VoBgp/Parse/ExtCommRouteFamily.h>

#include <string_view>

namespace Routing::Bgp {

/// The words and names of route targets (RFC 4360, section 4).
struct VOBGP_EXPORT ExtCommRouteTargetFamily {
    static constexpr ExtCommClassification classification = extCommClassificationRouteTarget;

    // For policy: the prefix in full, without its colon for an AS, and in short.
    static constexpr std::string_view asWord = "Route-Target-AS";
    static constexpr std::string_view ipv4Word = "Route-Target-IP:";
    static constexpr std::string_view shortWord = "RT:";
    // For show output.
    static constexpr std::string_view showTwoOctetAs = "RouteTarget2ByteASN ";
    static constexpr std::string_view showFourOctetAs = "RouteTarget4ByteASN ";
    static constexpr std::string_view showIpv4 = "RouteTarget ";

    static constexpr std::string_view asName = "Routing::Bgp::ExtCommRouteTargetAs";
    static constexpr std::string_view ipv4Name = "Routing::Bgp::ExtCommRouteTargetIpv4Address";
    static constexpr std::string_view pluginName = "Routing::Bgp::BgpParseExtCommRouteTargetSm";
    static ExtCommSource source() noexcept;

    // The rows of the sub-rules.
    struct VOBGP_EXPORT TwoOctetAs {
        using Community = ExtCommRouteAs<ExtCommRouteTargetFamily>;
        using Kind = ExtCommRuleKind::TransTwoOctetAs;
        static constexpr auto subtype = extCommPktSubtypeTransTwoOctetAsRouteTarget;
        static constexpr std::string_view ruleName =
            "Routing::Bgp::BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule";
    };
    struct VOBGP_EXPORT Ipv4Address {
        using Community = ExtCommRouteIpv4Address<ExtCommRouteTargetFamily>;
        using Kind = ExtCommRuleKind::TransIpv4Address;
        static constexpr auto subtype = extCommPktSubtypeTransIpv4AddressRouteTarget;
        static constexpr std::string_view ruleName =
            "Routing::Bgp::BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule";
    };
    struct VOBGP_EXPORT FourOctetAs {
        using Community = ExtCommRouteAs<ExtCommRouteTargetFamily>;
        using Kind = ExtCommRuleKind::TransFourOctetAs;
        static constexpr auto subtype = extCommPktSubtypeTransFourOctetAsRouteTarget;
        static constexpr std::string_view ruleName =
            "Routing::Bgp::BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule";
    };

    using SubRules = ExtCommSubRules<TwoOctetAs, Ipv4Address, FourOctetAs>;

    /// Asserts: a type octet that no rule builds a route target with an AS for.
    [[noreturn]] static void unexpectedType();
};

using ExtCommRouteTargetAs = ExtCommRouteAs<ExtCommRouteTargetFamily>;
using ExtCommRouteTargetIpv4Address = ExtCommRouteIpv4Address<ExtCommRouteTargetFamily>;
using BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule =
    ExtCommTypedSubRule<ExtCommRouteTargetFamily::TwoOctetAs>;
using BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule =
    ExtCommTypedSubRule<ExtCommRouteTargetFamily::Ipv4Address>;
using BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule =
    ExtCommTypedSubRule<ExtCommRouteTargetFamily::FourOctetAs>;
using BgpParseExtCommRouteTargetSm = ExtCommTypedPlugin<ExtCommRouteTargetFamily>;

extern template class ExtCommRouteAs<ExtCommRouteTargetFamily>;
extern template class ExtCommRouteIpv4Address<ExtCommRouteTargetFamily>;
extern template class ExtCommTypedSubRule<ExtCommRouteTargetFamily::TwoOctetAs>;
extern template class ExtCommTypedSubRule<ExtCommRouteTargetFamily::Ipv4Address>;
extern template class ExtCommTypedSubRule<ExtCommRouteTargetFamily::FourOctetAs>;
extern template class ExtCommTypedPlugin<ExtCommRouteTargetFamily>;

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommRouteTargetAs::Ptr extCommRouteTargetAsFactory(ExtCommContent const& content,
                                                                   bool fourByteAs);
VOBGP_EXPORT ExtCommRouteTargetIpv4Address::Ptr
extCommRouteTargetIpv4AddressFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommRouteTargetSm::Ptr bgpParseExtCommRouteTargetSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
