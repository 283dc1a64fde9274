#include <Acl/CommunityValue.h>
#include <Mox/Hash.h>
#include <VoBgp/CommunityTables.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

// The 32-bit hashes of lists and of IPv6-address-specific communities are not keyed, so a peer can
// send any number of contents with the same hash. Interning them must not cost more than interning
// others.

using namespace Routing::Bgp;
using Mox::U32;
using Mox::U8;

namespace {

constexpr std::size_t contents = std::size_t{1} << 15;

/// Processor time of this thread in seconds.
double threadTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

/// If placement used the 32-bit hash, the slowdown would be in the hundreds.
constexpr double bound = 3;

/// Measures the time to intern and release the contents. `intern` returns a counted pointer. Gives
/// up after `limit` seconds.
template <class Content, class Intern>
double timeOf(std::vector<Content> const& all, Intern const& intern, double limit) {
    std::vector<decltype(intern(all[0]))> held;
    held.reserve(all.size());
    auto const start = threadTime();
    for (std::size_t i = 0; i < all.size() && (i % 256 != 0 || threadTime() - start < limit); ++i) {
        held.push_back(intern(all[i]));
    }
    held.clear();
    return threadTime() - start;
}

/// Returns how many times longer the colliding contents take than ordinary ones, comparing the
/// shortest of several alternating runs.
template <class Content, class Intern>
double slowdown(std::vector<Content> const& colliding, std::vector<Content> const& ordinary,
                Intern const& intern) {
    constexpr double unlimited = std::numeric_limits<double>::max();
    double shortest = unlimited;
    double shortestOrdinary = unlimited;
    for (int run = 0; run < 3; ++run) {
        shortestOrdinary = std::min(shortestOrdinary, timeOf(ordinary, intern, unlimited));
        shortest = std::min(shortest, timeOf(colliding, intern, 3 * bound * shortestOrdinary));
    }
    return shortest / shortestOrdinary;
}

template <class Content, class Intern>
void expectNoSlowdown(std::vector<Content> const& colliding, std::vector<Content> const& ordinary,
                      Intern const& intern) {
    ASSERT_EQ(colliding.size(), contents);
    ASSERT_EQ(ordinary.size(), contents);
    std::set<U32> hashes;
    for (auto const& content : colliding) {
        hashes.insert(intern(content)->hash());
    }
    ASSERT_EQ(hashes.size(), 1U);
    EXPECT_LT(slowdown(colliding, ordinary, intern), bound);
}

// ---- Lists --------------------------------------------------------------------------------------

constexpr std::size_t pairs = 15;
static_assert(std::size_t{1} << pairs == contents);

// Returns value number `n` for position `place` of a list; values ascend with the position.
void makeValue(U32 place, U32 n, U32& value) {
    value = place << 24 | n;
}

void makeValue(U32 place, U32 n, Acl::CommunityValue& value) {
    value = Acl::CommunityValue(place, 7, n);
}

void addTo(Mox::OneAtATimeHash& hash, U32 value) {
    hash.addLittleEndian(value);
}

void addTo(Mox::OneAtATimeHash& hash, Acl::CommunityValue const& value) {
    for (U32 const part : {value.globalAdministrator(), value.localData1(), value.localData2()}) {
        hash.addLittleEndian(part);
    }
}

template <class Value>
using Pairs = std::array<std::array<Value, 2>, pairs>;

/// Finds pairs of values such that the 32-bit hash of a list does not depend on which value of each
/// pair it contains.
template <class Value>
Pairs<Value> collidingPairs() {
    Pairs<Value> result{};
    Mox::OneAtATimeHash state;
    for (U32 place = 0; place < pairs; ++place) {
        std::unordered_map<U32, Value> seen;
        for (U32 n = 0;; ++n) {
            Value value;
            makeValue(place, n, value);
            auto next = state;
            addTo(next, value);
            if (auto const [first, isNew] = seen.try_emplace(next.finish(), value); !isNew) {
                result[place] = {first->second, value};
                state = next;
                break;
            }
        }
    }
    return result;
}

template <class Value>
Pairs<Value> ordinaryPairs() {
    Pairs<Value> result{};
    for (U32 place = 0; place < pairs; ++place) {
        makeValue(place, 1, result[place][0]);
        makeValue(place, 2, result[place][1]);
    }
    return result;
}

/// Returns all lists with one value of each pair.
template <class Value>
std::vector<std::array<Value, pairs>> choices(Pairs<Value> const& values) {
    std::vector<std::array<Value, pairs>> result(contents);
    for (std::size_t choice = 0; choice < contents; ++choice) {
        for (std::size_t place = 0; place < pairs; ++place) {
            result[choice][place] = values[place][choice >> place & 1];
        }
    }
    return result;
}

template <class Value, class Factory, class Table>
void floodLists(Factory const& factory, Table const& table) {
    expectNoSlowdown(choices(collidingPairs<Value>()), choices(ordinaryPairs<Value>()),
                     [&](std::array<Value, pairs> const& values) {
                         auto const list = factory();
                         for (auto const& value : values) {
                             list->commIs(value);
                         }
                         return list->dedup(table.get());
                     });
}

TEST(HashFloodTest, StandardLists) {
    floodLists<U32>(commListFactory, CommunityTables().commListDedupTable());
}

TEST(HashFloodTest, LargeLists) {
    floodLists<Acl::CommunityValue>(largeCommListFactory,
                                    CommunityTables().largeCommListDedupTable());
}

// ---- IPv6-address-specific communities ----------------------------------------------------------

constexpr U32 step(U32 state, U8 octet) {
    state += octet;
    state += state << 10;
    return state ^ state >> 6;
}

/// Returns the state before step() with this octet.
constexpr U32 stepBack(U32 state, U8 octet) {
    U32 sum = state;
    for (int i = 0; i < 5; ++i) {
        sum = state ^ sum >> 6;
    }
    constexpr U32 inverseOf1025 = 1U - (1U << 10) + (1U << 20) - (1U << 30);
    return sum * inverseOf1025 - octet;
}

static_assert(stepBack(step(0x89abcdef, 0x5a), 0x5a) == 0x89abcdef);

using Half = std::array<U8, 6>;

/// Finds sequences of six octets that take the hash from one state to another, by meeting in the
/// middle of the first and last three octets.
std::vector<Half> ways(U32 from, U32 to, std::size_t count) {
    constexpr U32 tried = 1U << 20;
    std::unordered_map<U32, U32> middles;
    middles.reserve(tried);
    for (U32 last = 0; last < tried; ++last) {
        auto const after4 =
            stepBack(stepBack(to, static_cast<U8>(last)), static_cast<U8>(last >> 8));
        middles.emplace(stepBack(after4, static_cast<U8>(last >> 16)), last);
    }
    std::vector<Half> result;
    for (U32 first = 0; first < 1U << 24 && result.size() < count; ++first) {
        auto const after2 =
            step(step(from, static_cast<U8>(first >> 16)), static_cast<U8>(first >> 8));
        if (auto const found = middles.find(step(after2, static_cast<U8>(first)));
            found != middles.end()) {
            auto const last = found->second;
            result.push_back({static_cast<U8>(first >> 16), static_cast<U8>(first >> 8),
                              static_cast<U8>(first), static_cast<U8>(last >> 16),
                              static_cast<U8>(last >> 8), static_cast<U8>(last)});
        }
    }
    return result;
}

/// Returns communities whose addresses combine a first half with a second half.
std::vector<ExtCommIp6Content> combinations(std::vector<Half> const& first,
                                            std::vector<Half> const& second) {
    std::vector<ExtCommIp6Content> result;
    for (std::size_t i = 0; i < contents; ++i) {
        Lumo::Ip6Addr::Octets address{};
        auto const& head = first[i % first.size()];
        auto const& tail = second[i / first.size()];
        std::copy(tail.begin(), tail.end(), std::copy(head.begin(), head.end(), address.begin()));
        result.emplace_back(U8{0}, U8{0x7f}, Lumo::Ip6Addr(address), Mox::U16{1});
    }
    return result;
}

TEST(HashFloodTest, Ip6Values) {
    constexpr std::size_t root = 182;
    static_assert(root * root >= contents);
    constexpr U32 middle = 0x12345678;
    std::vector<Half> ordinary;
    for (U32 i = 0; i < root; ++i) {
        ordinary.push_back({0x20, 1, static_cast<U8>(i), 0, 0, static_cast<U8>(7 * i)});
    }
    CommunityTables const tables;
    auto const start = step(step(0, 0), 0x7f);
    expectNoSlowdown(combinations(ways(start, middle, root), ways(middle, 0, root)),
                     combinations(ordinary, ordinary), [&](ExtCommIp6Content const& content) {
                         return ExtCommIp6::dedupContent(tables.extCommIp6DedupTable().get(),
                                                         content);
                     });
}

TEST(KeyedHash, DependsOnLengthSeedAndLastOctets) {
    for (std::size_t size = 1; size < 40; ++size) {
        std::vector<std::byte> octets(size);
        auto const hash = Mox::keyedHash(octets);
        octets.back() = std::byte{1};
        EXPECT_NE(Mox::keyedHash(octets), hash) << size;
    }
    EXPECT_NE(Mox::hashOctets({"\0", 1}), Mox::hashOctets({"\0\0", 2}));
    EXPECT_NE(Mox::nextHashSeed(), Mox::nextHashSeed());
}

TEST(KeyedHashDeathTest, DiffersInEveryProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // executes the program again
    auto const hash = std::to_string(Mox::keyedHash(1));
    char const* const variable = "VOBGP_TEST_HASH";
    ::setenv(variable, hash.c_str(), 0); // not in the child, which has that of its parent
    EXPECT_EXIT(std::_Exit(::getenv(variable) == hash ? 1 : 0), testing::ExitedWithCode(0), "");
    ::unsetenv(variable);
}

} // namespace
