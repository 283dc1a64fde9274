#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Export.h>
#include <Mox/String.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

#include <compare>

namespace Lumo {

using Mox::U32;
using Mox::U8;

/// An IPv4 address as a 32-bit word in host order: the first octet on the wire is the most
/// significant. The text form is a dotted quad. Thread-compatible.
class VOBGP_EXPORT IpAddr {
  public:
    constexpr IpAddr() noexcept = default;

    constexpr explicit IpAddr(U32 word) noexcept
      : word_(word) {}
    constexpr U32 word() const noexcept { return word_; }

    void format(Mox::CharBuffer& out) const;
    Mox::String toStrep() const;

    friend constexpr bool operator==(IpAddr, IpAddr) noexcept = default;
    friend constexpr auto operator<=>(IpAddr, IpAddr) noexcept = default;

  private:
    U32 word_ = 0;
};

} // namespace Lumo

template <>
struct VOBGP_EXPORT Mox::ValueText<Lumo::IpAddr> {
    static void write(CharBuffer& out, Lumo::IpAddr value) { value.format(out); }

    static Lumo::IpAddr read(ValueReader& in);
};
