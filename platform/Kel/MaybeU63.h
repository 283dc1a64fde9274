#pragma once

#include <Mox/Export.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

namespace Kel {

using Mox::U64;

/// An optional unsigned value of up to 63 bits in one word: bit 63 set means unspecified.
/// Thread-compatible.
class VOBGP_EXPORT MaybeU63 {
  public:
    static constexpr U64 unspecifiedWord = U64{1} << 63;

    /// Unspecified.
    constexpr MaybeU63() noexcept = default;

    /// A value, or unspecified if bit 63 is set.
    constexpr explicit MaybeU63(U64 word) noexcept
      : word_((word & unspecifiedWord) != 0 ? unspecifiedWord : word) {}
    constexpr bool isUnspecified() const noexcept { return (word_ & unspecifiedWord) != 0; }

    /// The value, or `unspecifiedWord`.
    constexpr U64 word() const noexcept { return word_; }

    friend constexpr bool operator==(MaybeU63 const& a, MaybeU63 const& b) noexcept {
        return a.word_ == b.word_;
    }

  protected:
    constexpr void wordIs(U64 word) noexcept { word_ = word; }

  private:
    U64 word_ = unspecifiedWord;
};

/// Writes and parses the decimal number or "unspecified".
VOBGP_EXPORT void writeMaybeU63(Mox::CharBuffer& out, MaybeU63 const& value);
VOBGP_EXPORT MaybeU63 readMaybeU63(Mox::ValueReader& in);

} // namespace Kel

namespace Mox {

template <std::derived_from<Kel::MaybeU63> T>
struct ValueText<T> {
    static void write(CharBuffer& out, T const& value) { Kel::writeMaybeU63(out, value); }
    static T read(ValueReader& in) { return T(Kel::readMaybeU63(in).word()); }
};

} // namespace Mox
