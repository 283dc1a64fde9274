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

/// Reads value text from a place in a string and moves the place along. What does not match throws
/// `ParseException` with the offset at which it stands.
class VOBGP_EXPORT ValueReader {
  public:
    ValueReader(String::IteratorConst& place, String::IteratorConst const& end) noexcept
      : place_(place)
      , end_(end) {}
    String::IteratorConst& place() noexcept { return place_; }
    String::IteratorConst const& end() const noexcept { return end_; }
    bool atEnd() const noexcept { return place_ == end_; }
    std::size_t offset() const noexcept { return place_.offset(); }

    /// What is left to read.
    std::string_view rest() const noexcept {
        return {&*place_, static_cast<std::size_t>(end_ - place_)};
    }

    void skip(std::size_t octets) noexcept { place_ += static_cast<std::ptrdiff_t>(octets); }

    /// Requires exactly this text here.
    void expect(std::string_view literal);

    /// Takes this text if it is here.
    bool accept(std::string_view literal) noexcept;

    /// A decimal number without sign or superfluous zeros, up to `max`; `what` names it in the
    /// error.
    U64 readDecimal(U64 max, std::string_view what);

    /// The longest run of letters, digits, underscores and colons here, possibly empty.
    std::string_view readName() noexcept;

    void expectEnd();

    [[noreturn]] void fail(std::string_view expected) const;

  private:
    String::IteratorConst& place_;
    String::IteratorConst const& end_;
};

/// How a type of value is written as text and read back. Specialise it for a type whose text is its
/// own; types with an attribute table (`T::staticType()`) have one by themselves.
template <class T>
struct ValueText;

/// `Value('TYPE', ** {'ATTRIBUTE': VALUE, ...})`, attributes in the order of the type's table.
VOBGP_EXPORT void writeAttributes(CharBuffer& out, Type const& type, void const* object);

/// Reads that form into an object, attribute by attribute.
VOBGP_EXPORT void readAttributes(ValueReader& in, Type const& type, void* object);

/// `0x` and an address in hexadecimal, as short as it goes; null is `0x0`.
VOBGP_EXPORT void writePointer(CharBuffer& out, void const* pointer);

template <class T>
concept HasValueText = requires(CharBuffer& out, T const& value) {
    ValueText<T>::write(out, value);
};

template <class T>
concept ReadableFromSequence =
    std::constructible_from<T, String::IteratorConst&, String::IteratorConst const&>;

/// The text of a value.
template <HasValueText T>
String valueToStrep(T const& value) {
    LocalCharBuffer<128> out;
    ValueText<T>::write(out, value);
    return out.string();
}

/// Reads one value and moves `place` behind it.
template <HasValueText T>
T sequenceToValue(String::IteratorConst& place, String::IteratorConst const& end) {
    if constexpr (ReadableFromSequence<T>) {
        return T(place, end);
    } else {
        ValueReader in(place, end);
        return ValueText<T>::read(in);
    }
}

/// Reads a value from a whole text: nothing may follow it.
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

/// Values stream as their text, whatever the stream's flags and locale. The text of an enumeration
/// fills the stream's field, as a number does.
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
