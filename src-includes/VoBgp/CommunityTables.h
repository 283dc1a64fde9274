#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/Types.h>
#include <VoBgp/CommList.h>
#include <VoBgp/CommListDedupTable.h>
#include <VoBgp/ExtCommIp6DedupTable.h>
#include <VoBgp/ExtCommIp6List.h>
#include <VoBgp/ExtCommIp6ListDedupTable.h>
#include <VoBgp/ExtCommList.h>
#include <VoBgp/ExtCommListDedupTable.h>
#include <VoBgp/LargeCommList.h>
#include <VoBgp/NotifyingRouteTargetList.h>
#include <VoBgp/Parse/ExtCommContainer.h>
#include <VoBgp/VoBgpCommunity.h>

#include <cstddef>
#include <span>

namespace Routing::Bgp {

/// The result of decoding the value of a path attribute: accepted, or the reason for refusing it.
///
/// The first three faults make the attribute malformed (RFC 7606, sections 7.8, 7.14 and 7.15; RFC
/// 8092, section 6). The others are combinations of extended communities that a list cannot hold or
/// could not serialize with every selection (`ExtCommList::serialize()`). The parse rule of a
/// community determines its class.
enum class AttributeVerdict : U8 {
    accepted,
    /// No octets.
    empty,
    /// More than the 65,535 octets that fit a path attribute.
    tooLong,
    /// The length is not a multiple of the member size.
    badLength,
    /// More than one distinct link bandwidth.
    severalLinkBandwidths,
    /// More than one distinct origin validation state.
    severalOriginValidationStates,
    /// A link bandwidth or origin validation state with a transitive type, which the announced
    /// length would count twice. No built-in rule creates one.
    transitiveLinkBandwidth,
    transitiveOriginValidationState,
};

/// The list for the value of a path attribute; null unless the verdict is `accepted`.
template <class List>
struct DecodedList {
    Mox::PtrConst<List> list;
    AttributeVerdict verdict = AttributeVerdict::accepted;

    explicit operator bool() const noexcept { return list != nullptr; }
};

/// The parse rules of an agent and its intern tables, one for each kind of community and list.
///
/// Owns all of these; interned objects may outlive it. Immutable itself; its tables are thread-safe
/// if the process was in thread-safe mode when it was created (`Mox::threadSafePtrs()`,
/// `VoBgpGlobals::multiThreaded()`), else thread-compatible. Parse rules and observers belong to
/// the reactor thread.
class VOBGP_EXPORT CommunityTables {
  public:
    /// Creates the rules of the built-in plug-ins, and empty tables. An agent adds plug-ins of its
    /// own to `parsing()`.
    CommunityTables();
    ~CommunityTables();
    CommunityTables(CommunityTables const&) = delete;
    CommunityTables& operator=(CommunityTables const&) = delete;

    // The interned list for the value of a path attribute, without flags, type and length, as a
    // peer sent it: COMMUNITIES (RFC 1997), EXTENDED COMMUNITIES (RFC 4360), IPv6 Address Specific
    // Extended Community (RFC 5701), LARGE_COMMUNITY (RFC 8092). Members may be in any order, with
    // duplicates.
    //
    // The result is the same as that of filling a new list with the interned members and calling
    // `dedup()`. A value that is sorted and distinct, and whose list is interned already, is found
    // by its octets: nothing is parsed or allocated. No value fails an assertion, here or later in
    // the list. If an allocation fails or an observer of route targets throws, nothing is interned.
    // Observers may be notified of route targets of a refused value, and then of their removal.
    DecodedList<CommList> commList(std::span<std::byte const> value) const;
    DecodedList<ExtCommList> extCommList(std::span<std::byte const> value) const;
    DecodedList<ExtCommIp6List> extCommIp6List(std::span<std::byte const> value) const;
    DecodedList<LargeCommList> largeCommList(std::span<std::byte const> value) const;

    BgpParseExtCommContainerSm::Ptr const& parsing() const noexcept { return parsing_; }

    // The tables of values and of lists.
    ExtCommDedupTable::Ptr const& extCommDedupTable() const noexcept { return extComms_; }
    ExtCommIp6DedupTable::Ptr const& extCommIp6DedupTable() const noexcept { return extCommIp6s_; }
    CommListDedupTable::Ptr const& commListDedupTable() const noexcept { return commLists_; }
    ExtCommListDedupTable::Ptr const& extCommListDedupTable() const noexcept {
        return extCommLists_;
    }
    ExtCommIp6ListDedupTable::Ptr const& extCommIp6ListDedupTable() const noexcept {
        return extCommIp6Lists_;
    }
    LargeCommListDedupTable::Ptr const& largeCommListDedupTable() const noexcept {
        return largeCommLists_;
    }

    /// The route targets in use, for observers.
    NotifyingRouteTargetList::PtrConst routeTargets() const {
        return extComms_->notifyingRouteTargetList();
    }

    /// The distinct sets of route targets in use, for observers.
    NotifyingRtExtCommListCollection::PtrConst routeTargetLists() const {
        return extCommLists_->notifyingRtExtCommListCollection();
    }

  private:
    struct Decoder;

    BgpParseExtCommContainerSm::Ptr const parsing_;
    ExtCommDedupTable::Ptr const extComms_;
    ExtCommIp6DedupTable::Ptr const extCommIp6s_;
    CommListDedupTable::Ptr const commLists_;
    ExtCommListDedupTable::Ptr const extCommLists_;
    ExtCommIp6ListDedupTable::Ptr const extCommIp6Lists_;
    LargeCommListDedupTable::Ptr const largeCommLists_;
};

} // namespace Routing::Bgp
