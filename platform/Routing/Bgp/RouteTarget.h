#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Export.h>
#include <Mox/Hash.h>
#include <Mox/String.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

#include <compare>

namespace Mox {
class Type;
} // namespace Mox

namespace Routing::Bgp {

using Mox::operator<<;
using Mox::U64;

/// A route target (RFC 4364): the eight octets of its extended community as a big-endian integer.
///
///      octet 0   octet 1   octets 2 to 7
///     +---------+---------+-----------------------------------------------+
///     |  type   | 0x02    | administrator, assigned number (by the type)  |
///     +---------+---------+-----------------------------------------------+
///
/// Thread-compatible.
class VOBGP_EXPORT RouteTarget {
  public:
    constexpr RouteTarget() noexcept = default;

    constexpr explicit RouteTarget(U64 value) noexcept
      : value_(value) {}
    constexpr U64 value() const noexcept { return value_; }
    void valueIs(U64 value) noexcept { value_ = value; }

    /// The framework's single-attribute hash of the value.
    U64 hash() const noexcept { return Mox::hashWord(value_); }

    /// Returns `AS:number` for the two-octet and four-octet AS types (the AS in asdot or asplain
    /// form, RFC 5396), `IP:number` for the IPv4 type, and sixteen hexadecimal digits for any other
    /// type.
    Mox::String toStrep(bool asDot = false) const;
    void format(Mox::CharBuffer& out, bool asDot) const;

    static Mox::Type const& staticType() noexcept;

    friend constexpr bool operator==(RouteTarget, RouteTarget) noexcept = default;
    friend constexpr auto operator<=>(RouteTarget, RouteTarget) noexcept = default;

  private:
    U64 value_ = 0;
};

} // namespace Routing::Bgp
