#pragma once

#include <Mox/Export.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

#include <compare>
#include <type_traits>

namespace Acl {

using Mox::operator<<;
using Mox::U32;

/// One large community (RFC 8092): twelve octets, three integers in host order.
///
///     octet  0                  4                  8                 11
///          +------------------+------------------+------------------+
///          |  global admin.   |   local data 1   |   local data 2   |
///          +------------------+------------------+------------------+
///
/// Ordered by these in turn, like the octets on the wire. Thread-compatible.
class VOBGP_EXPORT CommunityValue {
  public:
    constexpr CommunityValue() noexcept = default;

    constexpr CommunityValue(U32 globalAdministrator, U32 localData1, U32 localData2) noexcept
      : globalAdministrator_(globalAdministrator)
      , localData1_(localData1)
      , localData2_(localData2) {}

    constexpr U32 globalAdministrator() const noexcept { return globalAdministrator_; }
    constexpr U32 localData1() const noexcept { return localData1_; }
    constexpr U32 localData2() const noexcept { return localData2_; }

    constexpr void globalAdministratorIs(U32 value) noexcept { globalAdministrator_ = value; }
    constexpr void localData1Is(U32 value) noexcept { localData1_ = value; }
    constexpr void localData2Is(U32 value) noexcept { localData2_ = value; }

    friend constexpr bool operator==(CommunityValue const&,
                                     CommunityValue const&) noexcept = default;
    friend constexpr auto operator<=>(CommunityValue const&,
                                      CommunityValue const&) noexcept = default;

    static Mox::Type const& staticType() noexcept;

  private:
    U32 globalAdministrator_ = 0;
    U32 localData1_ = 0;
    U32 localData2_ = 0;
};

static_assert(sizeof(CommunityValue) == 12 && std::is_trivially_copyable_v<CommunityValue>);

} // namespace Acl
