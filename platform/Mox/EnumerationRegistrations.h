#pragma once

#include <Mox/Enumeration.h>
#include <Mox/Type.h>
#include <Mox/Types.h>

#include <cstddef>
#include <string_view>
#include <utility>

namespace Mox {

namespace Detail {

/// The compiler's name of this function: it writes `values` as a list, a member by its name and any
/// other value as a cast.
template <class E, E... values>
consteval std::string_view listOfValues() {
    return __PRETTY_FUNCTION__;
}

/// Whether a number has a row. Compares no pointers, which g++ with -fsanitize=undefined refuses in
/// a constant expression.
template <Enumeration E>
consteval bool hasRow(E value) {
    if (static_cast<U64>(value) < 256) {
        return octetRows<E>[static_cast<U64>(value)] != 0;
    }
    bool found = false;
    for (auto const& row : EnumerationTable<E>::rows) {
        found = found || row.number == value;
    }
    return found;
}

/// Whether the values from `first` on that have a row are those that have a name.
template <Enumeration E, U64 first, std::size_t... offsets>
consteval bool rowsAreMembers(std::index_sequence<offsets...>) {
    // g++ writes `E ...values = {A, (E)1, ...}`, clang++ `values = <A, (E)1, ...>`.
    constexpr std::string_view mark = "values = ";
    auto text = listOfValues<E, static_cast<E>(first + offsets)...>();
    text.remove_prefix(text.find(mark) + mark.size() + 1);
    for (U64 number = first; number != first + sizeof...(offsets); ++number) {
        bool const isMember = text.front() != '(';
        if (isMember != hasRow(static_cast<E>(number))) {
            return false;
        }
        text.remove_prefix(text.find(", ") + 2);
    }
    return true;
}

/// The same, for `count` values. A variable of its own, because compilers bound the steps of one
/// constant expression.
template <Enumeration E, U64 first, std::size_t count>
inline constexpr bool
    haveRowsIfMembers = rowsAreMembers<E, first>(std::make_index_sequence<count>());

} // namespace Detail

/// Whether every member among the `count` numbers from `first` on has a row.
template <Enumeration E, U64 first = 0, std::size_t count = 0x101>
consteval bool everyMemberHasARow() {
    constexpr std::size_t atATime = 32;
    if constexpr (count <= atATime) {
        return Detail::haveRowsIfMembers<E, first, count>;
    } else {
        return Detail::haveRowsIfMembers<E, first, atATime> &&
               everyMemberHasARow<E, first + atATime, count - atATime>();
    }
}

/// The registrations of some enumerations. A member without a row does not compile.
///
/// Checked are the numbers 0 to 0x100; an enumeration with other members checks those by
/// everyMemberHasARow().
template <Enumeration... Enumerations>
struct EnumerationRegistrations {
    static_assert((everyMemberHasARow<Enumerations>() && ...),
                  "a member has no row in the table of its enumeration");
    TypeRegistration const all[sizeof...(Enumerations)] = {
        TypeRegistration(enumerationType<Enumerations>())...};
};

} // namespace Mox
