#pragma once

#include <Mox/Enumeration.h>
#include <Mox/Export.h>
#include <Mox/Types.h>
#include <VoBgp/VoBgpMiscTypes.h>

#include <array>
#include <string_view>

namespace Routing::Bgp {

using Mox::stringValue;

// The members of attribute types and flags have short names (`origin`, `community`, `transitive`,
// `opt`). Their enumerations are scoped, so that these words remain free for other uses. The
// members of the other enumerations have prefixes, and these are unscoped like the rest of the
// library's.

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
/// combinations that have names. The text of any other combination is its number.
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
    /// The number of types.
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

/// The name of an attribute type in show commands; `Invalid attribute` for an unknown number,
/// unlike the text of `invalidPathAttr`.
VOBGP_EXPORT std::string_view bgpPathAttrTypeShowString(BgpPathAttrType type) noexcept;

} // namespace Routing::Bgp

// ---- The tables: a row for each member ----------------------------------------------------------

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpPathAttrType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpPathAttrType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::BgpPathAttrType>>({
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, invalidPathAttr),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, origin),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, asPath),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, nextHop),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, multiExitDisc),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, localPref),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, atomicAggregate),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, aggregator),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, community),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, originatorId),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, clusterList),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, advertiser),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, rcidPath),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, mpReachNlri),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, mpUnreachNlri),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, extCommunity),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, as4Path),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, as4Aggregator),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, pmsiTunnel),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, tunnelEncapsulation),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, extCommunityIp6),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, accumulatedIgpMetric),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, bgpLs),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, largeCommunity),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, domainPath),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, prefixSid),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, attrSet),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrType, reservedForDevelopment),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpPathAttrFlag> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpPathAttrFlag";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::BgpPathAttrFlag>>({
        MOX_MEMBER(Routing::Bgp::BgpPathAttrFlag, opt),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrFlag, transitive),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrFlag, partial),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrFlag, extLen),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrFlag, optionalTransitive),
        MOX_MEMBER(Routing::Bgp::BgpPathAttrFlag, optionalTransitivePartial),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::AspType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::AspType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::AspType>>({
        MOX_MEMBER(Routing::Bgp, aspTypeLocal),
        MOX_MEMBER(Routing::Bgp, aspTypeAggregate),
        MOX_MEMBER(Routing::Bgp, aspTypeDefaultOriginate),
        MOX_MEMBER(Routing::Bgp, aspTypeEbgp),
        MOX_MEMBER(Routing::Bgp, aspTypeIbgp),
        MOX_MEMBER(Routing::Bgp, aspTypeConfedEbgp),
        MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, aspTypeMax),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::OriginCode> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::OriginCode";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::OriginCode>>({
        MOX_MEMBER(Routing::Bgp, originIgp),
        MOX_MEMBER(Routing::Bgp, originEgp),
        MOX_MEMBER(Routing::Bgp, originIncomplete),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::PrefixSidTlvType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::PrefixSidTlvType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::PrefixSidTlvType>>({
        MOX_MEMBER(Routing::Bgp, invalidTlv),
        MOX_MEMBER(Routing::Bgp, labelIndexTlv),
        MOX_MEMBER(Routing::Bgp, ipv6SidTlv),
        MOX_MEMBER(Routing::Bgp, originatorSrgbTlv),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::TunnelType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::TunnelType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::TunnelType>>({
        MOX_MEMBER(Routing::Bgp, tunnelTypeL2tpv3OverIp),
        MOX_MEMBER(Routing::Bgp, tunnelTypeGre),
        MOX_MEMBER(Routing::Bgp, tunnelTypeIpInIp),
        MOX_MEMBER(Routing::Bgp, tunnelTypeVxlan),
        MOX_MEMBER(Routing::Bgp, tunnelTypeNvgre),
        MOX_MEMBER(Routing::Bgp, tunnelTypeMpls),
        MOX_MEMBER(Routing::Bgp, tunnelTypeMplsInGre),
        MOX_MEMBER(Routing::Bgp, tunnelTypeVxlanGpe),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpCommunityValue> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpCommunityValue";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::BgpCommunityValue>>({
        MOX_MEMBER(Routing::Bgp, communityInternet),
        MOX_MEMBER(Routing::Bgp, communityNoExport),
        MOX_MEMBER(Routing::Bgp, communityNoAdvertise),
        MOX_MEMBER(Routing::Bgp, communityNoExportSubconfed),
        MOX_MEMBER(Routing::Bgp, communityGshut),
    });
};

namespace Routing::Bgp {

/// Whether the value is a member.
constexpr bool bgpIsValidEnumMember(TunnelType value) noexcept {
    return Mox::isValidOnWire(value);
}

MOX_ENUMERATION_INSTANCES(BgpPathAttrType, BgpPathAttrTypeInstance)
MOX_ENUMERATION_INSTANCES(BgpPathAttrFlag, BgpPathAttrFlagInstance)
MOX_ENUMERATION_INSTANCES(AspType, AspTypeInstance)
MOX_ENUMERATION_INSTANCES(OriginCode, OriginCodeInstance)
MOX_ENUMERATION_INSTANCES(PrefixSidTlvType, PrefixSidTlvTypeInstance)
MOX_ENUMERATION_INSTANCES(TunnelType, TunnelTypeInstance)
MOX_ENUMERATION_INSTANCES(BgpCommunityValue, BgpCommunityValueInstance)

} // namespace Routing::Bgp
