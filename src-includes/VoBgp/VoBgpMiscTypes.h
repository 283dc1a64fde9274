#pragma once

#include <Kel/MaybeU63.h>
#include <Mox/Export.h>
#include <Mox/String.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

namespace Routing::Bgp {

using Mox::operator<<;
using Mox::sequenceToValue;
using Mox::strepToValue;
using Mox::String;
using Mox::U16;
using Mox::U32;
using Mox::U64;
using Mox::U8;
using Mox::valueToStrep;

/// Several small attributes packed into one 32-bit word, read and written by index.
///
///     bit   31            24 23            16 15             8 7              0
///          +----------------+----------------+----------------+----------------+
///     U16  |              half 1             |              half 0             |
///     U8   |    octet 3     |    octet 2     |    octet 1     |    octet 0     |
///     bool |                                 | 15 ...                       0 |
///          +----------------+----------------+----------------+----------------+
///
/// The views share the same bits; only the low sixteen are reachable as booleans. An index outside
/// its view throws `Mox::RangeException` with the operation's qualified name.
/// Thread-compatible.
class VOBGP_EXPORT BgpDenseU32Attr {
  public:
    constexpr BgpDenseU32Attr() noexcept = default;

    constexpr explicit BgpDenseU32Attr(U32 value) noexcept
      : value_(value) {}
    constexpr U32 value() const noexcept { return value_; }

    bool valueBool(U8 index) const;
    U8 valueU8(U8 index) const;
    U16 valueU16(U8 index) const;

    void valueBoolIs(U8 index, bool value);
    void valueU8Is(U8 index, U8 value);
    void valueU16Is(U8 index, U16 value);

    /// Always throws `Mox::NonDeletableAttributeException`: elements cannot be deleted.
    [[noreturn]] void valueBoolDel(U8 index);
    [[noreturn]] void valueU8Del(U8 index);
    [[noreturn]] void valueU16Del(U8 index);

    friend constexpr bool operator==(BgpDenseU32Attr, BgpDenseU32Attr) noexcept = default;

    static Mox::Type const& staticType() noexcept;

  private:
    U32 value_ = 0;
};

/// An optional unsigned value of up to 63 bits with a range of its own.
///
/// The range of this class is empty on purpose. A derived class overrides `min` and `max` and has a
/// constructor that calls `valueIs`. Thread-compatible.
class VOBGP_EXPORT BgpMaybeU63 : public Kel::MaybeU63 {
  public:
    /// Unspecified.
    BgpMaybeU63() noexcept = default;
    /// Throws for all values but the unspecified one, because the range is empty.
    explicit BgpMaybeU63(U64 value) { BgpMaybeU63::valueIs(value); }
    BgpMaybeU63(BgpMaybeU63 const&) noexcept = default;
    BgpMaybeU63& operator=(BgpMaybeU63 const&) noexcept = default;
    virtual ~BgpMaybeU63();

    /// Makes a value outside `min()` to `max()` unspecified and throws `Mox::RangeException`.
    virtual void checkValue();

    virtual U64 min() const noexcept { return 1; }
    virtual U64 max() const noexcept { return 0; }

    /// What valueWithUnspecifiedMapped() returns if the value is unspecified.
    virtual U64 mappedUnspecifiedValue() const noexcept { return 0; }

    /// Sets and checks; a word with bit 63 set is unspecified.
    void valueIs(U64 value);

    /// REQUIRES: the value is not unspecified (asserted).
    operator U64() const noexcept;

    U64 valueWithUnspecifiedMapped() const noexcept {
        return isUnspecified() ? mappedUnspecifiedValue() : word();
    }

    /// The value in decimal, or `-` if unspecified. The value text (`valueToStrep`, streaming) has
    /// `unspecified` instead.
    String toStrep() const;
};

} // namespace Routing::Bgp

/// The word in decimal.
template <>
struct VOBGP_EXPORT Mox::ValueText<Routing::Bgp::BgpDenseU32Attr> {
    static void write(CharBuffer& out, Routing::Bgp::BgpDenseU32Attr value) {
        out.appendDecimal(value.value());
    }

    static Routing::Bgp::BgpDenseU32Attr read(ValueReader& in) {
        return Routing::Bgp::BgpDenseU32Attr(ValueText<U32>::read(in));
    }
};
