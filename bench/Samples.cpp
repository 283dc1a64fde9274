#include "Samples.h"

#include <algorithm>
#include <bit>

namespace Bench {

namespace {

constexpr U64 autonomousSystem = 64'500;

/// Returns `count` ascending numbers for members of a list.
std::vector<U32> nextNumbers(std::mt19937_64& random, std::size_t members) {
    std::vector<U32> numbers;
    auto number = 1 + static_cast<U32>(random() % 16'384);
    for (std::size_t i = 0; i < members; ++i) {
        numbers.push_back(number);
        number += 1 + static_cast<U32>(random() % 16);
    }
    return numbers;
}

/// Returns a community of a kind; ascending with the number.
ExtCommContent numbered(Kind kind, U32 number) {
    return ExtCommContent(static_cast<U64>(kind) << 48 | autonomousSystem << 32 | number);
}

template <class Integer>
void appendBigEndian(std::string& out, Integer value) {
    for (std::size_t i = sizeof value; i-- > 0;) {
        out.push_back(static_cast<char>(static_cast<U8>(value >> (8 * i))));
    }
}

} // namespace

std::vector<ExtCommContent> contents(Kind kind, std::size_t count, U64 first) {
    std::vector<ExtCommContent> all;
    all.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        all.push_back(content(kind, first + i));
    }
    return all;
}

std::vector<std::size_t> draws(std::size_t count) {
    std::mt19937_64 random(2);
    std::vector<std::size_t> drawn(
        std::clamp(std::bit_ceil(count), std::size_t{1} << 16, std::size_t{1} << 20));
    for (auto& each : drawn) {
        each = random() % count;
    }
    return drawn;
}

ContentCycle drawContents(std::span<ExtCommContent const> contents) {
    std::vector<ExtCommContent> drawn;
    for (auto const number : draws(contents.size())) {
        drawn.push_back(contents[number]);
    }
    return ContentCycle(std::move(drawn));
}

template <>
std::vector<U32> nextList(std::mt19937_64& random, std::size_t members) {
    auto numbers = nextNumbers(random, members);
    for (auto& number : numbers) {
        number += static_cast<U32>(autonomousSystem << 16);
    }
    return numbers;
}

template <>
std::vector<Acl::CommunityValue> nextList(std::mt19937_64& random, std::size_t members) {
    std::vector<Acl::CommunityValue> values;
    for (auto const number : nextNumbers(random, members)) {
        values.emplace_back(static_cast<U32>(autonomousSystem), number, number % 1000);
    }
    return values;
}

template <>
std::vector<ExtCommContent> nextList(std::mt19937_64& random, std::size_t members) {
    auto const origins = members / 2;
    std::vector<ExtCommContent> values;
    for (auto const number : nextNumbers(random, members - origins)) {
        values.push_back(numbered(Kind::routeTarget, number));
    }
    for (auto const number : nextNumbers(random, origins)) {
        values.push_back(numbered(Kind::routeOrigin, number));
    }
    return values;
}

template <>
std::vector<ExtCommIp6Content> nextList(std::mt19937_64& random, std::size_t members) {
    std::vector<ExtCommIp6Content> values;
    for (auto const number : nextNumbers(random, members)) {
        auto const high = static_cast<U8>(number >> 8);
        auto const low = static_cast<U8>(number);
        values.emplace_back(
            U8{0}, U8{2},
            Lumo::Ip6Addr({0x20, 1, 0xd, 0xb8, 0, 1, 0xff, 0xff, 0, 0x10, high, low, 1, 2, 3, 4}),
            static_cast<U16>(number));
    }
    return values;
}

void appendOctets(std::string& out, U32 value) {
    appendBigEndian(out, value);
}

void appendOctets(std::string& out, Acl::CommunityValue const& value) {
    appendBigEndian(out, value.globalAdministrator());
    appendBigEndian(out, value.localData1());
    appendBigEndian(out, value.localData2());
}

void appendOctets(std::string& out, ExtCommContent const& value) {
    appendBigEndian(out, value.community());
}

void appendOctets(std::string& out, ExtCommIp6Content const& value) {
    out.push_back(static_cast<char>(value.type()));
    out.push_back(static_cast<char>(value.subtype()));
    for (auto const octet : value.addr().octets()) {
        out.push_back(static_cast<char>(octet));
    }
    appendBigEndian(out, value.localAdmin());
}

} // namespace Bench
