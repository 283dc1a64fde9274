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

namespace Routing::Bgp {

extern template class ValueCommList<Acl::CommunityValue>;

/// The list of large communities (RFC 8092) of a route. All else as its base.
class VOBGP_EXPORT LargeCommList : public ValueCommList<Acl::CommunityValue> {
  public:
    MOX_COUNTED(LargeCommList)

    LargeCommList() noexcept;
    ~LargeCommList() override;

    void formatHandle(std::ostream& os) const override;

    /// Freezes the list and interns it: returns the equal one that is in the table already, or this
    /// one. If memory runs out the list can be interned again.
    PtrConst dedup(LargeCommListDedupTable const* table);

    /// As destashCommList() says.
    static Ptr destash(void const* stored, MoxStash::StoreManager* manager);

    /// The three integers in decimal, a colon between them.
    static String getStringValue(Acl::CommunityValue const& value);

    /// The same; with `asdot` the global administrator is an AS number in asdot notation (RFC
    /// 5396).
    static String displayString(Acl::CommunityValue const& value, bool asdot);

    /// Whether the expression matches the values as getStringValue() gives them, with a space
    /// between them.
    bool matchCommunitiesRegex(RouteMap::PosixRegex const* regex) const;

    /// A new snapshot in which every value is mapped to true.
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

    /// What streaming a pointer to this writes.
    String toStrep() const;

  private:
    RouteMap::RegexSubject regexSubject_;
};

/// A new, empty list with its notifications switched on.
VOBGP_EXPORT LargeCommList::Ptr largeCommListFactory();

/// Writes the values with a space between them; nothing for null.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, LargeCommList const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, LargeCommList const* list);

/// Writes one large community: three integers in decimal, a colon between them. With `asdot` the
/// first one is an AS number in asdot notation (RFC 5396).
class VOBGP_EXPORT LargeCommunityFormatter {
  public:
    static void format(Mox::CharBuffer& buffer, Acl::CommunityValue const& value, bool asdot);
};

} // namespace Routing::Bgp
