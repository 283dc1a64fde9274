#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Enumeration.h>
#include <Mox/Export.h>
#include <Mox/Hash.h>
#include <VoBgp/VoBgpMiscTypes.h>

#include <array>
#include <compare>
#include <iosfwd>
#include <string_view>

namespace Routing::Bgp {

using Mox::stringValue;

/// The type octet of an extended community (RFC 4360, RFC 7153).
enum BgpExtCommPktType : U32 {
    extCommPktTypeTransTwoOctetAs = 0x00,
    extCommPktTypeTransIpv4Address = 0x01,
    extCommPktTypeTransFourOctetAs = 0x02,
    extCommPktTypeTransOpaque = 0x03,
    extCommPktTypeTransQosMarking = 0x04,
    extCommPktTypeTransCosCapability = 0x05,
    extCommPktTypeTransEvpn = 0x06,
    extCommPktTypeTransFlowspecRedirectNexthop = 0x08,
    extCommPktTypeTransGeneric = 0x80,
    extCommPktTypeTransGenericPart2 = 0x81,
    extCommPktTypeTransGenericPart3 = 0x82,
    extCommPktTypeNonTransTwoOctetAs = 0x40,
    extCommPktTypeNonTransIpv4Address = 0x41,
    extCommPktTypeNonTransFourOctetAs = 0x42,
    extCommPktTypeNonTransOpaque = 0x43,
    extCommPktTypeNonTransQosMarking = 0x44,
    extCommPktTypeUnknown = 0x100,
};

/// Subtypes of type 0x00, transitive two-octet AS (RFC 4360, section 3.1).
enum BgpExtCommPktSubtypeTransTwoOctetAs : U32 {
    extCommPktSubtypeTransTwoOctetAsRouteTarget = 0x02,
    extCommPktSubtypeTransTwoOctetAsRouteOrigin = 0x03,
    extCommPktSubtypeTransTwoOctetAsOspfDomainIdentifier = 0x05,
    extCommPktSubtypeTransTwoOctetAsBgpDataCollection = 0x08,
    extCommPktSubtypeTransTwoOctetAsSourceAs = 0x09,
    extCommPktSubtypeTransTwoOctetAsL2VpnIdentifier = 0x0a,
    extCommPktSubtypeTransTwoOctetAsCiscoVpnDistinguisher = 0x10,
    extCommPktSubtypeNonTransTwoOctetAsLinkBandwidthAny = 0x14,
    extCommPktSubtypeTransTwoOctetAsUnknown = 0x100,
};

/// Subtypes of type 0x01, transitive IPv4 address (RFC 4360, section 3.2).
enum BgpExtCommPktSubtypeTransIpv4Address : U32 {
    extCommPktSubtypeTransIpv4AddressRouteTarget = 0x02,
    extCommPktSubtypeTransIpv4AddressRouteOrigin = 0x03,
    extCommPktSubtypeTransIpv4AddressOspfDomainIdentifier = 0x05,
    extCommPktSubtypeTransIpv4AddressOspfRouteId = 0x07,
    extCommPktSubtypeTransIpv4AddressL2VpnIdentifier = 0x0a,
    extCommPktSubtypeTransIpv4AddressVrfRouteImport = 0x0b,
    extCommPktSubtypeTransIpv4AddressFlowspecRedirectIp = 0x0c,
    extCommPktSubtypeTransIpv4AddressCiscoVpnDistinguisher = 0x10,
    extCommPktSubtypeTransIpv4AddressUnknown = 0x100,
};

/// Subtypes of type 0x02, transitive four-octet AS (RFC 5668).
enum BgpExtCommPktSubtypeTransFourOctetAs : U32 {
    extCommPktSubtypeTransFourOctetAsRouteTarget = 0x02,
    extCommPktSubtypeTransFourOctetAsRouteOrigin = 0x03,
    extCommPktSubtypeTransFourOctetAsGeneric = 0x04,
    extCommPktSubtypeTransFourOctetAsOspfDomainIdentifier = 0x05,
    extCommPktSubtypeTransFourOctetAsBgpDataCollection = 0x08,
    extCommPktSubtypeTransFourOctetAsSourceAs = 0x09,
    extCommPktSubtypeTransFourOctetAsCiscoVpnDistinguisher = 0x10,
    extCommPktSubtypeTransFourOctetAsUnknown = 0x100,
};

/// Subtypes of type 0x03, transitive opaque (RFC 4360, section 3.3).
enum BgpExtCommPktSubtypeTransOpaque : U32 {
    extCommPktSubtypeTransOpaqueCostCommunity = 0x01,
    extCommPktSubtypeTransOpaqueOutboundRouteFilter = 0x03,
    extCommPktSubtypeTransOpaqueOspfRouteType = 0x06,
    extCommPktSubtypeTransOpaqueColorExtendedCommunity = 0x0b,
    extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity = 0x0c,
    extCommPktSubtypeTransOpaqueDefaultGateway = 0x0d,
    extCommPktSubtypeTransOpaqeUnknown = 0x100,
};

/// Subtypes of type 0x06, EVPN (RFC 7432).
enum BgpExtCommPktSubtypeEvpn : U32 {
    extCommPktSubtypeEvpnMacMobility = 0x00,
    extCommPktSubtypeEvpnEsiMplsLabel = 0x01,
    extCommPktSubtypeEvpnEsImport = 0x02,
    extCommPktSubtypeEvpnRouterMac = 0x03,
    extCommPktSubtypeEvpnLayer2Attributes = 0x04,
    extCommPktSubtypeEvpnEtree = 0x05,
    extCommPktSubtypeEvpnNdFlags = 0x08,
    extCommPktSubtypeEvpnMulticastFlags = 0x09,
    extCommPktSubtypeEvpnEviRtType0 = 0x0a,
    extCommPktSubtypeEvpnEviRtType1 = 0x0b,
    extCommPktSubtypeEvpnEviRtType2 = 0x0c,
    extCommPktSubtypeEvpnUnknown = 0x100,
};

/// Subtypes of type 0x08, flow specification redirect to next hop.
enum BgpExtCommPktSubtypeTransFlowspecRedirectNexthop : U32 {
    extCommPktSubtypeFlowspecRedirectNexthop = 0x00,
    extCommPktSubtypeFlowspecRedirectUnknown = 0x100,
};

/// Subtypes of type 0x80, generic (RFC 8955).
enum BgpExtCommPktSubtypeTransGeneric : U32 {
    extCommPktSubtypeTransGenericFlowspecTrafficRate = 0x06,
    extCommPktSubtypeTransGenericFlowspecTrafficAction = 0x07,
    extCommPktSubtypeTransGenericFlowspecRedirectAs2Byte = 0x08,
    extCommPktSubtypeTransGenericFlowspecTrafficRemarking = 0x09,
    extCommPktSubtypeTransGenericLayer2InfoExtendedCommunity = 0x0a,
    extCommPktSubtypeTransGenericEtreeInfo = 0x0b,
    extCommPktSubtypeTransGenericUnknown = 0x100,
};

/// Subtypes of type 0x81, generic part 2 (RFC 8955).
enum BgpExtCommPktSubtypeTransGenericPart2 : U32 {
    extCommPktSubtypeTransGenericPart2FlowspecRedirectIpv4 = 0x08,
    extCommPktSubtypeTransGenericPart2Unknown = 0x100,
};

/// Subtypes of type 0x82, generic part 3 (RFC 8955).
enum BgpExtCommPktSubtypeTransGenericPart3 : U32 {
    extCommPktSubtypeTransGenericPart3FlowspecRedirectAs4Byte = 0x08,
    extCommPktSubtypeTransGenericPart3Unknown = 0x100,
};

/// Subtypes of type 0x40, non-transitive two-octet AS.
enum BgpExtCommPktSubtypeNonTransTwoOctetAs : U32 {
    extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth = 0x04,
    extCommPktSubtypeNonTransTwoOctetAsVirtualNetworkIdentifier = 0x80,
    extCommPktSubtypeNonTransTwoOctetAsUnknown = 0x100,
};

/// Subtypes of type 0x41, non-transitive IPv4 address: no octet is a valid member.
enum BgpExtCommPktSubtypeNonTransIpv4Address : U32 {
    extCommPktSubtypeNonTransIpv4AddressUnknown = 0x100,
};

/// Subtypes of type 0x42, non-transitive four-octet AS.
enum BgpExtCommPktSubtypeNonTransFourOctetAs : U32 {
    extCommPktSubtypeNonTransFourOctetAsGeneric = 0x04,
    extCommPktSubNonTransFourOctetAsUnknown = 0x100,
};

/// Subtypes of type 0x43, non-transitive opaque (RFC 8097).
enum BgpExtCommPktSubtypeNonTransOpaque : U32 {
    extCommPktSubtypeNonTransOriginValidationState = 0x00,
    extCommPktSubtypeNonTransCostCommunity = 0x01,
    extCommPktSubtypeNonTransOpaqueUnknown = 0x100,
};

/// Which kind of typed object a community was made into. Lists keep one sub-list per kind.
enum ExtCommClassification : U32 {
    extCommClassificationUnSpecified = 0,
    extCommClassificationRouteTarget = 1,
    extCommClassificationRouteOrigin = 2,
    extCommClassificationEvpn = 3,
    extCommClassificationTunnelEncap = 4,
    extCommClassificationDefaultGateway = 5,
    extCommClassificationFlowspec = 6,
    extCommClassificationLinkBandwidth = 7,
    extCommClassificationColor = 8,
    extCommClassificationOriginValidationState = 9,
    /// How many kinds there are.
    extCommClassificationOneBeyondLast = 10,
};

/// An extended community (RFC 4360): its eight octets as one integer in host order, the first octet
/// of the wire most significant.
///
///     bit  63     56 55     48 47                                             0
///         +---------+---------+------------------------------------------------+
///         |  type   | subtype |               six value octets                 |
///         +---------+---------+------------------------------------------------+
///          IT......              I: 0x80, IANA authority, part of the type value
///                                T: 0x40, set means non-transitive
///
/// Immutable but for assignment.
class VOBGP_EXPORT ExtCommContent {
  public:
    constexpr ExtCommContent() noexcept = default;

    constexpr explicit ExtCommContent(U64 community) noexcept
      : community_(community) {}
    constexpr U64 community() const noexcept { return community_; }
    constexpr U8 typeOctet() const noexcept { return static_cast<U8>(community_ >> 56); }
    constexpr U8 subtypeOctet() const noexcept { return static_cast<U8>(community_ >> 48); }
    constexpr bool transitive() const noexcept { return (community_ >> 62 & 1) == 0; }

    /// Value octet `index`, 0 to 5 in wire order.
    constexpr U8 valueOctet(unsigned index) const noexcept {
        return static_cast<U8>(community_ >> (40 - 8 * index));
    }

    /// The type octet if it is a member of the enumeration, else `extCommPktTypeUnknown`.
    BgpExtCommPktType pktType() const noexcept;

    /// The framework's single-attribute hash of the community.
    U64 hash() const noexcept { return Mox::hashWord(community_); }
    friend constexpr bool operator==(ExtCommContent, ExtCommContent) noexcept = default;
    friend constexpr auto operator<=>(ExtCommContent, ExtCommContent) noexcept = default;

  private:
    U64 community_ = 0;
};

/// Appends the content as `0x` and sixteen hexadecimal digits; the zero content as eighteen zeros.
VOBGP_EXPORT void appendCommunityValue(Mox::CharBuffer& out, ExtCommContent content,
                                       bool upperCase = false);

/// Writes what appendCommunityValue() appends, in upper case if the stream asks for that. A base
/// prefix, internal adjustment, width 18 and zero fill give this text: the prefix is left out for
/// zero, and the fill makes up for it. The stream's state stays as it is.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommContent const& content);

/// An optional subtype octet, 0 to 255.
class VOBGP_EXPORT BgpExtCommPktSubtype : public BgpMaybeU63 {
  public:
    /// Unspecified.
    BgpExtCommPktSubtype() noexcept = default;
    explicit BgpExtCommPktSubtype(U64 value) { valueIs(value); }
    U64 min() const noexcept override { return 0; }
    U64 max() const noexcept override { return 255; }
};

/// Whether the value is a member that the wire may carry: not the unknown one, and not a name that
/// is registered for show output only.
template <Mox::Enumeration E>
constexpr bool bgpIsValidEnumMember(E value) noexcept {
    return Mox::isValidOnWire(value);
}

/// Appends the member name of a subtype octet, or `subtype=` and the octet in decimal where the
/// enumeration does not accept it.
template <Mox::Enumeration E>
void appendExtCommSubtype(Mox::CharBuffer& out, U8 subtypeOctet) {
    if (auto const subtype = static_cast<E>(subtypeOctet); bgpIsValidEnumMember(subtype)) {
        out.append(Mox::enumerationName(subtype));
    } else {
        out.append("subtype=").appendDecimal(subtypeOctet);
    }
}

template <Mox::Enumeration E>
String extCommSubtypeString(U8 subtypeOctet) {
    Mox::LocalCharBuffer<128> out;
    appendExtCommSubtype<E>(out, subtypeOctet);
    return out.string();
}

/// Appends the type octet without its 0x40 bit and the subtype octet, two lower-case hexadecimal
/// digits each, the suffix, and `(NT)` for a non-transitive community.
VOBGP_EXPORT void appendExtCommType(Mox::CharBuffer& out, char const* suffix, U8 type, U8 subtype,
                                    bool transitive);
VOBGP_EXPORT String extCommTypeAsString(char const* suffix, U8 type, U8 subtype, bool transitive);

} // namespace Routing::Bgp

/// The decimal number.
template <>
struct VOBGP_EXPORT Mox::ValueText<Routing::Bgp::ExtCommContent> {
    static void write(CharBuffer& out, Routing::Bgp::ExtCommContent content) {
        out.appendDecimal(content.community());
    }

    static Routing::Bgp::ExtCommContent read(ValueReader& in) {
        return Routing::Bgp::ExtCommContent(ValueText<U64>::read(in));
    }
};

// ---- The tables: each member once more, with what the wire may carry ----------------------------

#define VOBGP_MEMBER(member)                                                                       \
    { Routing::Bgp::member, #member }
#define VOBGP_MEMBER_NOT_ON_WIRE(member)                                                           \
    { Routing::Bgp::member, #member, OnWire::no }

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpExtCommPktType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktType>>({
        VOBGP_MEMBER(extCommPktTypeTransTwoOctetAs),
        VOBGP_MEMBER(extCommPktTypeTransIpv4Address),
        VOBGP_MEMBER(extCommPktTypeTransFourOctetAs),
        VOBGP_MEMBER(extCommPktTypeTransOpaque),
        VOBGP_MEMBER(extCommPktTypeTransQosMarking),
        VOBGP_MEMBER(extCommPktTypeTransCosCapability),
        VOBGP_MEMBER(extCommPktTypeTransEvpn),
        VOBGP_MEMBER(extCommPktTypeTransFlowspecRedirectNexthop),
        VOBGP_MEMBER(extCommPktTypeTransGeneric),
        VOBGP_MEMBER(extCommPktTypeTransGenericPart2),
        VOBGP_MEMBER(extCommPktTypeTransGenericPart3),
        VOBGP_MEMBER(extCommPktTypeNonTransTwoOctetAs),
        VOBGP_MEMBER(extCommPktTypeNonTransIpv4Address),
        VOBGP_MEMBER(extCommPktTypeNonTransFourOctetAs),
        VOBGP_MEMBER(extCommPktTypeNonTransOpaque),
        VOBGP_MEMBER(extCommPktTypeNonTransQosMarking),
        VOBGP_MEMBER_NOT_ON_WIRE(extCommPktTypeUnknown),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransTwoOctetAs> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransTwoOctetAs";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransTwoOctetAs>>({
            VOBGP_MEMBER(extCommPktSubtypeTransTwoOctetAsRouteTarget),
            VOBGP_MEMBER(extCommPktSubtypeTransTwoOctetAsRouteOrigin),
            VOBGP_MEMBER(extCommPktSubtypeTransTwoOctetAsOspfDomainIdentifier),
            VOBGP_MEMBER(extCommPktSubtypeTransTwoOctetAsBgpDataCollection),
            VOBGP_MEMBER(extCommPktSubtypeTransTwoOctetAsSourceAs),
            VOBGP_MEMBER(extCommPktSubtypeTransTwoOctetAsL2VpnIdentifier),
            VOBGP_MEMBER(extCommPktSubtypeTransTwoOctetAsCiscoVpnDistinguisher),
            // A name for show output only: what carries it on the wire is non-transitive.
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeNonTransTwoOctetAsLinkBandwidthAny),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeTransTwoOctetAsUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransIpv4Address> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransIpv4Address";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransIpv4Address>>({
            VOBGP_MEMBER(extCommPktSubtypeTransIpv4AddressRouteTarget),
            VOBGP_MEMBER(extCommPktSubtypeTransIpv4AddressRouteOrigin),
            VOBGP_MEMBER(extCommPktSubtypeTransIpv4AddressOspfDomainIdentifier),
            VOBGP_MEMBER(extCommPktSubtypeTransIpv4AddressOspfRouteId),
            VOBGP_MEMBER(extCommPktSubtypeTransIpv4AddressL2VpnIdentifier),
            VOBGP_MEMBER(extCommPktSubtypeTransIpv4AddressVrfRouteImport),
            VOBGP_MEMBER(extCommPktSubtypeTransIpv4AddressFlowspecRedirectIp),
            VOBGP_MEMBER(extCommPktSubtypeTransIpv4AddressCiscoVpnDistinguisher),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeTransIpv4AddressUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransFourOctetAs> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransFourOctetAs";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransFourOctetAs>>({
            VOBGP_MEMBER(extCommPktSubtypeTransFourOctetAsRouteTarget),
            VOBGP_MEMBER(extCommPktSubtypeTransFourOctetAsRouteOrigin),
            VOBGP_MEMBER(extCommPktSubtypeTransFourOctetAsGeneric),
            VOBGP_MEMBER(extCommPktSubtypeTransFourOctetAsOspfDomainIdentifier),
            VOBGP_MEMBER(extCommPktSubtypeTransFourOctetAsBgpDataCollection),
            VOBGP_MEMBER(extCommPktSubtypeTransFourOctetAsSourceAs),
            VOBGP_MEMBER(extCommPktSubtypeTransFourOctetAsCiscoVpnDistinguisher),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeTransFourOctetAsUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransOpaque> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransOpaque";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransOpaque>>({
            VOBGP_MEMBER(extCommPktSubtypeTransOpaqueCostCommunity),
            VOBGP_MEMBER(extCommPktSubtypeTransOpaqueOutboundRouteFilter),
            VOBGP_MEMBER(extCommPktSubtypeTransOpaqueOspfRouteType),
            VOBGP_MEMBER(extCommPktSubtypeTransOpaqueColorExtendedCommunity),
            VOBGP_MEMBER(extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity),
            VOBGP_MEMBER(extCommPktSubtypeTransOpaqueDefaultGateway),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeTransOpaqeUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeEvpn> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpExtCommPktSubtypeEvpn";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeEvpn>>({
            VOBGP_MEMBER(extCommPktSubtypeEvpnMacMobility),
            VOBGP_MEMBER(extCommPktSubtypeEvpnEsiMplsLabel),
            VOBGP_MEMBER(extCommPktSubtypeEvpnEsImport),
            VOBGP_MEMBER(extCommPktSubtypeEvpnRouterMac),
            VOBGP_MEMBER(extCommPktSubtypeEvpnLayer2Attributes),
            VOBGP_MEMBER(extCommPktSubtypeEvpnEtree),
            VOBGP_MEMBER(extCommPktSubtypeEvpnNdFlags),
            VOBGP_MEMBER(extCommPktSubtypeEvpnMulticastFlags),
            VOBGP_MEMBER(extCommPktSubtypeEvpnEviRtType0),
            VOBGP_MEMBER(extCommPktSubtypeEvpnEviRtType1),
            VOBGP_MEMBER(extCommPktSubtypeEvpnEviRtType2),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeEvpnUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransFlowspecRedirectNexthop> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransFlowspecRedirectNexthop";
    static constexpr auto rows = std::to_array<
        EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransFlowspecRedirectNexthop>>({
        VOBGP_MEMBER(extCommPktSubtypeFlowspecRedirectNexthop),
        VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeFlowspecRedirectUnknown),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransGeneric> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransGeneric";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransGeneric>>({
            VOBGP_MEMBER(extCommPktSubtypeTransGenericFlowspecTrafficRate),
            VOBGP_MEMBER(extCommPktSubtypeTransGenericFlowspecTrafficAction),
            VOBGP_MEMBER(extCommPktSubtypeTransGenericFlowspecRedirectAs2Byte),
            VOBGP_MEMBER(extCommPktSubtypeTransGenericFlowspecTrafficRemarking),
            VOBGP_MEMBER(extCommPktSubtypeTransGenericLayer2InfoExtendedCommunity),
            VOBGP_MEMBER(extCommPktSubtypeTransGenericEtreeInfo),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeTransGenericUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart2> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart2";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart2>>({
            VOBGP_MEMBER(extCommPktSubtypeTransGenericPart2FlowspecRedirectIpv4),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeTransGenericPart2Unknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart3> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart3";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart3>>({
            VOBGP_MEMBER(extCommPktSubtypeTransGenericPart3FlowspecRedirectAs4Byte),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeTransGenericPart3Unknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeNonTransTwoOctetAs> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeNonTransTwoOctetAs";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeNonTransTwoOctetAs>>({
            VOBGP_MEMBER(extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth),
            VOBGP_MEMBER(extCommPktSubtypeNonTransTwoOctetAsVirtualNetworkIdentifier),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeNonTransTwoOctetAsUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeNonTransIpv4Address> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeNonTransIpv4Address";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeNonTransIpv4Address>>({
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeNonTransIpv4AddressUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeNonTransFourOctetAs> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeNonTransFourOctetAs";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeNonTransFourOctetAs>>({
            VOBGP_MEMBER(extCommPktSubtypeNonTransFourOctetAsGeneric),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubNonTransFourOctetAsUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeNonTransOpaque> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeNonTransOpaque";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeNonTransOpaque>>({
            VOBGP_MEMBER(extCommPktSubtypeNonTransOriginValidationState),
            VOBGP_MEMBER(extCommPktSubtypeNonTransCostCommunity),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommPktSubtypeNonTransOpaqueUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::ExtCommClassification> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::ExtCommClassification";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::ExtCommClassification>>({
            VOBGP_MEMBER(extCommClassificationUnSpecified),
            VOBGP_MEMBER(extCommClassificationRouteTarget),
            VOBGP_MEMBER(extCommClassificationRouteOrigin),
            VOBGP_MEMBER(extCommClassificationEvpn),
            VOBGP_MEMBER(extCommClassificationTunnelEncap),
            VOBGP_MEMBER(extCommClassificationDefaultGateway),
            VOBGP_MEMBER(extCommClassificationFlowspec),
            VOBGP_MEMBER(extCommClassificationLinkBandwidth),
            VOBGP_MEMBER(extCommClassificationColor),
            VOBGP_MEMBER(extCommClassificationOriginValidationState),
            VOBGP_MEMBER_NOT_ON_WIRE(extCommClassificationOneBeyondLast),
        });
};

#undef VOBGP_MEMBER
#undef VOBGP_MEMBER_NOT_ON_WIRE

namespace Routing::Bgp {

/// The member of an enumeration by number or by name; what is none is a `Mox::RangeException` whose
/// text is the operation's name.
#define VOBGP_ENUMERATION_INSTANCES(Enumeration, operation)                                        \
    inline Enumeration operation(U32 number) {                                                     \
        return Mox::enumerationInstance<Enumeration>(number, #operation);                          \
    }                                                                                              \
    inline Enumeration operation(String const& name) {                                             \
        return Mox::enumerationInstance<Enumeration>(std::string_view(name), #operation);          \
    }

VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktType, BgpExtCommPktTypeInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransTwoOctetAs,
                            BgpExtCommPktSubtypeTransTwoOctetAsInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransIpv4Address,
                            BgpExtCommPktSubtypeTransIpv4AddressInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransFourOctetAs,
                            BgpExtCommPktSubtypeTransFourOctetAsInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransOpaque,
                            BgpExtCommPktSubtypeTransOpaqueInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeEvpn, BgpExtCommPktSubtypeEvpnInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransFlowspecRedirectNexthop,
                            BgpExtCommPktSubtypeTransFlowspecRedirectNexthopInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransGeneric,
                            BgpExtCommPktSubtypeTransGenericInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransGenericPart2,
                            BgpExtCommPktSubtypeTransGenericPart2Instance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransGenericPart3,
                            BgpExtCommPktSubtypeTransGenericPart3Instance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeNonTransTwoOctetAs,
                            BgpExtCommPktSubtypeNonTransTwoOctetAsInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeNonTransIpv4Address,
                            BgpExtCommPktSubtypeNonTransIpv4AddressInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeNonTransFourOctetAs,
                            BgpExtCommPktSubtypeNonTransFourOctetAsInstance)
VOBGP_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeNonTransOpaque,
                            BgpExtCommPktSubtypeNonTransOpaqueInstance)
VOBGP_ENUMERATION_INSTANCES(ExtCommClassification, ExtCommClassificationInstance)

#undef VOBGP_ENUMERATION_INSTANCES

inline BgpExtCommPktType ExtCommContent::pktType() const noexcept {
    auto const type = static_cast<BgpExtCommPktType>(typeOctet());
    return bgpIsValidEnumMember(type) ? type : extCommPktTypeUnknown;
}

} // namespace Routing::Bgp
