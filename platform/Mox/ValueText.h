#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Exception.h>
#include <Mox/Export.h>
#include <Mox/String.h>
#include <Mox/Types.h>

#include <concepts>
#include <limits>
#include <ostream>
#include <string_view>
#include <type_traits>

namespace Mox {

class Type;

/// Parses value text and advances the caller's position. Throws `ParseException` with the offset of
/// the first mismatch. Thread-compatible.
class VOBGP_EXPORT ValueReader {
  public:
    ValueReader(String::IteratorConst& place, String::IteratorConst const& end) noexcept
      : place_(place)
      , end_(end) {}
    String::IteratorConst& place() noexcept { return place_; }
    String::IteratorConst const& end() const noexcept { return end_; }
    bool atEnd() const noexcept { return place_ == end_; }
    std::size_t offset() const noexcept { return place_.offset(); }

    /// The remaining text.
    std::string_view rest() const noexcept {
        return {&*place_, static_cast<std::size_t>(end_ - place_)};
    }

    void skip(std::size_t octets) noexcept { place_ += static_cast<std::ptrdiff_t>(octets); }

    /// Skips `literal`. Throws if the text does not start with it.
    void expect(std::string_view literal);

    /// Skips `literal` if the text starts with it; returns whether it did.
    bool accept(std::string_view literal) noexcept;

    /// Parses a decimal number without sign or leading zeros, up to `max`. `what` describes it in
    /// the exception.
    U64 readDecimal(U64 max, std::string_view what);

    /// Reads the longest run of letters, digits, underscores and colons, possibly empty.
    std::string_view readName() noexcept;

    void expectEnd();

    [[noreturn]] void fail(std::string_view expected) const;

  private:
    String::IteratorConst& place_;
    String::IteratorConst const& end_;
};

/// The text form of a value type. Specialise it for a type with its own text form; types with an
/// attribute table (`T::staticType()`) have one automatically.
template <class T>
struct ValueText;

/// Writes `Value('TYPE', ** {'ATTRIBUTE': VALUE, ...})`, with the attributes in table order.
VOBGP_EXPORT void writeAttributes(CharBuffer& out, Type const& type, void const* object);

/// Parses the same form and sets the attributes of `object` one by one.
VOBGP_EXPORT void readAttributes(ValueReader& in, Type const& type, void* object);

/// Writes `0x` and an address in hexadecimal without leading zeros; null is `0x0`.
VOBGP_EXPORT void writePointer(CharBuffer& out, void const* pointer);

template <class T>
concept HasValueText = requires(CharBuffer& out, T const& value) {
    ValueText<T>::write(out, value);
};

template <class T>
concept ReadableFromSequence =
    std::constructible_from<T, String::IteratorConst&, String::IteratorConst const&>;

/// Returns a value as text.
template <HasValueText T>
String valueToStrep(T const& value) {
    LocalCharBuffer<128> out;
    ValueText<T>::write(out, value);
    return out.string();
}

/// Parses one value and advances `place`.
template <HasValueText T>
T sequenceToValue(String::IteratorConst& place, String::IteratorConst const& end) {
    if constexpr (ReadableFromSequence<T>) {
        return T(place, end);
    } else {
        ValueReader in(place, end);
        return ValueText<T>::read(in);
    }
}

/// Parses a value. Throws if text follows it.
template <HasValueText T>
T strepToValue(String const& text) {
    auto place = text.begin();
    auto const end = text.end();
    T value = sequenceToValue<T>(place, end);
    ValueReader(place, end).expectEnd();
    return value;
}

template <>
struct VOBGP_EXPORT ValueText<bool> {
    static void write(CharBuffer& out, bool value) { out.append(value ? "True" : "False"); }

    static bool read(ValueReader& in);
};

template <std::unsigned_integral T>

requires(!std::same_as<T, bool>) struct ValueText<T> {
    static void write(CharBuffer& out, T value) { out.appendDecimal(value); }

    static T read(ValueReader& in) {
        return static_cast<T>(in.readDecimal(std::numeric_limits<T>::max(),
                                             "an unsigned number of the type's width"));
    }
};

template <class T>
concept HasAttributeTable = requires {
    { T::staticType() } -> std::same_as<Type const&>;
    requires !requires(T const& object) {
        object.fwkType();
    };
};

template <HasAttributeTable T>
struct ValueText<T> {
    static void write(CharBuffer& out, T const& value) {
        writeAttributes(out, T::staticType(), &value);
    }

    static T
    read(ValueReader& in) requires ReadableFromSequence<T> || std::default_initializable<T> {
        if constexpr (ReadableFromSequence<T>) {
            return T(in.place(), in.end());
        } else {
            T value;
            readAttributes(in, T::staticType(), &value);
            return value;
        }
    }
};

/// Streams a value as its text, whatever the stream's flags and locale. An enumeration uses the
/// stream's width and fill, like a number.
template <HasValueText T>

requires(!std::is_arithmetic_v<T>) std::ostream& operator<<(std::ostream& os, T const& value) {
    LocalCharBuffer<128> out;
    ValueText<T>::write(out, value);
    auto const text = out.text();
    if constexpr (std::is_enum_v<T>) {
        return os << text;
    } else {
        return os.write(text.data(), static_cast<std::streamsize>(text.size()));
    }
}

} // namespace Mox
