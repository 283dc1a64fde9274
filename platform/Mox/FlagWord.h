#pragma once

#include <Mox/Exception.h>
#include <Mox/Type.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

#include <string_view>

namespace Mox {

/// Base of value types that are a set of flags in one 32-bit word.
///
/// The derived class declares its name and its flags:
///
///     static constexpr std::string_view qualifiedName;  // of its value text
///     static constexpr U32 maximum;                     // all flags
///     static constexpr char const* rangeError;          // text thrown for a larger word
///     static Type const& staticType() noexcept;         // flagAttribute() for each flag, in order
///
/// Thread-compatible.
template <class Derived>
class FlagWord {
  public:
    constexpr U32 value() const noexcept { return value_; }

    /// Whether all of these flags are set.
    constexpr bool has(U32 flags) const noexcept { return (value_ & flags) == flags; }

    friend constexpr bool operator==(FlagWord const& a, FlagWord const& b) noexcept {
        return a.value_ == b.value_;
    }

  protected:
    constexpr FlagWord() noexcept = default;

    constexpr explicit FlagWord(U32 value)
      : value_(value) {
        check();
    }

    /// Reads the value text.
    FlagWord(String::IteratorConst& place, String::IteratorConst const& end) {
        ValueReader in(place, end);
        readAttributes(in, Derived::staticType(), static_cast<Derived*>(this));
        check();
    }

    template <U32 Flag>
    static constexpr Attribute flagAttribute(std::string_view name) noexcept {
        return {name,
                [](CharBuffer& out, void const* object) {
                    ValueText<bool>::write(out, static_cast<Derived const*>(object)->has(Flag));
                },
                [](ValueReader& in, void* object) {
                    static_cast<Derived*>(object)->flagIs(Flag, ValueText<bool>::read(in));
                }};
    }

  private:
    constexpr void flagIs(U32 flag, bool set) noexcept {
        value_ = set ? value_ | flag : value_ & ~flag;
    }

    constexpr void check() const {
        if (value_ > Derived::maximum) {
            throw RangeException(Derived::rangeError);
        }
    }

    U32 value_ = 0;
};

} // namespace Mox
