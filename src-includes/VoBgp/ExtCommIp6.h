#pragma once

#include <Kel/DedupHandle.h>
#include <Lumo/Ip6Addr.h>
#include <Mox/CharBuffer.h>
#include <Mox/Enumeration.h>
#include <Mox/Export.h>
#include <Mox/FlagWord.h>
#include <Mox/Ptr.h>
#include <MoxStash/DedupHandle.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <array>
#include <compare>
#include <iosfwd>
#include <string_view>

namespace Routing::Bgp {

class ExtCommIp6DedupTable;

/// The type octet of an IPv6-address-specific extended community (RFC 5701).
enum BgpExtCommIp6PktType : U32 {
    extCommIp6PktTypeTransIpv6Address = 0x00,
    extCommIp6PktTypeNonTransIpv6Address = 0x40,
    extCommIp6PktTypeUnknown = 0x100,
};

/// Subtypes of type 0x00, transitive IPv6 address.
enum BgpExtCommIp6PktSubtypeTransIpv6Address : U32 {
    extCommIp6PktSubtypeRouteTarget = 0x02,
    extCommIp6PktSubtypeRouteOrigin = 0x03,
    extCommIp6PktSubtypeOspf3RouteAttributes = 0x04,
    extCommIp6PktSubtypeVrfRouteImport = 0x0b,
    extCommIp6PktSubtypeFlowspecRedirectIpv6 = 0x0c,
    extCommIp6PktSubtypeCiscoVpnDistinguisher = 0x10,
    extCommIp6PktSubtypeUuidRouteTarget = 0x11,
    extCommIp6PktSubtypeInterAreaP2MPNextHop = 0x12,
    extCommIp6PktSubtypeTransIpv6AddressUnknown = 0x100,
};

/// Subtypes of type 0x40, non-transitive IPv6 address: no octet is a valid member.
enum BgpExtCommIp6PktSubtypeNonTransIpv6Address : U32 {
    extCommIp6PktSubtypeNonTransIpv6AddressUnknown = 0x100,
};

/// The content of an IPv6-address-specific extended community (RFC 5701): twenty octets as on the
/// wire, except for the local administrator, which is an integer in host order.
///
///     octet  0      1         2                                17 18             19
///          +------+---------+------------------------------------+----------------+
///          | type | subtype |  global administrator: an address  |  local admin.  |
///          +------+---------+------------------------------------+----------------+
///
/// 0x40 in the type octet means non-transitive. Ordered by type, subtype, address and local
/// administrator. Immutable except for assignment.
class VOBGP_EXPORT ExtCommIp6Content {
  public:
    /// All octets zero.
    constexpr ExtCommIp6Content() noexcept = default;

    constexpr ExtCommIp6Content(U8 type, U8 subtype, Lumo::Ip6Addr const& addr,
                                U16 localAdmin) noexcept
      : type_(type)
      , subtype_(subtype)
      , addr_(addr)
      , localAdmin_(localAdmin) {}
    constexpr U8 type() const noexcept { return type_; }
    constexpr U8 subtype() const noexcept { return subtype_; }
    constexpr Lumo::Ip6Addr const& addr() const noexcept { return addr_; }
    constexpr U16 localAdmin() const noexcept { return localAdmin_; }
    constexpr bool transitive() const noexcept { return (type_ & 0x40) == 0; }

    /// The type octet if it is a member of the enumeration, otherwise `extCommIp6PktTypeUnknown`.
    BgpExtCommIp6PktType pktType() const noexcept;

    /// The one-at-a-time mix of the twenty octets. The low octet of the local administrator comes
    /// before the high one, unlike on the wire.
    U32 hash() const noexcept;

    /// Determines the place of an interned community in its table.
    U64 placementHash() const noexcept;

    friend constexpr bool operator==(ExtCommIp6Content const&,
                                     ExtCommIp6Content const&) noexcept = default;
    friend constexpr auto operator<=>(ExtCommIp6Content const&,
                                      ExtCommIp6Content const&) noexcept = default;

    static Mox::Type const& staticType() noexcept;

  private:
    U8 type_ = 0;
    U8 subtype_ = 0;
    Lumo::Ip6Addr addr_;
    U16 localAdmin_ = 0;
};

static_assert(sizeof(ExtCommIp6Content) == 20);

/// An IPv6-address-specific extended community (RFC 5701). Interned: a table holds at most one
/// object for each content.
///
/// Reference-counted; removed from its table when the last external reference is released.
/// Immutable and thread-safe.
class VOBGP_EXPORT ExtCommIp6 : public MoxStash::DedupHandle {
  public:
    MOX_COUNTED(ExtCommIp6)

    /// Selects the text form of a community: a set of six flags. A word above 0x3f throws
    /// `Mox::RangeException`.
    ///
    /// The bits above 0x08 differ from those of `ExtComm::StrepFormat`, which has one more flag.
    /// Convert between the two flag by flag.
    class VOBGP_EXPORT StrepFormat : public Mox::FlagWord<StrepFormat> {
      public:
        /// Default form.
        static constexpr U32 strepFormatDefault = 0x01;
        /// Add qualifiers. No effect here.
        static constexpr U32 strepFormatQualifier = 0x02;
        /// Together with strepFormatUI: prefix the type.
        static constexpr U32 strepFormatClassification = 0x04;
        /// Together with strepFormatClassification: prefix the type.
        static constexpr U32 strepFormatUI = 0x08;
        /// AS numbers in asdot notation (RFC 5396). No effect here.
        static constexpr U32 strepFormatAsdot = 0x10;
        /// Link bandwidth as a weight. No effect here.
        static constexpr U32 strepFormatLinkBwWeighted = 0x20;

        static constexpr std::string_view qualifiedName = "Routing::Bgp::ExtCommIp6::StrepFormat";
        static constexpr U32 maximum = 0x3f;
        static constexpr char const* rangeError = "StrepFormat::value > 0x3f not allowed";

        constexpr StrepFormat() noexcept = default;
        constexpr explicit StrepFormat(U32 value)
          : FlagWord(value) {}

        /// Parses the value text and advances `it` past it.
        StrepFormat(String::IteratorConst& it, String::IteratorConst const& end)
          : FlagWord(it, end) {}

        static Mox::Type const& staticType() noexcept;
    };

    /// Creates an object that is not interned.
    ExtCommIp6(ExtCommClassification classification, ExtCommIp6Content const& content) noexcept
      : classification_(classification)
      , content_(content) {}
    ~ExtCommIp6() override;

    // The interned-object contract. Equality and hashes depend on the content only, not on the
    // classification.
    U32 hash() const override;
    U64 placementHash() const override;
    bool compare(Kel::DedupHandle const* other) const override;
    bool compareByContent(Kel::DedupContentHandle const& content) const override;
    void formatHandle(std::ostream& os) const override;

    /// The subtype octet if the class has one, otherwise unspecified.
    virtual BgpExtCommPktSubtype pktSubtype() const { return {}; }

    /// Writes the text for show output, `<TYPE[ SUBTYPE] addr=ADDRESS localAdmin=NUMBER>`. Restores
    /// the stream's formatting state.
    virtual void formatDerivedType(std::ostream& os) const;

    /// The text for policy and command line, `[TYPE:]ADDRESS:NUMBER`, with the type if both
    /// strepFormatClassification and strepFormatUI are set.
    virtual String toStrepForPolicy(StrepFormat format) const;

    /// Does nothing; the subtype is part of the content.
    virtual void pktSubtypeIs(BgpExtCommPktSubtype const& /*pktSubtype*/) {}

    ExtCommIp6Content getContent() const noexcept { return content_; }
    ExtCommClassification classification() const noexcept { return classification_; }
    BgpExtCommIp6PktType pktType() const noexcept { return content_.pktType(); }
    bool transitive() const noexcept { return content_.transitive(); }

    /// Writes the name of the subtype, `unspecified`, or `none` for a type without subtypes.
    void formatSubtype(std::ostream& os) const;

    /// The text that streaming a pointer to this writes.
    String toStrep() const;

    /// Appends what toStrep() or toStrepForPolicy() returns. On `std::bad_alloc` a part may have
    /// been appended.
    void appendShowText(Mox::CharBuffer& out) const;
    void appendPolicyText(Mox::CharBuffer& out, StrepFormat format) const;

    /// The name of the subtype, or `subtype=` and the octet in decimal if it has none. No
    /// non-transitive subtype has a name. REQUIRES: the object is of that type and has a subtype
    /// (asserted).
    String pktSubtypeTransIpv6AddressAsString() const;
    String pktSubtypeNonTransIpv6AddressAsString() const;

    /// The interned object for a content: the one in the table, or a new one that the table's rule
    /// parses. Thread-safe if the table is.
    static PtrConst dedupContent(ExtCommIp6DedupTable const* table,
                                 ExtCommIp6Content const& content);

    /// Writes content and classification into a store; returns their stored address.
    void const* stash(MoxStash::StoreWriter& writer) const;

    /// Rebuilds a stored community as an `ExtCommIp6` without a subtype in state destashed, which
    /// is in no table. Throws `MoxStash::StoreException` if the address is not that of a community.
    static Ptr destash(void const* image, MoxStash::StoreManager* storeManager);

  protected:
    /// Appends what formatDerivedType() writes.
    virtual void appendShowForm(Mox::CharBuffer& out) const;

    /// Appends what toStrepForPolicy() returns.
    virtual void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const;

    /// Whether the object is exactly of the class that defines this function, so that nothing
    /// overrides formatDerivedType() or toStrepForPolicy().
    virtual bool textIsBuiltIn() const noexcept;

  private:
    void appendSubtype(Mox::CharBuffer& out, BgpExtCommPktSubtype const& subtype) const;

    ExtCommClassification const classification_;
    ExtCommIp6Content const content_;
};

/// Returns a new object of the base class, not interned, with notifications enabled.
VOBGP_EXPORT ExtCommIp6::Ptr extCommIp6Factory(ExtCommClassification classification,
                                               ExtCommIp6Content const& content);

/// Writes formatDerivedType(), or `NULL` for null. Restores the stream's formatting state, even if
/// an override changed it.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommIp6 const* extCommIp6);
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommIp6 const& extCommIp6);

/// An IPv6-address-specific extended community that reports its subtype.
class VOBGP_EXPORT ExtCommIp6Subtyped : public ExtCommIp6 {
  public:
    MOX_COUNTED(ExtCommIp6Subtyped)

    using ExtCommIp6::ExtCommIp6;
    ~ExtCommIp6Subtyped() override;

    BgpExtCommPktSubtype pktSubtype() const override;

  protected:
    bool textIsBuiltIn() const noexcept override;
};

} // namespace Routing::Bgp

/// `type=O;subtype=O;addr=ADDRESS;localAdmin=NUMBER`, where each `O` is the octet itself as one raw
/// character, not its number. A text may contain characters that do not print, including NUL. The
/// reader takes exactly one character for each.
template <>
struct VOBGP_EXPORT Mox::ValueText<Routing::Bgp::ExtCommIp6Content> {
    static void write(CharBuffer& out, Routing::Bgp::ExtCommIp6Content const& content);
    static Routing::Bgp::ExtCommIp6Content read(ValueReader& in);
};

// ---- The tables: a row for each member, with whether it is valid on the wire --------------------

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommIp6PktType> {
    static constexpr std::string_view qualifiedName = "Routing::Bgp::BgpExtCommIp6PktType";
    static constexpr auto rows = std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommIp6PktType>>({
        MOX_MEMBER(Routing::Bgp, extCommIp6PktTypeTransIpv6Address),
        MOX_MEMBER(Routing::Bgp, extCommIp6PktTypeNonTransIpv6Address),
        MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommIp6PktTypeUnknown),
    });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommIp6PktSubtypeTransIpv6Address> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommIp6PktSubtypeTransIpv6Address";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommIp6PktSubtypeTransIpv6Address>>({
            MOX_MEMBER(Routing::Bgp, extCommIp6PktSubtypeRouteTarget),
            MOX_MEMBER(Routing::Bgp, extCommIp6PktSubtypeRouteOrigin),
            MOX_MEMBER(Routing::Bgp, extCommIp6PktSubtypeOspf3RouteAttributes),
            MOX_MEMBER(Routing::Bgp, extCommIp6PktSubtypeVrfRouteImport),
            MOX_MEMBER(Routing::Bgp, extCommIp6PktSubtypeFlowspecRedirectIpv6),
            MOX_MEMBER(Routing::Bgp, extCommIp6PktSubtypeCiscoVpnDistinguisher),
            MOX_MEMBER(Routing::Bgp, extCommIp6PktSubtypeUuidRouteTarget),
            MOX_MEMBER(Routing::Bgp, extCommIp6PktSubtypeInterAreaP2MPNextHop),
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommIp6PktSubtypeTransIpv6AddressUnknown),
        });
};

template <>
struct Mox::EnumerationTable<Routing::Bgp::BgpExtCommIp6PktSubtypeNonTransIpv6Address> {
    static constexpr std::string_view qualifiedName =
        "Routing::Bgp::BgpExtCommIp6PktSubtypeNonTransIpv6Address";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Routing::Bgp::BgpExtCommIp6PktSubtypeNonTransIpv6Address>>({
            MOX_MEMBER_NOT_ON_WIRE(Routing::Bgp, extCommIp6PktSubtypeNonTransIpv6AddressUnknown),
        });
};

namespace Routing::Bgp {

MOX_ENUMERATION_INSTANCES(BgpExtCommIp6PktType, BgpExtCommIp6PktTypeInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommIp6PktSubtypeTransIpv6Address,
                          BgpExtCommIp6PktSubtypeTransIpv6AddressInstance)
MOX_ENUMERATION_INSTANCES(BgpExtCommIp6PktSubtypeNonTransIpv6Address,
                          BgpExtCommIp6PktSubtypeNonTransIpv6AddressInstance)

inline BgpExtCommIp6PktType ExtCommIp6Content::pktType() const noexcept {
    auto const type = static_cast<BgpExtCommIp6PktType>(type_);
    return bgpIsValidEnumMember(type) ? type : extCommIp6PktTypeUnknown;
}

} // namespace Routing::Bgp
