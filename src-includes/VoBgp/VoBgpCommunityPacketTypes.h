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

/// The class of a community, which its parse rule determines. Lists keep one sub-list per class.
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
    /// The number of classes.
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
/// Immutable except for assignment.
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

    /// The type octet if it is a member of the enumeration, otherwise `extCommPktTypeUnknown`.
    BgpExtCommPktType pktType() const noexcept;

    /// The framework's single-attribute hash of the community.
    U64 hash() const noexcept { return Mox::hashWord(community_); }

    /// Determines the place of an interned community in its table.
    U64 placementHash() const noexcept { return Mox::keyedHash(community_); }
    friend constexpr bool operator==(ExtCommContent, ExtCommContent) noexcept = default;
    friend constexpr auto operator<=>(ExtCommContent, ExtCommContent) noexcept = default;

    static Mox::Type const& staticType() noexcept;

  private:
    U64 community_ = 0;
};

/// Appends the content as `0x` and sixteen hexadecimal digits; the zero content as eighteen zeros.
VOBGP_EXPORT void appendCommunityValue(Mox::CharBuffer& out, ExtCommContent content,
                                       bool upperCase = false);

/// Writes the text of appendCommunityValue(), in upper case if the stream has that flag. The zero
/// content is what a base prefix with width 18 and zero fill prints: zero has no prefix. Keeps the
/// stream's state.
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

/// Whether the value is a member that is valid on the wire: not the unknown one, and not one that
/// is registered for show output only.
template <Mox::Enumeration E>
constexpr bool bgpIsValidEnumMember(E value) noexcept {
    return Mox::isValidOnWire(value);
}

/// Appends the member name of a subtype octet, or `subtype=` and the octet in decimal if it is not
/// valid on the wire.
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
VOBGP_EXPORT void appendExtCommType(Mox::CharBuffer& out, std::string_view suffix, U8 type,
                                    U8 subtype, bool transitive);
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

// ---- The tables: a row for each member, with whether it is valid on the wire --------------------

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpExtCommPktType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktType>>({
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransTwoOctetAs),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransIpv4Address),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransFourOctetAs),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransOpaque),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransQosMarking),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransCosCapability),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransEvpn),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransFlowspecRedirectNexthop),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransGeneric),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransGenericPart2),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeTransGenericPart3),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeNonTransTwoOctetAs),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeNonTransIpv4Address),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeNonTransFourOctetAs),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeNonTransOpaque),
        MOX_MEMBER(Routing::Bgp, extCommPktTypeNonTransQosMarking),
        MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktTypeUnknown),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransTwoOctetAs> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransTwoOctetAs";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransTwoOctetAs>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransTwoOctetAsRouteTarget),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransTwoOctetAsRouteOrigin),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransTwoOctetAsOspfDomainIdentifier),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransTwoOctetAsBgpDataCollection),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransTwoOctetAsSourceAs),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransTwoOctetAsL2VpnIdentifier),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransTwoOctetAsCiscoVpnDistinguisher),
            // A name for show output only: what carries it on the wire is non-transitive.
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp,
                                   extCommPktSubtypeNonTransTwoOctetAsLinkBandwidthAny),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeTransTwoOctetAsUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransIpv4Address> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransIpv4Address";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransIpv4Address>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransIpv4AddressRouteTarget),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransIpv4AddressRouteOrigin),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransIpv4AddressOspfDomainIdentifier),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransIpv4AddressOspfRouteId),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransIpv4AddressL2VpnIdentifier),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransIpv4AddressVrfRouteImport),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransIpv4AddressFlowspecRedirectIp),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransIpv4AddressCiscoVpnDistinguisher),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeTransIpv4AddressUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransFourOctetAs> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransFourOctetAs";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransFourOctetAs>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransFourOctetAsRouteTarget),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransFourOctetAsRouteOrigin),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransFourOctetAsGeneric),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransFourOctetAsOspfDomainIdentifier),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransFourOctetAsBgpDataCollection),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransFourOctetAsSourceAs),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransFourOctetAsCiscoVpnDistinguisher),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeTransFourOctetAsUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransOpaque> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransOpaque";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransOpaque>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransOpaqueCostCommunity),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransOpaqueOutboundRouteFilter),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransOpaqueOspfRouteType),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransOpaqueColorExtendedCommunity),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransOpaqueDefaultGateway),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeTransOpaqeUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeEvpn> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpExtCommPktSubtypeEvpn";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeEvpn>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnMacMobility),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnEsiMplsLabel),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnEsImport),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnRouterMac),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnLayer2Attributes),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnEtree),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnNdFlags),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnMulticastFlags),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnEviRtType0),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnEviRtType1),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeEvpnEviRtType2),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeEvpnUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransFlowspecRedirectNexthop> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransFlowspecRedirectNexthop";
    static constexpr auto rows = std::to_array<
        EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransFlowspecRedirectNexthop>>({
        MOX_MEMBER(Routing::Bgp, extCommPktSubtypeFlowspecRedirectNexthop),
        MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeFlowspecRedirectUnknown),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransGeneric> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransGeneric";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransGeneric>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransGenericFlowspecTrafficRate),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransGenericFlowspecTrafficAction),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransGenericFlowspecRedirectAs2Byte),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransGenericFlowspecTrafficRemarking),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransGenericLayer2InfoExtendedCommunity),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransGenericEtreeInfo),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeTransGenericUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart2> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart2";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart2>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransGenericPart2FlowspecRedirectIpv4),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeTransGenericPart2Unknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart3> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart3";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart3>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeTransGenericPart3FlowspecRedirectAs4Byte),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeTransGenericPart3Unknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeNonTransTwoOctetAs> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeNonTransTwoOctetAs";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeNonTransTwoOctetAs>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeNonTransTwoOctetAsVirtualNetworkIdentifier),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeNonTransTwoOctetAsUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeNonTransIpv4Address> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeNonTransIpv4Address";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeNonTransIpv4Address>>({
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeNonTransIpv4AddressUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeNonTransFourOctetAs> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeNonTransFourOctetAs";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeNonTransFourOctetAs>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeNonTransFourOctetAsGeneric),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubNonTransFourOctetAsUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommPktSubtypeNonTransOpaque> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommPktSubtypeNonTransOpaque";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommPktSubtypeNonTransOpaque>>({
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeNonTransOriginValidationState),
            MOX_MEMBER(Routing::Bgp, extCommPktSubtypeNonTransCostCommunity),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommPktSubtypeNonTransOpaqueUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::ExtCommClassification> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::ExtCommClassification";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::ExtCommClassification>>({
            MOX_MEMBER(Routing::Bgp, extCommClassificationUnSpecified),
            MOX_MEMBER(Routing::Bgp, extCommClassificationRouteTarget),
            MOX_MEMBER(Routing::Bgp, extCommClassificationRouteOrigin),
            MOX_MEMBER(Routing::Bgp, extCommClassificationEvpn),
            MOX_MEMBER(Routing::Bgp, extCommClassificationTunnelEncap),
            MOX_MEMBER(Routing::Bgp, extCommClassificationDefaultGateway),
            MOX_MEMBER(Routing::Bgp, extCommClassificationFlowspec),
            MOX_MEMBER(Routing::Bgp, extCommClassificationLinkBandwidth),
            MOX_MEMBER(Routing::Bgp, extCommClassificationColor),
            MOX_MEMBER(Routing::Bgp, extCommClassificationOriginValidationState),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommClassificationOneBeyondLast),
        });
};

namespace Routing::Bgp {

MOX_ENUMERATION_INSTANCES(BgpExtCommPktType, BgpExtCommPktTypeInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransTwoOctetAs,
                          BgpExtCommPktSubtypeTransTwoOctetAsInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransIpv4Address,
                          BgpExtCommPktSubtypeTransIpv4AddressInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransFourOctetAs,
                          BgpExtCommPktSubtypeTransFourOctetAsInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransOpaque, BgpExtCommPktSubtypeTransOpaqueInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeEvpn, BgpExtCommPktSubtypeEvpnInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransFlowspecRedirectNexthop,
                          BgpExtCommPktSubtypeTransFlowspecRedirectNexthopInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransGeneric,
                          BgpExtCommPktSubtypeTransGenericInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransGenericPart2,
                          BgpExtCommPktSubtypeTransGenericPart2Instance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeTransGenericPart3,
                          BgpExtCommPktSubtypeTransGenericPart3Instance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeNonTransTwoOctetAs,
                          BgpExtCommPktSubtypeNonTransTwoOctetAsInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeNonTransIpv4Address,
                          BgpExtCommPktSubtypeNonTransIpv4AddressInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeNonTransFourOctetAs,
                          BgpExtCommPktSubtypeNonTransFourOctetAsInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommPktSubtypeNonTransOpaque,
                          BgpExtCommPktSubtypeNonTransOpaqueInstance)
MOX_ENUMERATION_INSTANCES(ExtCommClassification, ExtCommClassificationInstance)

inline BgpExtCommPktType ExtCommContent::pktType() const noexcept {
    auto const type = static_cast<BgpExtCommPktType>(typeOctet());
    return bgpIsValidEnumMember(type) ? type : extCommPktTypeUnknown;
}

} // namespace Routing::Bgp
