#pragma once

#include <Mox/Enumeration.h>
#include <Mox/Export.h>
#include <Mox/Types.h>
#include <VoBgp/VoBgpMiscTypes.h>

#include <array>
#include <string_view>

namespace Routing::Bgp {

using Mox::stringValue;

// Types and flags of attributes have the short names that everybody knows them by (`origin`,
// `community`, `transitive`, `opt`). They are scoped, so that such a word stays free for variables,
// parameters and members of the namespace. The enumerations after them have a name of their own in
// every member, and are as open as the rest of the library's.

/// The type code of a path attribute (RFC 4271, section 4.3, and the IANA registry).
enum class BgpPathAttrType : U32 {
    invalidPathAttr = 0,
    origin = 1,
    asPath = 2,
    nextHop = 3,
    multiExitDisc = 4,
    localPref = 5,
    atomicAggregate = 6,
    aggregator = 7,
    community = 8,
    originatorId = 9,
    clusterList = 10,
    advertiser = 12,
    rcidPath = 13,
    mpReachNlri = 14,
    mpUnreachNlri = 15,
    extCommunity = 16,
    as4Path = 17,
    as4Aggregator = 18,
    pmsiTunnel = 22,
    tunnelEncapsulation = 23,
    extCommunityIp6 = 25,
    accumulatedIgpMetric = 26,
    bgpLs = 29,
    largeCommunity = 32,
    domainPath = 36,
    prefixSid = 40,
    attrSet = 128,
    reservedForDevelopment = 255,
};

/// The flags octet of a path attribute (RFC 4271, section 4.3): four flags, and the two
/// combinations that have names. Any other combination is a value of this type as well, and its
/// text is its number.
///
///     bit   7         6            5         4          3 ... 0
///          +---------+------------+---------+----------+---------+
///          |   opt   | transitive | partial |  extLen  |    0    |
///          +---------+------------+---------+----------+---------+
enum class BgpPathAttrFlag : U32 {
    opt = 0x80,
    transitive = 0x40,
    partial = 0x20,
    extLen = 0x10,
    optionalTransitive = 0xc0,
    optionalTransitivePartial = 0xe0,
};

constexpr BgpPathAttrFlag operator|(BgpPathAttrFlag a, BgpPathAttrFlag b) noexcept {
    return static_cast<BgpPathAttrFlag>(static_cast<U32>(a) | static_cast<U32>(b));
}

constexpr BgpPathAttrFlag operator&(BgpPathAttrFlag a, BgpPathAttrFlag b) noexcept {
    return static_cast<BgpPathAttrFlag>(static_cast<U32>(a) & static_cast<U32>(b));
}

/// Where a path comes from.
enum AspType : U32 {
    aspTypeLocal = 0,
    aspTypeAggregate = 1,
    aspTypeDefaultOriginate = 2,
    aspTypeEbgp = 3,
    aspTypeIbgp = 4,
    aspTypeConfedEbgp = 5,
    /// How many there are.
    aspTypeMax = 6,
};

/// The value of the ORIGIN attribute (RFC 4271, section 5.1.1).
enum OriginCode : U32 {
    originIgp = 0,
    originEgp = 1,
    originIncomplete = 2,
};

/// The type octet of a TLV of the BGP Prefix-SID attribute (RFC 8669, section 3).
enum PrefixSidTlvType : U32 {
    invalidTlv = 0,
    labelIndexTlv = 1,
    ipv6SidTlv = 2,
    originatorSrgbTlv = 3,
};

/// The tunnel type of the encapsulation extended community (RFC 9012, section 4.1).
enum TunnelType : U32 {
    tunnelTypeL2tpv3OverIp = 1,
    tunnelTypeGre = 2,
    tunnelTypeIpInIp = 7,
    tunnelTypeVxlan = 8,
    tunnelTypeNvgre = 9,
    tunnelTypeMpls = 10,
    tunnelTypeMplsInGre = 11,
    tunnelTypeVxlanGpe = 12,
};

/// The well-known standard communities (RFC 1997, RFC 8326).
enum BgpCommunityValue : U32 {
    communityInternet = 0x00000000,
    communityNoExport = 0xffffff01,
    communityNoAdvertise = 0xffffff02,
    communityNoExportSubconfed = 0xffffff03,
    communityGshut = 0xffff0000,
};

/// What show commands call an attribute type; `Invalid attribute` for a number that is no member,
/// which is not the text of `invalidPathAttr`.
VOBGP_EXPORT std::string_view bgpPathAttrTypeShowString(BgpPathAttrType type) noexcept;

} // namespace Routing::Bgp

// ---- The tables: each member once more ----------------------------------------------------------

#define VOBGP_MEMBER(member)                                                                       \
    { Routing::Bgp::member, #member }
#define VOBGP_SCOPED_MEMBER(Enumeration, member)                                                   \
    { Routing::Bgp::Enumeration::member, #member }
#define VOBGP_MEMBER_NOT_ON_WIRE(member)                                                           \
    { Routing::Bgp::member, #member, OnWire::no }

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpPathAttrType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpPathAttrType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::BgpPathAttrType>>({
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, invalidPathAttr),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, origin),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, asPath),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, nextHop),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, multiExitDisc),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, localPref),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, atomicAggregate),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, aggregator),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, community),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, originatorId),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, clusterList),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, advertiser),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, rcidPath),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, mpReachNlri),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, mpUnreachNlri),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, extCommunity),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, as4Path),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, as4Aggregator),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, pmsiTunnel),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, tunnelEncapsulation),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, extCommunityIp6),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, accumulatedIgpMetric),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, bgpLs),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, largeCommunity),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, domainPath),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, prefixSid),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, attrSet),
        VOBGP_SCOPED_MEMBER(BgpPathAttrType, reservedForDevelopment),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpPathAttrFlag> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpPathAttrFlag";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::BgpPathAttrFlag>>({
        VOBGP_SCOPED_MEMBER(BgpPathAttrFlag, opt),
        VOBGP_SCOPED_MEMBER(BgpPathAttrFlag, transitive),
        VOBGP_SCOPED_MEMBER(BgpPathAttrFlag, partial),
        VOBGP_SCOPED_MEMBER(BgpPathAttrFlag, extLen),
        VOBGP_SCOPED_MEMBER(BgpPathAttrFlag, optionalTransitive),
        VOBGP_SCOPED_MEMBER(BgpPathAttrFlag, optionalTransitivePartial),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::AspType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::AspType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::AspType>>({
        VOBGP_MEMBER(aspTypeLocal),
        VOBGP_MEMBER(aspTypeAggregate),
        VOBGP_MEMBER(aspTypeDefaultOriginate),
        VOBGP_MEMBER(aspTypeEbgp),
        VOBGP_MEMBER(aspTypeIbgp),
        VOBGP_MEMBER(aspTypeConfedEbgp),
        VOBGP_MEMBER_NOT_ON_WIRE(aspTypeMax),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::OriginCode> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::OriginCode";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::OriginCode>>({
        VOBGP_MEMBER(originIgp),
        VOBGP_MEMBER(originEgp),
        VOBGP_MEMBER(originIncomplete),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::PrefixSidTlvType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::PrefixSidTlvType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::PrefixSidTlvType>>({
        VOBGP_MEMBER(invalidTlv),
        VOBGP_MEMBER(labelIndexTlv),
        VOBGP_MEMBER(ipv6SidTlv),
        VOBGP_MEMBER(originatorSrgbTlv),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::TunnelType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::TunnelType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::TunnelType>>({
        VOBGP_MEMBER(tunnelTypeL2tpv3OverIp),
        VOBGP_MEMBER(tunnelTypeGre),
        VOBGP_MEMBER(tunnelTypeIpInIp),
        VOBGP_MEMBER(tunnelTypeVxlan),
        VOBGP_MEMBER(tunnelTypeNvgre),
        VOBGP_MEMBER(tunnelTypeMpls),
        VOBGP_MEMBER(tunnelTypeMplsInGre),
        VOBGP_MEMBER(tunnelTypeVxlanGpe),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpCommunityValue> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpCommunityValue";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::BgpCommunityValue>>({
        VOBGP_MEMBER(communityInternet),
        VOBGP_MEMBER(communityNoExport),
        VOBGP_MEMBER(communityNoAdvertise),
        VOBGP_MEMBER(communityNoExportSubconfed),
        VOBGP_MEMBER(communityGshut),
    });
};

#undef VOBGP_MEMBER
#undef VOBGP_SCOPED_MEMBER
#undef VOBGP_MEMBER_NOT_ON_WIRE

namespace Routing::Bgp {

/// Whether the value is a tunnel type that has a name here.
constexpr bool bgpIsValidEnumMember(TunnelType value) noexcept {
    return Mox::isValidOnWire(value);
}

/// The member of an enumeration by number or by name; what is none is a `Mox::RangeException` whose
/// text is the operation's name.
#define VOBGP_ENUMERATION_INSTANCES(Enumeration, operation)                                        \
    inline Enumeration operation(U32 number) {                                                     \
        return Mox::enumerationInstance<Enumeration>(number, #operation);                          \
    }                                                                                              \
    inline Enumeration operation(String const& name) {                                             \
        return Mox::enumerationInstance<Enumeration>(std::string_view(name), #operation);          \
    }

VOBGP_ENUMERATION_INSTANCES(BgpPathAttrType, BgpPathAttrTypeInstance)
VOBGP_ENUMERATION_INSTANCES(BgpPathAttrFlag, BgpPathAttrFlagInstance)
VOBGP_ENUMERATION_INSTANCES(AspType, AspTypeInstance)
VOBGP_ENUMERATION_INSTANCES(OriginCode, OriginCodeInstance)
VOBGP_ENUMERATION_INSTANCES(PrefixSidTlvType, PrefixSidTlvTypeInstance)
VOBGP_ENUMERATION_INSTANCES(TunnelType, TunnelTypeInstance)
VOBGP_ENUMERATION_INSTANCES(BgpCommunityValue, BgpCommunityValueInstance)

#undef VOBGP_ENUMERATION_INSTANCES

} // namespace Routing::Bgp
