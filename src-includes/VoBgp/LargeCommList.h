#pragma once

#include <Acl/CommunityValue.h>
#include <Mox/CharBuffer.h>
#include <Mox/Export.h>
#include <Routing/RouteMap/CommListSnapshot.h>
#include <Routing/RouteMap/PosixRegex.h>
#include <VoBgp/CommList.h>
#include <VoBgp/CommListDedupTable.h>
#include <VoBgp/VoBgpMiscTypes.h>

#include <iosfwd>

// Defined in VoBgpCommunityList.cpp, with CommList.

namespace Routing::Bgp {

extern template class ValueCommList<Acl::CommunityValue>;

/// The large communities (RFC 8092) of a route.
class VOBGP_EXPORT LargeCommList : public ValueCommList<Acl::CommunityValue> {
  public:
    MOX_COUNTED(LargeCommList)

    LargeCommList() noexcept;
    ~LargeCommList() override;

    void formatHandle(std::ostream& os) const override;

    /// Freezes the list and interns it. Returns the existing equal list, or this one. On
    /// `std::bad_alloc`, `dedup()` may be called again.
    PtrConst dedup(LargeCommListDedupTable const* table);

    /// See `destashCommList()`.
    static Ptr destash(void const* stored, MoxStash::StoreManager* manager);

    /// The three integers in decimal, separated by colons.
    static String getStringValue(Acl::CommunityValue const& value);

    /// The same; `asdot` prints the global administrator in asdot notation (RFC 5396).
    static String displayString(Acl::CommunityValue const& value, bool asdot);

    /// Whether the expression matches the texts that `getStringValue()` returns, separated by
    /// spaces.
    bool matchCommunitiesRegex(RouteMap::PosixRegex const* regex) const;

    /// Returns a new snapshot that maps every value to true.
    RouteMap::CommListSnapshot::Ptr commSnapshot() const;

    /// The LARGE_COMMUNITY path attribute; that of an empty list has an empty value.
    ///
    ///     octet    0       1       2            4
    ///          +-------+-------+------------+---------------+--------------+--------------+----
    ///          | 0xc0  |  32   |   length   | global admin. | local data 1 | local data 2 | ...
    ///          +-------+-------+------------+---------------+--------------+--------------+----
    ///
    /// The length takes one octet or, with 0x10 in the first one, two.
    String serialize() const;

    /// The text that `operator<<` writes.
    String toStrep() const;

  private:
    RouteMap::RegexSubject regexSubject_;
};

/// Returns a new, empty list with notifications enabled.
VOBGP_EXPORT LargeCommList::Ptr largeCommListFactory();

/// Writes the values separated by spaces; nothing for null.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, LargeCommList const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, LargeCommList const* list);

/// Writes one large community: three integers in decimal, separated by colons. `asdot` prints the
/// first in asdot notation (RFC 5396).
class VOBGP_EXPORT LargeCommunityFormatter {
  public:
    static void format(Mox::CharBuffer& buffer, Acl::CommunityValue const& value, bool asdot);
};

} // namespace Routing::Bgp
