#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Export.h>
#include <Mox/String.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

#include <compare>

namespace Lumo {

using Mox::U32;

/// An autonomous system number of two or four octets, in host order. Thread-compatible.
class VOBGP_EXPORT AutonomousSystem {
  public:
    constexpr AutonomousSystem() noexcept = default;

    constexpr explicit AutonomousSystem(U32 number) noexcept
      : number_(number) {}
    constexpr U32 number() const noexcept { return number_; }

    /// Formats the number as in RFC 5396: with `asdot`, `HIGH.LOW` for 65536 and above; otherwise
    /// decimal.
    void format(Mox::CharBuffer& out, bool asdot) const;
    Mox::String display(bool asdot) const;

    friend constexpr bool operator==(AutonomousSystem, AutonomousSystem) noexcept = default;
    friend constexpr auto operator<=>(AutonomousSystem, AutonomousSystem) noexcept = default;

  private:
    U32 number_ = 0;
};

} // namespace Lumo

/// Decimal (asplain).
template <>
struct VOBGP_EXPORT Mox::ValueText<Lumo::AutonomousSystem> {
    static void write(CharBuffer& out, Lumo::AutonomousSystem value) { value.format(out, false); }

    static Lumo::AutonomousSystem read(ValueReader& in);
};
