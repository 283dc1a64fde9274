#pragma once

#include <Acl/CommunityValue.h>
#include <Mox/Hash.h>
#include <Mox/Types.h>
#include <VoBgp/ExtCommIp6.h>

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>

/// Members of lists as encoded in path attributes: big-endian, with a fixed size for each kind.
/// Members are ordered by their octets.

namespace Routing::Bgp {

static_assert(std::endian::native == std::endian::little);

inline U16 swapped(U16 value) noexcept {
    return __builtin_bswap16(value);
}

inline U32 swapped(U32 value) noexcept {
    return __builtin_bswap32(value);
}

inline U64 swapped(U64 value) noexcept {
    return __builtin_bswap64(value);
}

/// Reads a big-endian integer.
template <class Integer>
Integer loadBigEndian(std::byte const* from) noexcept {
    Integer value;
    std::memcpy(&value, from, sizeof value);
    return swapped(value);
}

/// Writes a big-endian integer; returns the end.
template <class Integer>
std::byte* storeBigEndian(std::byte* to, Integer value) noexcept {
    value = swapped(value);
    std::memcpy(to, &value, sizeof value);
    return to + sizeof value;
}

template <class Content>
struct MemberOctets;

/// A standard community (RFC 1997), or an extended one (RFC 4360): an integer.
template <class Integer>
requires(std::same_as<Integer, U32> || std::same_as<Integer, U64>) struct MemberOctets<Integer> {
    static constexpr std::size_t count = sizeof(Integer);
    static Integer load(std::byte const* from) noexcept { return loadBigEndian<Integer>(from); }
    static std::byte* store(std::byte* to, Integer value) noexcept {
        return storeBigEndian(to, value);
    }
    static bool less(std::byte const* a, std::byte const* b) noexcept { return load(a) < load(b); }
};

/// A large community (RFC 8092): three integers.
template <>
struct MemberOctets<Acl::CommunityValue> {
    static constexpr std::size_t count = 12;
    static Acl::CommunityValue load(std::byte const* from) noexcept {
        return {loadBigEndian<U32>(from), loadBigEndian<U32>(from + 4),
                loadBigEndian<U32>(from + 8)};
    }
    static std::byte* store(std::byte* to, Acl::CommunityValue const& value) noexcept {
        to = storeBigEndian(to, value.globalAdministrator());
        to = storeBigEndian(to, value.localData1());
        return storeBigEndian(to, value.localData2());
    }
    static bool less(std::byte const* a, std::byte const* b) noexcept {
        return std::memcmp(a, b, count) < 0;
    }
};

/// An IPv6-address-specific extended community (RFC 5701).
template <>
struct MemberOctets<ExtCommIp6Content> {
    static constexpr std::size_t count = 20;
    static ExtCommIp6Content load(std::byte const* from) noexcept {
        Lumo::Ip6Addr::Octets address;
        std::memcpy(address.data(), from + 2, address.size());
        return {static_cast<U8>(from[0]), static_cast<U8>(from[1]), Lumo::Ip6Addr(address),
                loadBigEndian<U16>(from + 18)};
    }
    static std::byte* store(std::byte* to, ExtCommIp6Content const& content) noexcept {
        to[0] = static_cast<std::byte>(content.type());
        to[1] = static_cast<std::byte>(content.subtype());
        auto const& address = content.addr().octets();
        std::memcpy(to + 2, address.data(), address.size());
        return storeBigEndian(to + 18, content.localAdmin());
    }
    static bool less(std::byte const* a, std::byte const* b) noexcept {
        return std::memcmp(a, b, count) < 0;
    }
};

/// Stores the octets of all members; `contentOf(member)` returns the content of one.
template <class Members, class ContentOf>
void storeMembers(Members const& members, ContentOf const& contentOf, std::byte* to) noexcept {
    for (auto const& member : members) {
        auto const content = contentOf(member);
        to = MemberOctets<std::remove_cv_t<decltype(content)>>::store(to, content);
    }
}

/// The keyed hash of the octets of `count` integers, which `at(index)` returns: equal to
/// Mox::keyedHash() of the octets, but computed word by word.
template <class Integer, class At>
U64 keyedHashOfIntegers(std::size_t count, At const& at) noexcept {
    constexpr bool isWord = sizeof(Integer) == sizeof(U64);
    constexpr std::size_t perWord = isWord ? 1 : 2;
    static_assert(perWord * sizeof(Integer) == sizeof(U64));
    auto const word = [&at](std::size_t index) -> U64 {
        if constexpr (isWord) {
            return swapped(at(index));
        } else {
            return swapped(at(index)) | U64{swapped(at(index + 1))} << 32;
        }
    };
    Mox::KeyedHash hash(count * sizeof(Integer));
    std::size_t index = 0;
    for (; count - index >= 2 * perWord; index += 2 * perWord) {
        hash.add(word(index), word(index + perWord));
    }
    if (count - index >= perWord) {
        hash.add(word(index), word(count - perWord));
    } else if (index != count) {
        U64 const last = swapped(at(index));
        hash.add(last, last);
    }
    return hash.finish();
}

/// The keyed hash of the octets that storeMembers() would store.
template <class Members, class ContentOf>
U64 keyedHashOfMembers(Members const& members, ContentOf const& contentOf) noexcept {
    using Content = std::remove_cvref_t<decltype(contentOf(*members.begin()))>;
    std::span left(members.begin(), members.end());
    if constexpr (std::integral<Content>) {
        return keyedHashOfIntegers<Content>(
            left.size(), [&](std::size_t index) { return contentOf(left[index]); });
    } else {
        constexpr std::size_t membersAtOnce = 32;
        constexpr auto count = MemberOctets<Content>::count;
        static_assert(membersAtOnce * count % 16 == 0);
        std::array<std::byte, membersAtOnce * count> octets;
        Mox::KeyedHash hash(left.size() * count);
        while (!left.empty()) {
            auto const piece = left.first(std::min(left.size(), membersAtOnce));
            storeMembers(piece, contentOf, octets.data());
            hash.add(std::span(octets).first(piece.size() * count));
            left = left.subspan(piece.size());
        }
        return hash.finish();
    }
}

} // namespace Routing::Bgp
