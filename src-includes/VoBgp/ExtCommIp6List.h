#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/ExtCommIp6ClassificationList.h>
#include <VoBgp/ExtCommListFamily.h>

#include <iosfwd>

namespace Routing::Bgp {

/// The IPv6-address-specific extended communities (RFC 5701) of a route.
class VOBGP_EXPORT ExtCommIp6List : public ExtCommListBase<ExtCommIp6ListFamily> {
  public:
    MOX_COUNTED(ExtCommIp6List)

    ExtCommIp6List() noexcept;
    ~ExtCommIp6List() override;

    /// The members.
    CommVector const& comms() const noexcept { return commVector(); }
    CommVector const* commVectorRawPtr() const noexcept { return &commVector(); }

    /// The members, to be filled. REQUIRES: the list was never interned (asserted).
    CommVector* commVectorRawPtrNonConst() noexcept;

    /// Sorts the members, and interns the classification lists and then the list in `table`.
    /// Returns the existing equal list, or this one. REQUIRES: the list was never interned
    /// (asserted). On `std::bad_alloc` the list keeps its members and `dedup()` may be called
    /// again.
    PtrConst dedup(ExtCommIp6ListDedupTable const* table);

    /// Number of members with bit 0x40 of the type octet clear. Set by `dedup()`.
    U32 transitiveCommCount() const noexcept { return transitiveComms(); }

    /// The members' policy texts in the form with the classification, each followed by a space.
    String commsStringForm() const;

    /// The IPv6 Address Specific Extended Community path attribute of the transitive members, or of
    /// all; empty if there are none.
    ///
    ///     octet    0       1       2            4             24
    ///          +-------+-------+------------+-------------+-------------+-----
    ///          | 0xc0  |  25   |   length   |  community  |  community  | ...
    ///          +-------+-------+------------+-------------+-------------+-----
    ///
    /// The length takes one octet or, with 0x10 in the first one, two.
    String serialize(bool sendNonTransExtComms) const;

    /// Rebuilds the members of a list from a store, in stored order and in state destashed. Call
    /// `sortComms()` before look-ups. Throws `MoxStash::StoreException` if the address is not that
    /// of a list.
    static Ptr destash(void const* image, MoxStash::StoreManager* storeManager);
};

extern template class ExtCommListBase<ExtCommIp6ListFamily>;

/// Returns a new, empty list with notifications enabled.
VOBGP_EXPORT ExtCommIp6List::Ptr extCommIp6ListFactory();

/// Writes the communities in brackets, separated by spaces; `NULL` for null. Preserves the stream's
/// formatting state.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommIp6List const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, ExtCommIp6List const* list);
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommIp6List const& list);

/// A snapshot of a list of IPv6-address-specific communities.
class VOBGP_EXPORT ExtCommIp6ListSnapshot : public ExtCommListSnapshotBase<ExtCommIp6ListFamily> {
  public:
    MOX_COUNTED(ExtCommIp6ListSnapshot)

    ExtCommIp6ListSnapshot() noexcept;
    ~ExtCommIp6ListSnapshot() override;
};

/// A new, empty snapshot with its notifications switched on.
VOBGP_EXPORT ExtCommIp6ListSnapshot::Ptr extCommIp6ListSnapshotFactory();

} // namespace Routing::Bgp
