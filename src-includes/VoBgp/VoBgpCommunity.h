#pragma once

// BGP communities, interned.
//
// The routes of a BGP speaker carry few distinct communities, and few distinct lists of them. This
// library parses communities into typed objects and interns them: a table holds one immutable,
// reference-counted object for each content, however many routes carry it. Two communities, or two
// lists, of a table are equal if and only if they are the same object.
//
// -----------------------------------------------------------------------------------------------
// LISTS FROM ATTRIBUTES
//
// CommunityTables (VoBgp/CommunityTables.h) owns the parse rules and the tables of an agent. It
// turns the value of a path attribute, as a peer sent it, into an interned list:
//
//     CommunityTables const tables;
//
//     // Attribute 16, EXTENDED COMMUNITIES: route targets 64500:9 and 64500:7.
//     unsigned char const value[] = {0, 2, 251, 244, 0, 0, 0, 9, 0, 2, 251, 244, 0, 0, 0, 7};
//     auto const targets = tables.extCommList(std::as_bytes(std::span(value)));
//     if (!targets) {
//         return 1; // malformed, or no list can hold it: see targets.verdict
//     }
//     std::cout << *targets.list << '\n';
//
// Untrusted octets cannot fail an assertion here. A list that is interned already is found by its
// octets, without parsing or allocating. Keep `targets.list`, a counted pointer, with the route;
// the list leaves its table with the last pointer to it.
//
// -----------------------------------------------------------------------------------------------
// SINGLE COMMUNITIES
//
// ExtComm is one extended community. Its content is the eight octets as one integer:
//
//     auto const target = ExtComm::dedupContent(tables.extCommDedupTable().get(),
//                                               ExtCommContent(0x0002fbf400000007));
//     std::cout << *target << '\n'; // <RouteTarget2ByteASN 64500:7 0x0002fbf400000007>
//
// toStrepForPolicy() gives the text for policy and command line; classification() returns the class
// that the parse rule assigned. To read the fields, cast to the class:
// Mox::entityCast<ExtCommAsNumber const>.
//
// ExtCommIp6 (VoBgp/ExtCommIp6.h) is the same for IPv6-address-specific communities. Standard and
// large communities are plain values; only their lists are interned (VoBgp/CommList.h).
//
// -----------------------------------------------------------------------------------------------
// ROUTE TARGETS IN USE
//
// The table notifies observers of the first use and the last release of each route target:
//
//     class Import final : public NotifyingRouteTargetList::Notifiee {
//       public:
//         using Notifiee::Notifiee;
//         void handleRt(RouteTarget const& rt) override {
//             std::cout << rt.toStrep(false) << (notifier()->rtHas(rt) ? " in use\n" : " gone\n");
//         }
//     } import(tables.routeTargets());
//
// -----------------------------------------------------------------------------------------------
// THREADS
//
// By default the tables and counts belong to one thread and take no locks. To use more threads,
// call these before the second thread starts and the first table is created:
//
//     Mox::threadSafePtrsIs(true);
//     Routing::Bgp::VoBgpGlobals::multiThreadedIs(true);
//
// docs/threads.md lists what observers may do; examples/ has complete agents.

#include <Kel/DedupHandle.h>
#include <Kel/DedupHashTable.h>
#include <Kel/DumpContext.h>
#include <Lumo/AutonomousSystem.h>
#include <Lumo/IpAddr.h>
#include <Mox/Export.h>
#include <Mox/FlagWord.h>
#include <Mox/Ptr.h>
#include <MoxStash/DedupHandle.h>
#include <VoBgp/NotifyingRouteTargetList.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <iosfwd>
#include <string_view>

namespace Routing::Bgp {

class BgpParseExtendedCommunityRule;
class ExtCommDedupTable;

/// An extended community (RFC 4360). Interned: a table holds at most one object for each value.
///
/// Reference-counted; removed from its table when the last external reference is released.
/// Immutable and thread-safe.
///
/// A derived class may have its own texts. It overrides appendShowForm() and appendPolicyForm(),
/// which allocate nothing, or formatDerivedType() and toStrepForPolicy(), which by default are
/// derived from them.
class VOBGP_EXPORT ExtComm : public MoxStash::DedupHandle {
  public:
    MOX_COUNTED(ExtComm)

    /// Selects the text form of a community: a set of seven flags. A word above 0x7f throws
    /// `Mox::RangeException`.
    class VOBGP_EXPORT StrepFormat : public Mox::FlagWord<StrepFormat> {
      public:
        /// Default form.
        static constexpr U32 strepFormatDefault = 0x01;
        /// Add qualifiers: the `L` of a four-octet AS number.
        static constexpr U32 strepFormatQualifier = 0x02;
        /// Together with strepFormatUI: prefix the type.
        static constexpr U32 strepFormatClassification = 0x04;
        /// Together with strepFormatClassification: prefix the type.
        static constexpr U32 strepFormatUI = 0x08;
        /// For JSON output.
        static constexpr U32 strepFormatJson = 0x10;
        /// AS numbers in asdot notation (RFC 5396).
        static constexpr U32 strepFormatAsdot = 0x20;
        /// Link bandwidth as a weight.
        static constexpr U32 strepFormatLinkBwWeighted = 0x40;

        static constexpr std::string_view qualifiedName = "Routing::Bgp::ExtComm::StrepFormat";
        static constexpr U32 maximum = 0x7f;
        static constexpr char const* rangeError = "StrepFormat::value > 0x7f not allowed";

        constexpr StrepFormat() noexcept = default;
        constexpr StrepFormat(U32 value)
          : FlagWord(value) {}

        /// Parses the value text and advances `it` past it.
        StrepFormat(String::IteratorConst& it, String::IteratorConst const& end)
          : FlagWord(it, end) {}

        static Mox::Type const& staticType() noexcept;
    };

    /// Creates an object that is not interned.
    ExtComm(ExtCommClassification classification, ExtCommContent const& content) noexcept
      : MoxStash::DedupHandle(static_cast<U16>(classification & classificationMask))
      , extCommContent_(content) {}
    ~ExtComm() override;

    // The interned-object contract. Equality and hashes depend on the content only, not on the
    // classification.
    U32 hash() const override;
    U64 placementHash() const override;
    bool compare(Kel::DedupHandle const* other) const override;
    bool compareByContent(Kel::DedupContentHandle const& content) const override;
    void formatHandle(std::ostream& os) const override;

    /// Whether this is a link bandwidth whose AS field is 0.
    virtual bool isLinkBandwidthWithUnspecifiedAsNumber() const { return false; }

    /// The subtype octet if the class has one, otherwise unspecified.
    virtual BgpExtCommPktSubtype pktSubtype() const { return {}; }

    /// Writes the text for show output, by default `<TYPE[ SUBTYPE] VALUE>`. Restores the stream's
    /// formatting state.
    virtual void formatDerivedType(std::ostream& os) const;

    /// The text for policy and command line. Empty for a plain community unless both
    /// strepFormatClassification and strepFormatUI are set.
    virtual String toStrepForPolicy(StrepFormat strepFormatFlags) const;

    /// Does nothing; the subtype is part of the content.
    virtual void pktSubtypeIs(BgpExtCommPktSubtype const& /*pktSubtype*/) {}

    ExtCommContent getContent() const noexcept { return extCommContent_; }
    /// The eight octets in wire order as one integer in host order.
    U64 community() const noexcept { return extCommContent_.community(); }
    ExtCommClassification classification() const noexcept {
        return static_cast<ExtCommClassification>(kindBits() & classificationMask);
    }
    BgpExtCommPktType pktType() const noexcept { return extCommContent_.pktType(); }
    bool transitive() const noexcept { return extCommContent_.transitive(); }
    bool transitiveFlag() const noexcept { return transitive(); }
    bool isLinkBandwidth() const noexcept {
        return classification() == extCommClassificationLinkBandwidth;
    }

    void formatCommunityValue(std::ostream& os) const;

    /// Writes the name of the subtype, `unspecified`, or `none` for a type without subtypes.
    void formatSubtype(std::ostream& os) const;

    /// The text that streaming a pointer to this writes.
    String toStrep() const;

    /// Appends what toStrep() or toStrepForPolicy() returns. On `std::bad_alloc` a part may have
    /// been appended.
    void appendShowText(Mox::CharBuffer& out) const;
    void appendPolicyText(Mox::CharBuffer& out, StrepFormat format) const;

    /// The name of the subtype, or `subtype=` and the octet in decimal if it has none. REQUIRES:
    /// the object is of that type and has a subtype (asserted).
    String pktSubtypeTransTwoOctetAsString() const;
    String pktSubtypeTransIpv4AddressString() const;
    String pktSubtypeTransFourOctetAsString() const;
    String pktSubtypeTransOpaqueString() const;
    String pktSubtypeEvpnString() const;
    String pktSubtypeFlowspecRedirectNexthopString() const;
    String pktSubtypeTransGenericString() const;
    String pktSubtypeTransGenericPart2String() const;
    String pktSubtypeTransGenericPart3String() const;
    String pktSubtypeNonTransTwoOctetAsString() const;
    String pktSubtypeNonTransIpv4AddressString() const;
    String pktSubtypeNonTransFourOctetAsString() const;
    String pktSubtypeNonTransOpaqueString() const;

    /// The interned object for a content: the one in the table, or a new one that the table's rule
    /// parses. Thread-safe if the table is. REQUIRES: the table is not null (asserted).
    static PtrConst dedupContent(ExtCommDedupTable const* table, ExtCommContent const& content);

    /// Casts an interned object to a community. REQUIRES: it is one (asserted).
    static ExtComm const* fromDedupHandle(Kel::DedupHandle const* handle) noexcept;

    /// Writes value and classification into a store; returns their stored address.
    void const* stash(MoxStash::StoreWriter& writer) const;

    /// Rebuilds a stored community as a plain `ExtComm` in state destashed, which is in no table
    /// and in no list of route targets. Throws `MoxStash::StoreException` if the address is not
    /// that of a community.
    static Ptr destash(void const* stored, MoxStash::StoreManager* store);

  protected:
    /// Appends what formatDerivedType() writes; `upperCase` is for the digits of the value.
    virtual void appendShowForm(Mox::CharBuffer& out, bool upperCase) const;

    /// Appends what toStrepForPolicy() returns.
    virtual void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const;

    /// Whether the object is exactly of the class that defines this function, so that nothing
    /// overrides formatDerivedType(), toStrepForPolicy() or `ExtCommAsNumber::formatAsNumber()`.
    /// Texts are then appended without a stream or a string.
    virtual bool textIsBuiltIn() const noexcept;

    /// Appends `<TYPE[ SUBTYPE]`, the start of the layouts' show forms.
    void appendShowHead(Mox::CharBuffer& out) const;

    /// Appends ` VALUE>`, the end of all show forms.
    void appendShowTail(Mox::CharBuffer& out, bool upperCase) const;

    /// Appends `PREFIX:` if the format selects the type.
    void appendTypePrefix(Mox::CharBuffer& out, std::string_view suffix, StrepFormat format) const;

    /// The part of kindBits() that holds the classification.
    static constexpr U16 classificationMask = 0xff;

  private:
    void appendSubtype(Mox::CharBuffer& out, BgpExtCommPktSubtype const& subtype) const;

    ExtCommContent const extCommContent_;
};

/// Writes formatDerivedType(), or `NULL` for null. Restores the stream's formatting state, even if
/// an override changed it.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtComm const* extComm);
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtComm const& extComm);

/// An extended community that reports its subtype.
class VOBGP_EXPORT ExtCommSubtyped : public ExtComm {
  public:
    MOX_COUNTED(ExtCommSubtyped)

    using ExtComm::ExtComm;
    ~ExtCommSubtyped() override;

    /// Returns a new object with notifications enabled.
    static Ptr ExtCommSubtypedIs(ExtCommClassification classification,
                                 ExtCommContent const& content);

    BgpExtCommPktSubtype pktSubtype() const override;
    U8 subtypeOctet() const noexcept { return getContent().subtypeOctet(); }

  protected:
    bool textIsBuiltIn() const noexcept override;
};

/// An extended community with an AS number as its administrator.
///
///     octet  0      1         2       3       4       5       6       7
///          +------+---------+---------------+-------------------------------+
///          | type | subtype |   AS number   |      local administrator      |  two-octet AS
///          +------+---------+---------------+---------------+---------------+  (RFC 4360, 3.1)
///          | type | subtype |           AS number           |  local admin. |  four-octet AS
///          +------+---------+-------------------------------+---------------+  (RFC 5668)
class VOBGP_EXPORT ExtCommAsNumber : public ExtCommSubtyped {
  public:
    MOX_COUNTED(ExtCommAsNumber)

    ExtCommAsNumber(ExtCommClassification classification, ExtCommContent const& content,
                    bool fourByteAs) noexcept
      : ExtCommSubtyped(classification, content) {
        kindBitsIs(static_cast<U16>(kindBits() | (fourByteAs ? fourByteAsBit : 0)));
    }
    ~ExtCommAsNumber() override;

    /// Returns a new object with notifications enabled.
    static Ptr ExtCommAsNumberIs(ExtCommClassification classification,
                                 ExtCommContent const& content, bool fourByteAs);

    /// The AS number in asplain or asdot notation (RFC 5396). In asplain notation, the qualifier
    /// adds an `L` to an AS number of four octets.
    virtual String formatAsNumber(bool includeQualifier, bool asdot) const;

    bool fourByteAs() const noexcept { return (kindBits() & fourByteAsBit) != 0; }
    Lumo::AutonomousSystem asNumber() const noexcept;
    /// 32 bits in the two-octet layout, 16 in the four-octet one.
    U32 localAdmin() const noexcept;
    /// Octets 6 and 7.
    U16 localAdmin2Octets() const noexcept { return static_cast<U16>(community()); }
    /// Octets 4 to 7.
    U32 localAdmin4Octets() const noexcept { return static_cast<U32>(community()); }

  protected:
    /// `<TYPE[ SUBTYPE] ASN=AS VALUE>`.
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// `[TYPE:]AS:LOCALADMIN`.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override;

    /// Appends what formatAsNumber() returns.
    void appendAsNumber(Mox::CharBuffer& out, bool includeQualifier, bool asdot) const;

    /// Appends `AS:LOCALADMIN` in the format.
    void appendAsAndLocalAdmin(Mox::CharBuffer& out, StrepFormat format) const;

  private:
    void appendPlainAsNumber(Mox::CharBuffer& out, bool includeQualifier, bool asdot) const;

    static constexpr U16 fourByteAsBit = classificationMask + 1;
};

/// An extended community with an IPv4 address as its administrator (RFC 4360, section 3.2).
///
///     octet  0      1         2       3       4       5       6       7
///          +------+---------+-------------------------------+---------------+
///          | type | subtype |         IPv4 address          |  local admin. |
///          +------+---------+-------------------------------+---------------+
class VOBGP_EXPORT ExtCommIpv4Address : public ExtCommSubtyped {
  public:
    MOX_COUNTED(ExtCommIpv4Address)

    using ExtCommSubtyped::ExtCommSubtyped;
    ~ExtCommIpv4Address() override;

    Lumo::IpAddr address() const noexcept {
        return Lumo::IpAddr(static_cast<U32>(community() >> 16));
    }
    /// Octets 6 and 7.
    U16 localAdmin2Octets() const noexcept { return static_cast<U16>(community()); }

  protected:
    /// `<TYPE[ SUBTYPE] ADDRESS VALUE>`.
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// `[TYPE:]ADDRESS:LOCALADMIN`.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override;

    /// Appends `ADDRESS:LOCALADMIN`.
    void appendAddressAndLocalAdmin(Mox::CharBuffer& out) const;
};

/// Keeps a list of route targets equal to the route-target communities of a table.
///
/// Owned by the table it observes. Called by one thread at a time.
class VOBGP_EXPORT ExtCommLifeTimeNotifiee : public Kel::DedupHashTableLifeTimeNotifiee {
  public:
    MOX_COUNTED(ExtCommLifeTimeNotifiee)

    /// REQUIRES: the list is not null (asserted).
    explicit ExtCommLifeTimeNotifiee(NotifyingRouteTargetList::Ptr const& producerRtList);
    ~ExtCommLifeTimeNotifiee() override;

    NotifyingRouteTargetList::Ptr const& producerRtList() const noexcept { return producerRtList_; }

    void handleInsert(Kel::DedupHandle::Ptr const& handle) override;
    void handleRemove(Kel::DedupHandle* handle) override;

    /// Accepts route targets only.
    Kel::DedupHandleFilter filter() const noexcept override;
    void handleNotificationStop(Kel::DedupHashTable::PtrConst const& table) override;

  private:
    NotifyingRouteTargetList::Ptr const producerRtList_;
};

/// The intern table of extended communities, and the list of the route targets in it.
///
/// Owned by the agent; holds its parse rule, the framework's table, and the list. Thread-safe if
/// `VoBgpGlobals::multiThreaded()` was set when it was created.
class VOBGP_EXPORT ExtCommDedupTable : public Mox::PtrInterface {
  public:
    MOX_COUNTED(ExtCommDedupTable)

    /// A table with a null rule interns only objects that the agent creates.
    explicit ExtCommDedupTable(Mox::PtrConst<BgpParseExtendedCommunityRule> const& rule);
    ~ExtCommDedupTable() override;

    Mox::PtrConst<BgpParseExtendedCommunityRule> const& parseExtCommRule() const noexcept {
        return parseExtCommRule_;
    }
    NotifyingRouteTargetList::Ptr const& notifyingRouteTargetList() const noexcept {
        return notifyingRouteTargetList_;
    }
    ExtCommLifeTimeNotifiee::Ptr const& lifeTimeNotifiee() const noexcept {
        return lifeTimeNotifiee_;
    }
    Kel::DedupHashTable::Ptr const& dedupHashTable() const noexcept { return dedupHashTable_; }

    void dumpState(Kel::DumpContext::PtrConst const& dumpCtx, U32 indentCount) const;

    /// Called by the constructor: creates the table, the list of route targets and its notifiee.
    void handleInitialized();

  private:
    NotifyingRouteTargetList::Ptr notifyingRouteTargetList_;
    ExtCommLifeTimeNotifiee::Ptr lifeTimeNotifiee_;
    Kel::DedupHashTable::Ptr dedupHashTable_;
    Mox::PtrConst<BgpParseExtendedCommunityRule> const parseExtCommRule_;
};

/// Returns a new, empty table with notifications enabled.
VOBGP_EXPORT ExtCommDedupTable::Ptr
extCommDedupTableFactory(Mox::PtrConst<BgpParseExtendedCommunityRule> const& rule);

} // namespace Routing::Bgp
