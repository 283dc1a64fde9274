#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/ExtCommIp6ClassificationList.h>
#include <VoBgp/ExtCommListFamily.h>

#include <iosfwd>

namespace Routing::Bgp {

/// The list of IPv6-address-specific extended communities (RFC 5701) of a route. All else as its
/// base.
class VOBGP_EXPORT ExtCommIp6List : public ExtCommListBase<ExtCommIp6ListFamily> {
  public:
    MOX_COUNTED(ExtCommIp6List)

    ExtCommIp6List() noexcept;
    ~ExtCommIp6List() override;

    /// The members.
    CommVector const& comms() const noexcept { return commVector(); }
    CommVector const* commVectorRawPtr() const noexcept { return &commVector(); }

    /// The members, for whoever fills a list that was never interned (asserted).
    CommVector* commVectorRawPtrNonConst() noexcept;

    /// Freezes the list, interns its classification lists, and then the list itself: returns the
    /// equal one that is in the table already, or this one. Not of a list that has been interned
    /// (asserted). If memory runs out the list keeps its members and can be interned again.
    PtrConst dedup(ExtCommIp6ListDedupTable const* table);

    /// How many members have the bit 0x40 of the type octet clear. Found by dedup().
    U32 transitiveCommCount() const noexcept { return transitiveComms(); }

    /// The members' policy texts in the form with the classification, with a space behind each, the
    /// last one too.
    String commsStringForm() const;

    /// The IPv6 Address Specific Extended Community path attribute of the transitive members, or
    /// of all; nothing if there is none to send.
    ///
    ///     octet    0       1       2            4             24
    ///          +-------+-------+------------+-------------+-------------+-----
    ///          | 0xc0  |  25   |   length   |  community  |  community  | ...
    ///          +-------+-------+------------+-------------+-------------+-----
    ///
    /// The length takes one octet or, with 0x10 in the first one, two.
    String serialize(bool sendNonTransExtComms) const;

    /// Rebuilds a list that was written: its members in their stored order, in state destashed, and
    /// nothing else. Who wants to look members up sorts them first. Throws
    /// `MoxStash::StoreException` if there is no list.
    static Ptr destash(void const* image, MoxStash::StoreManager* storeManager);
};

extern template class ExtCommListBase<ExtCommIp6ListFamily>;

/// A new, empty list with its notifications switched on.
VOBGP_EXPORT ExtCommIp6List::Ptr extCommIp6ListFactory();

/// Writes the communities with a space between them, in brackets; `NULL` for null. The stream's
/// formatting state is afterwards as it was.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommIp6List const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, ExtCommIp6List const* list);
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommIp6List const& list);

/// A snapshot of a list of IPv6-address-specific communities. All else as its base.
class VOBGP_EXPORT ExtCommIp6ListSnapshot : public ExtCommListSnapshotBase<ExtCommIp6ListFamily> {
  public:
    MOX_COUNTED(ExtCommIp6ListSnapshot)

    ExtCommIp6ListSnapshot() noexcept;
    ~ExtCommIp6ListSnapshot() override;
};

} // namespace Routing::Bgp
