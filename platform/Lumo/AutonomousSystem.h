#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Export.h>
#include <Mox/String.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

#include <compare>

namespace Lumo {

using Mox::U32;

/// An autonomous system number, two or four octets alike, in host order. Immutable but for
/// assignment.
class VOBGP_EXPORT AutonomousSystem {
  public:
    constexpr AutonomousSystem() noexcept = default;

    constexpr explicit AutonomousSystem(U32 number) noexcept
      : number_(number) {}
    constexpr U32 number() const noexcept { return number_; }

    /// RFC 5396: asdot is `HIGH.LOW` for a number of 65536 or more and plain decimal below; asplain
    /// is always decimal.
    void format(Mox::CharBuffer& out, bool asdot) const;
    Mox::String display(bool asdot) const;

    friend constexpr bool operator==(AutonomousSystem, AutonomousSystem) noexcept = default;
    friend constexpr auto operator<=>(AutonomousSystem, AutonomousSystem) noexcept = default;

  private:
    U32 number_ = 0;
};

} // namespace Lumo

/// Plain decimal.
template <>
struct VOBGP_EXPORT Mox::ValueText<Lumo::AutonomousSystem> {
    static void write(CharBuffer& out, Lumo::AutonomousSystem value) { value.format(out, false); }

    static Lumo::AutonomousSystem read(ValueReader& in);
};
