#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Exception.h>
#include <Mox/Type.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Mox {

/// Whether a member is valid on the wire, or registered only for its name.
enum class OnWire : bool { no, yes };

/// One row of an enumeration's table: number, registered name, and whether it is valid on the wire.
template <class E>
struct EnumerationRow {
    E number;
    std::string_view name;
    OnWire onWire = OnWire::yes;
};

/// The table of an enumeration; specialise it for each enumeration:
///
///     template <> struct Mox::EnumerationTable<E> {
///         static constexpr std::string_view qualifiedName = "Namespace::E";
///         static constexpr auto rows = std::to_array<Mox::EnumerationRow<E>>({...});
///     };
///
/// Text, reading, validity and reflection follow from it.
template <class E>
struct EnumerationTable;

template <class E>
concept Enumeration = std::is_enum_v<E> && requires {
    { EnumerationTable<E>::qualifiedName } -> std::convertible_to<std::string_view>;
    EnumerationTable<E>::rows.size();
};

namespace Detail {

template <Enumeration E>
consteval bool rowsAreUnique() {
    auto const& rows = EnumerationTable<E>::rows;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (std::size_t j = i + 1; j < rows.size(); ++j) {
            if (rows[i].number == rows[j].number || rows[i].name == rows[j].name) {
                return false;
            }
        }
    }
    return true;
}

/// Maps each octet to the number of its row plus one, or 0 if it is not a member. Most enumerations
/// name octets.
template <Enumeration E>
consteval std::array<U8, 256> rowsByOctet() {
    static_assert(rowsAreUnique<E>(), "duplicate number or name in the table");
    static_assert(EnumerationTable<E>::rows.size() < 255);
    std::array<U8, 256> index{};
    U8 number = 0;
    for (auto const& row : EnumerationTable<E>::rows) {
        ++number;
        if (static_cast<U64>(row.number) < index.size()) {
            index[static_cast<U64>(row.number)] = number;
        }
    }
    return index;
}

template <Enumeration E>
inline constexpr auto octetRows = rowsByOctet<E>();

} // namespace Detail

/// Returns the row of a number, or null if it is not a member.
template <Enumeration E>
constexpr EnumerationRow<E> const* enumerationRow(E value) noexcept {
    auto const& rows = EnumerationTable<E>::rows;
    auto const number = static_cast<U64>(value);
    if (number < 256) {
        auto const row = Detail::octetRows<E>[number];
        return row == 0 ? nullptr : &rows[row - 1U];
    }
    for (auto const& row : rows) {
        if (row.number == value) {
            return &row;
        }
    }
    return nullptr;
}

/// Returns the registered name, or an empty text if the number is not a member.
template <Enumeration E>
constexpr std::string_view enumerationName(E value) noexcept {
    auto const* const row = enumerationRow(value);
    return row == nullptr ? std::string_view() : row->name;
}

/// Whether the number is a member that is valid on the wire.
template <Enumeration E>
constexpr bool isValidOnWire(E value) noexcept {
    auto const* const row = enumerationRow(value);
    return row != nullptr && row->onWire == OnWire::yes;
}

/// The name of a member; the decimal number of anything else.
template <Enumeration E>
struct ValueText<E> {
    static void write(CharBuffer& out, E value) {
        if (auto const name = enumerationName(value); !name.empty()) {
            out.append(name);
        } else {
            out.appendDecimal(static_cast<U64>(value));
        }
    }

    static E read(ValueReader& in) {
        auto const start = in.offset();
        auto const name = in.readName();
        for (auto const& row : EnumerationTable<E>::rows) {
            if (row.name == name) {
                return row.number;
            }
        }
        auto const length = in.offset() - start;
        in.place() -= static_cast<std::ptrdiff_t>(length);
        auto const number =
            static_cast<E>(in.readDecimal(~std::underlying_type_t<E>{0}, memberExpected()));
        if (enumerationRow(number) != nullptr || in.offset() - start != length) {
            in.place() -= static_cast<std::ptrdiff_t>(in.offset() - start);
            in.fail(memberExpected());
        }
        return number;
    }

  private:
    static std::string memberExpected() {
        return "a member of " + std::string(EnumerationTable<E>::qualifiedName);
    }
};

/// Returns the registered name of a member, or the decimal number of anything else.
template <Enumeration E>
String stringValue(E value) {
    return valueToStrep(value);
}

/// Returns the member with that number. Throws RangeException with text `operation` if there is
/// none.
template <Enumeration E>
E enumerationInstance(U32 number, char const* operation) {
    auto const value = static_cast<E>(number);
    if (enumerationRow(value) == nullptr) {
        throw RangeException(operation);
    }
    return value;
}

/// Returns the member with that name. Throws RangeException with text `operation` if unknown.
template <Enumeration E>
E enumerationInstance(std::string_view name, char const* operation) {
    for (auto const& row : EnumerationTable<E>::rows) {
        if (row.name == name) {
            return row.number;
        }
    }
    throw RangeException(operation);
}

/// Returns the reflected type of an enumeration, built from its table.
template <Enumeration E>
Type const& enumerationType() {
    static Type const type(EnumerationTable<E>::qualifiedName, [] {
        std::vector<EnumerationMember> members;
        for (auto const& row : EnumerationTable<E>::rows) {
            members.push_back({row.name, static_cast<U64>(row.number)});
        }
        return members;
    }());
    return type;
}

} // namespace Mox

// Macros for table rows and enumeration operations. Names are always passed whole.

/// A row of a table. `Scope` is the scope that declares the member.
#define MOX_MEMBER(Scope, member)                                                                  \
    { Scope::member, #member }

/// A row for a member that is not valid on the wire.
#define MOX_MEMBER_NOT_ON_WIRE(Scope, member)                                                      \
    { Scope::member, #member, ::Mox::OnWire::no }

/// Defines `operation`, which returns the member with a given number or name. It throws
/// `Mox::RangeException` with the operation's name as text if there is no such member.
#define MOX_ENUMERATION_INSTANCES(Enumeration, operation)                                          \
    inline Enumeration operation(::Mox::U32 number) {                                              \
        return ::Mox::enumerationInstance<Enumeration>(number, #operation);                        \
    }                                                                                              \
    inline Enumeration operation(::Mox::String const& name) {                                      \
        return ::Mox::enumerationInstance<Enumeration>(std::string_view(name), #operation);        \
    }
