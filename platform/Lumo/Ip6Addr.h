#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Export.h>
#include <Mox/String.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

#include <array>
#include <compare>

namespace Lumo {

using Mox::U16;
using Mox::U8;

/// An IPv6 address: sixteen octets in network order, compared octet by octet. The text form follows
/// RFC 5952. Thread-compatible.
class VOBGP_EXPORT Ip6Addr {
  public:
    using Octets = std::array<U8, 16>;

    constexpr Ip6Addr() noexcept = default;

    constexpr explicit Ip6Addr(Octets const& octets) noexcept
      : octets_(octets) {}
    constexpr Octets const& octets() const noexcept { return octets_; }

    /// One of the eight 16-bit groups, from the left, in host order.
    constexpr U16 group(unsigned index) const noexcept {
        return static_cast<U16>(octets_[2 * index] << 8 | octets_[2 * index + 1]);
    }

    void format(Mox::CharBuffer& out) const;
    Mox::String toStrep() const;

    friend constexpr bool operator==(Ip6Addr const&, Ip6Addr const&) noexcept = default;
    friend constexpr auto operator<=>(Ip6Addr const&, Ip6Addr const&) noexcept = default;

  private:
    Octets octets_{};
};

} // namespace Lumo

template <>
struct VOBGP_EXPORT Mox::ValueText<Lumo::Ip6Addr> {
    static void write(CharBuffer& out, Lumo::Ip6Addr const& value) { value.format(out); }

    /// Accepts every form of RFC 4291, section 2.2.
    static Lumo::Ip6Addr read(ValueReader& in);
};
