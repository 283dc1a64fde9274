#pragma once

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

/// One extended community (RFC 4360): exactly one object for each distinct value in a table.
///
/// It is owned by its counted pointers and leaves its table with the last outside one. Value and
/// classification never change. Immutable: it may be read from any thread.
///
/// A derived class has texts of its own if it overrides formatDerivedType() and toStrepForPolicy(),
/// or appendShowForm() and appendPolicyForm(), from which the first two follow and which allocate
/// nothing.
class VOBGP_EXPORT ExtComm : public MoxStash::DedupHandle {
  public:
    MOX_COUNTED(ExtComm)

    /// Which of its text forms a community is asked for: a set of seven flags. A word above 0x7f is
    /// a `Mox::RangeException`.
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
        constexpr explicit StrepFormat(U32 value)
          : FlagWord(value) {}

        /// Reads the value text and moves `it` behind it.
        StrepFormat(String::IteratorConst& it, String::IteratorConst const& end)
          : FlagWord(it, end) {}

        static Mox::Type const& staticType() noexcept;
    };

    /// A new object, not interned.
    ExtComm(ExtCommClassification classification, ExtCommContent const& content) noexcept
      : extCommContent_(content)
      , classification_(classification) {}
    ~ExtComm() override;

    // The interned-object contract: the content is what counts, the classification takes no part.
    U32 hash() const override;
    U64 placementHash() const override;
    bool compare(Kel::DedupHandle const* other) const override;
    bool compareByContent(Kel::DedupContentHandle const& content) const override;
    void formatHandle(std::ostream& os) const override;

    /// Whether this is a link bandwidth whose AS field is 0.
    virtual bool isLinkBandwidthWithUnspecifiedAsNumber() const { return false; }

    /// The subtype octet of an object that was built for it; else unspecified.
    virtual BgpExtCommPktSubtype pktSubtype() const { return {}; }

    /// Writes the text for show output; `<TYPE[ SUBTYPE] VALUE>` unless a kind has its own. The
    /// stream's formatting state is afterwards as it was.
    virtual void formatDerivedType(std::ostream& os) const;

    /// The text for policy and command line. Empty for a plain community unless both
    /// strepFormatClassification and strepFormatUI are set: it has none but its type and octets.
    virtual String toStrepForPolicy(StrepFormat strepFormatFlags) const;

    /// Does nothing: the subtype is part of the content.
    virtual void pktSubtypeIs(BgpExtCommPktSubtype const& /*pktSubtype*/) {}

    ExtCommContent getContent() const noexcept { return extCommContent_; }
    /// The eight octets in wire order as one integer in host order.
    U64 community() const noexcept { return extCommContent_.community(); }
    ExtCommClassification classification() const noexcept { return classification_; }
    BgpExtCommPktType pktType() const noexcept { return extCommContent_.pktType(); }
    bool transitive() const noexcept { return extCommContent_.transitive(); }
    bool transitiveFlag() const noexcept { return transitive(); }
    bool isLinkBandwidth() const noexcept {
        return classification_ == extCommClassificationLinkBandwidth;
    }

    void formatCommunityValue(std::ostream& os) const;

    /// Writes `unspecified`, the name of the subtype in the family of the type, or `none` where the
    /// type has no family.
    void formatSubtype(std::ostream& os) const;

    /// What streaming a pointer to this writes.
    String toStrep() const;

    /// Appends what toStrep() or toStrepForPolicy() returns. On `std::bad_alloc` part of it may be
    /// there.
    void appendShowText(Mox::CharBuffer& out) const;
    void appendPolicyText(Mox::CharBuffer& out, StrepFormat format) const;

    /// The subtype's member name in the family of the type, or `subtype=` and the octet in decimal.
    /// Each asserts that the object is of that type and has a subtype.
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

    /// The community that an interned-object handle stands for; asserts that it is one.
    static ExtComm const* fromDedupHandle(Kel::DedupHandle const* handle) noexcept;

    /// Writes value and classification into a store; returns their stored address.
    void const* stash(MoxStash::StoreWriter& writer) const;

    /// Rebuilds what was written: a plain community, whatever it was before, in state destashed. It
    /// is in no table, ever, and no list of route targets hears of it. Throws
    /// `MoxStash::StoreException` if there is no community.
    static Ptr destash(void const* stored, MoxStash::StoreManager* store);

  protected:
    /// Appends what formatDerivedType() writes, the value in upper case if the stream asks for it.
    virtual void appendShowForm(Mox::CharBuffer& out, bool upperCase) const;

    /// Appends what toStrepForPolicy() returns.
    virtual void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const;

    /// Whether nothing overrides formatDerivedType(), toStrepForPolicy() or
    /// `ExtCommAsNumber::formatAsNumber()`: the object is of the very class that this function is
    /// of, and not of a derived one. Texts are then appended without a stream or a string.
    virtual bool textIsBuiltIn() const noexcept;

    /// Appends `<TYPE[ SUBTYPE]`, with which the show forms of the layouts begin.
    void appendShowHead(Mox::CharBuffer& out) const;

    /// Appends ` VALUE>`, with which all show forms end.
    void appendShowTail(Mox::CharBuffer& out, bool upperCase) const;

    /// Appends `PREFIX:` for a format that asks for the type, nothing otherwise.
    void appendTypePrefix(Mox::CharBuffer& out, std::string_view suffix, StrepFormat format) const;

  private:
    class HasContent;
    static PtrConst dedupSlowly(ExtCommDedupTable const& table, ExtCommContent content);
    void appendSubtype(Mox::CharBuffer& out, BgpExtCommPktSubtype const& subtype) const;

    // The wider one first: what a derived kind adds then fits behind the other.
    ExtCommContent const extCommContent_;
    ExtCommClassification const classification_;
};

/// Writes `NULL` for null, else formatDerivedType(). The stream's formatting state is afterwards as
/// it was, whatever a kind's own form did to it.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtComm const* extComm);
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtComm const& extComm);

/// An extended community of a type with a subtype that it reports. Else as its base.
class VOBGP_EXPORT ExtCommSubtyped : public ExtComm {
  public:
    MOX_COUNTED(ExtCommSubtyped)

    using ExtComm::ExtComm;
    ~ExtCommSubtyped() override;

    /// A new object with its notifications switched on.
    static Ptr ExtCommSubtypedIs(ExtCommClassification classification,
                                 ExtCommContent const& content);

    BgpExtCommPktSubtype pktSubtype() const override;
    U8 subtypeOctet() const noexcept { return getContent().subtypeOctet(); }

  protected:
    bool textIsBuiltIn() const noexcept override;
};

/// An extended community with an AS number as its administrator. Else as its base.
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
      : ExtCommSubtyped(classification, content)
      , fourByteAs_(fourByteAs) {}
    ~ExtCommAsNumber() override;

    /// A new object with its notifications switched on.
    static Ptr ExtCommAsNumberIs(ExtCommClassification classification,
                                 ExtCommContent const& content, bool fourByteAs);

    /// The AS number: with an `L` behind it if it has the four-octet layout and the qualifier is
    /// wanted and not asdot; else as RFC 5396 says.
    virtual String formatAsNumber(bool includeQualifier, bool asdot) const;

    bool fourByteAs() const noexcept { return fourByteAs_; }
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

    /// Appends `AS:LOCALADMIN` as the format asks for it.
    void appendAsAndLocalAdmin(Mox::CharBuffer& out, StrepFormat format) const;

  private:
    void appendPlainAsNumber(Mox::CharBuffer& out, bool includeQualifier, bool asdot) const;

    bool const fourByteAs_;
};

/// An extended community with an IPv4 address as its administrator (RFC 4360, section 3.2). Else as
/// its base.
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
/// Owned by the table it observes. Called by one thread at a time, as every lifetime notifiee is.
class VOBGP_EXPORT ExtCommLifeTimeNotifiee : public Kel::DedupHashTableLifeTimeNotifiee {
  public:
    MOX_COUNTED(ExtCommLifeTimeNotifiee)

    /// REQUIRES: the list is not null (asserted).
    explicit ExtCommLifeTimeNotifiee(NotifyingRouteTargetList::Ptr const& producerRtList);
    ~ExtCommLifeTimeNotifiee() override;

    NotifyingRouteTargetList::Ptr const& producerRtList() const noexcept { return producerRtList_; }

    void handleInsert(Kel::DedupHandle::Ptr const& handle) override;
    void handleRemove(Kel::DedupHandle* handle) override;

    /// Route targets only.
    Kel::DedupHandleFilter filter() const noexcept override;
    void handleNotificationStop(Kel::DedupHashTable::PtrConst const& table) override;

  private:
    NotifyingRouteTargetList::Ptr const producerRtList_;
};

/// The intern table of extended communities, and the list of the route targets in it.
///
/// Owned by the agent; holds its parse rule, the framework's table, and the list, which it keeps up
/// to date. Thread-safe if `VoBgpGlobals::multiThreaded()` was set when it was made. The rule never
/// changes.
class VOBGP_EXPORT ExtCommDedupTable : public Mox::PtrInterface {
  public:
    MOX_COUNTED(ExtCommDedupTable)

    /// REQUIRES: the rule is not null (asserted).
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

  private:
    void handleInitialized();

    NotifyingRouteTargetList::Ptr notifyingRouteTargetList_;
    ExtCommLifeTimeNotifiee::Ptr lifeTimeNotifiee_;
    Kel::DedupHashTable::Ptr dedupHashTable_;
    Mox::PtrConst<BgpParseExtendedCommunityRule> const parseExtCommRule_;
};

/// A new, empty table with its notifications switched on.
VOBGP_EXPORT ExtCommDedupTable::Ptr
extCommDedupTableFactory(Mox::PtrConst<BgpParseExtendedCommunityRule> const& rule);

} // namespace Routing::Bgp
