#include "support/Allocations.h"
#include "support/PointerMode.h"

#include <Mox/Type.h>
#include <VoBgp/CommunityTables.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace {

using namespace Routing::Bgp;
using Verdict = AttributeVerdict;

std::span<std::byte const> bytes(std::string const& octets) {
    return std::as_bytes(std::span(octets));
}

/// Reads a big-endian integer of a member, naively.
U64 integer(std::string const& member, std::size_t at, std::size_t count) {
    U64 value = 0;
    for (auto const octet : member.substr(at, count)) {
        value = value << 8 | static_cast<unsigned char>(octet);
    }
    return value;
}

U32 word(std::string const& member, std::size_t at) {
    return static_cast<U32>(integer(member, at, 4));
}

// ---- The kinds: decoding, and interning of the members ------------------------------------------

struct StandardKind {
    static constexpr std::size_t octets = 4;
    static constexpr char type = 8;
    static auto decode(CommunityTables const& tables, std::string const& value) {
        return tables.commList(bytes(value));
    }
    static auto list() { return commListFactory(); }
    static U32 member(CommunityTables const&, std::string const& of) { return word(of, 0); }
    static auto const& table(CommunityTables const& tables) { return tables.commListDedupTable(); }
    static String serialize(CommList const& list) { return list.serialize(); }
};

struct LargeKind {
    static constexpr std::size_t octets = 12;
    static constexpr char type = 32;
    static auto decode(CommunityTables const& tables, std::string const& value) {
        return tables.largeCommList(bytes(value));
    }
    static auto list() { return largeCommListFactory(); }
    static Acl::CommunityValue member(CommunityTables const&, std::string const& of) {
        return {word(of, 0), word(of, 4), word(of, 8)};
    }
    static auto const& table(CommunityTables const& tables) {
        return tables.largeCommListDedupTable();
    }
    static String serialize(LargeCommList const& list) { return list.serialize(); }
};

struct ExtendedKind {
    static constexpr std::size_t octets = 8;
    static constexpr char type = 16;
    static auto decode(CommunityTables const& tables, std::string const& value) {
        return tables.extCommList(bytes(value));
    }
    static auto list() { return extCommListFactory(); }
    static ExtComm::PtrConst member(CommunityTables const& tables, std::string const& of) {
        return ExtComm::dedupContent(tables.extCommDedupTable().get(),
                                     ExtCommContent(integer(of, 0, 8)));
    }
    static auto const& table(CommunityTables const& tables) {
        return tables.extCommListDedupTable();
    }
    static String serialize(ExtCommList const& list) {
        // Fails an assertion if the announced length differs from the written one.
        for (U32 selection = 0; selection <= 0xf; ++selection) {
            (void)list.serialize(ExtCommList::Serialization(selection));
        }
        return list.serialize(ExtCommList::Serialization(ExtCommList::Serialization::all));
    }
};

struct Ip6Kind {
    static constexpr std::size_t octets = 20;
    static constexpr char type = 25;
    static auto decode(CommunityTables const& tables, std::string const& value) {
        return tables.extCommIp6List(bytes(value));
    }
    static auto list() { return extCommIp6ListFactory(); }
    static ExtCommIp6::PtrConst member(CommunityTables const& tables, std::string const& of) {
        Lumo::Ip6Addr::Octets address;
        std::memcpy(address.data(), of.data() + 2, 16);
        return ExtCommIp6::dedupContent(tables.extCommIp6DedupTable().get(),
                                        {static_cast<U8>(of[0]), static_cast<U8>(of[1]),
                                         Lumo::Ip6Addr(address),
                                         static_cast<U16>(integer(of, 18, 2))});
    }
    static auto const& table(CommunityTables const& tables) {
        return tables.extCommIp6ListDedupTable();
    }
    static String serialize(ExtCommIp6List const& list) {
        (void)list.serialize(false);
        return list.serialize(true);
    }
};

template <class Kind>
std::vector<std::string> membersOf(std::string const& value) {
    std::vector<std::string> members;
    for (std::size_t at = 0; at < value.size(); at += Kind::octets) {
        members.push_back(value.substr(at, Kind::octets));
    }
    return members;
}

/// Returns a list filled with the members of a value, in their order.
template <class Kind>
auto filled(CommunityTables const& tables, std::string const& value) {
    auto list = Kind::list();
    for (auto const& member : membersOf<Kind>(value)) {
        list->commIs(Kind::member(tables, member));
    }
    return list;
}

template <class Kind>
auto internMembers(CommunityTables const& tables, std::string const& value) {
    return filled<Kind>(tables, value)->dedup(Kind::table(tables).get());
}

/// The expected verdict under the built-in rules, from the octets.
template <class Kind>
Verdict expectedVerdict(std::string const& value) {
    if (value.empty() || value.size() > 65535 || value.size() % Kind::octets != 0) {
        return value.empty()          ? Verdict::empty
               : value.size() > 65535 ? Verdict::tooLong
                                      : Verdict::badLength;
    }
    if constexpr (std::is_same_v<Kind, ExtendedKind>) {
        std::set<std::string> bandwidths, states;
        for (auto const& member : membersOf<Kind>(value)) {
            if (auto const type = integer(member, 0, 2); type == 0x4004 || type == 0x4300) {
                (type == 0x4004 ? bandwidths : states).insert(member);
            }
        }
        return bandwidths.size() > 1 ? Verdict::severalLinkBandwidths
               : states.size() > 1   ? Verdict::severalOriginValidationStates
                                     : Verdict::accepted;
    }
    return Verdict::accepted;
}

/// Random octets with many known types and many equal members.
std::string randomOctets(std::mt19937& random, std::size_t size) {
    constexpr std::array<std::array<unsigned char, 2>, 6> types{
        {{0x00, 0x02}, {0x40, 0x04}, {0x43, 0x00}, {0x03, 0x0b}, {0x40, 0x02}, {0x80, 0x06}}};
    std::string octets(size, '\0');
    for (std::size_t at = 0; at < size; ++at) {
        octets[at] = static_cast<char>(at % 4 == 3 ? random() % 3 : 0);
    }
    for (std::size_t at = 0; at + 20 <= size; at += random() % 3 * 4 + 8) {
        auto const& type = types[random() % types.size()];
        octets[at] = static_cast<char>(type[0]);
        octets[at + 1] = static_cast<char>(type[1]);
        octets[at + 7] = static_cast<char>(random());
    }
    return octets;
}

/// Returns a well-formed value of that many distinct members, at most one of each counted class.
template <class Kind>
std::string valueOf(std::mt19937& random, std::size_t members) {
    std::string value(members * Kind::octets, '\0');
    for (std::size_t i = 0; i < members; ++i) {
        auto* const member = value.data() + i * Kind::octets;
        auto const number = static_cast<U32>(random() << 12 | i);
        std::memcpy(member + Kind::octets - 4, &number, 4);
        if (Kind::octets >= 8) {
            member[1] = 0x02;
        }
    }
    return value;
}

/// Sorted and distinct.
template <class Kind>
std::string canonical(std::string const& value) {
    auto members = membersOf<Kind>(value);
    std::sort(members.begin(), members.end(), [](auto const& a, auto const& b) {
        return std::memcmp(a.data(), b.data(), Kind::octets) < 0;
    });
    members.erase(std::unique(members.begin(), members.end()), members.end());
    std::string result;
    for (auto const& member : members) {
        result += member;
    }
    return result;
}

/// The path attribute of a list of these members, in any order.
template <class Kind>
std::string attributeOf(std::string const& value) {
    auto const members = canonical<Kind>(value);
    auto const low = static_cast<char>(members.size());
    if (members.size() < 256) {
        return std::string{'\xc0', Kind::type, low} + members;
    }
    return std::string{'\xd0', Kind::type, static_cast<char>(members.size() >> 8), low} + members;
}

// ---- Both pointer modes -------------------------------------------------------------------------

class CommunityTablesIn : public testing::TestWithParam<bool> {
    PointerMode const mode_{GetParam()};

  protected:
    template <class Kind>
    void compareWithInterningMembers() {
        std::vector<decltype(internMembers<Kind>(tables, ""))> held(7);
        for (int step = 0; step < 3000; ++step) {
            auto const value =
                randomOctets(random, step % 9 == 0 ? random() % 50 : random() % 9 * Kind::octets);
            auto const verdict = expectedVerdict<Kind>(value);
            decltype(internMembers<Kind>(tables, "")) before;
            if (verdict == Verdict::accepted && step % 2 == 0) {
                before = internMembers<Kind>(tables, value);
            }
            auto const decoded = Kind::decode(tables, value);
            ASSERT_EQ(decoded.verdict, verdict);
            ASSERT_EQ(static_cast<bool>(decoded), verdict == Verdict::accepted);
            if (decoded) {
                ASSERT_TRUE(!before || before == decoded.list);
                ASSERT_EQ(internMembers<Kind>(tables, value), decoded.list);
                ASSERT_EQ(Kind::decode(tables, canonical<Kind>(value)).list, decoded.list);
                held[random() % held.size()] = decoded.list;
            }
        }
    }

    template <class Kind>
    void serializeEveryLength() {
        for (std::size_t size = 0; size <= 4096; ++size) {
            auto const value = randomOctets(random, size);
            auto const decoded = Kind::decode(tables, value);
            ASSERT_EQ(decoded.verdict, expectedVerdict<Kind>(value)) << size;
            if (decoded) {
                ASSERT_EQ(Kind::serialize(*decoded.list).str(), attributeOf<Kind>(value)) << size;
            }
        }
        auto const longest = 65535 / Kind::octets;
        auto const value = valueOf<Kind>(random, longest);
        auto const decoded = Kind::decode(tables, value);
        ASSERT_TRUE(decoded);
        EXPECT_EQ(Kind::serialize(*decoded.list).str(), attributeOf<Kind>(value));
        auto const tooLong = valueOf<Kind>(random, longest + 1);
        auto const interned = internMembers<Kind>(tables, tooLong);
        EXPECT_EQ(Kind::decode(tables, canonical<Kind>(tooLong)).verdict, Verdict::tooLong);
        EXPECT_EQ(Kind::decode(tables, randomOctets(random, 65535)).verdict, Verdict::badLength);
    }

    template <class Kind>
    void expectNoAllocations() {
        for (std::size_t const members : {1U, 8U, 32U, 1500U}) {
            auto const unsorted = valueOf<Kind>(random, members);
            auto const sorted = canonical<Kind>(unsorted);
            auto const list = Kind::decode(tables, sorted).list;
            auto const before = allocationsSoFar();
            ASSERT_EQ(Kind::decode(tables, sorted).list, list);
            if (members < 50) {
                ASSERT_EQ(Kind::decode(tables, unsorted).list, list);
            }
            ASSERT_EQ(allocationsSoFar(), before) << members;
        }
    }

    template <class Kind>
    void everyAllocationMayFail() {
        auto const value = valueOf<Kind>(random, 40) + randomOctets(random, 2 * Kind::octets);
        bool failed = true;
        for (long succeeding = 0; failed; ++succeeding) {
            CommunityTables const fresh;
            try {
                FailingAllocations const failing(succeeding);
                (void)Kind::decode(fresh, value);
                failed = false;
            } catch (std::bad_alloc const&) {
                ASSERT_EQ(sizes(fresh), Sizes{});
            }
            auto const decoded = Kind::decode(fresh, value);
            ASSERT_TRUE(decoded);
            ASSERT_EQ(decoded.list, internMembers<Kind>(fresh, value));
        }
    }

    using Sizes = std::array<std::size_t, 9>;
    static Sizes sizes(CommunityTables const& of) {
        return {of.commListDedupTable()->dedupTable()->size(),
                of.largeCommListDedupTable()->dedupTable()->size(),
                of.extCommListDedupTable()->dedupTable()->size(),
                of.extCommListDedupTable()->extCommClassificationListDedupTable()->size(),
                of.extCommListDedupTable()->rtExtCommClassificationListDedupTable()->size(),
                of.extCommIp6ListDedupTable()->dedupTable()->size(),
                of.extCommIp6ListDedupTable()->extCommClassification()->size(),
                of.extCommDedupTable()->dedupHashTable()->size(),
                of.extCommIp6DedupTable()->dedupHashTable()->size()};
    }

    std::mt19937 random{11};
    CommunityTables const tables;
};
INSTANTIATE_TEST_SUITE_P(Mode, CommunityTablesIn, bothPointerModes(), pointerModeName);

TEST_P(CommunityTablesIn, DecodingAgreesWithInterningTheMembers) {
    compareWithInterningMembers<StandardKind>();
    compareWithInterningMembers<LargeKind>();
    compareWithInterningMembers<ExtendedKind>();
    compareWithInterningMembers<Ip6Kind>();
}

TEST_P(CommunityTablesIn, ListsOfEveryLengthSerializeWithEverySelection) {
    serializeEveryLength<StandardKind>();
    serializeEveryLength<LargeKind>();
    serializeEveryLength<ExtendedKind>();
    serializeEveryLength<Ip6Kind>();
    EXPECT_EQ(sizes(tables), Sizes{});
}

TEST_P(CommunityTablesIn, HitsAllocateNothing) {
    expectNoAllocations<StandardKind>();
    expectNoAllocations<LargeKind>();
    expectNoAllocations<ExtendedKind>();
    expectNoAllocations<Ip6Kind>();
}

TEST_P(CommunityTablesIn, EveryAllocationMayFail) {
    everyAllocationMayFail<StandardKind>();
    everyAllocationMayFail<LargeKind>();
    everyAllocationMayFail<ExtendedKind>();
    everyAllocationMayFail<Ip6Kind>();
}

TEST_P(CommunityTablesIn, EmptyInternedListsAreNotDecoded) {
    auto const empty = internMembers<ExtendedKind>(tables, "");
    auto const none = internMembers<StandardKind>(tables, "");
    EXPECT_EQ(ExtendedKind::decode(tables, "").verdict, Verdict::empty);
    EXPECT_EQ(StandardKind::decode(tables, "").verdict, Verdict::empty);
}

TEST_P(CommunityTablesIn, ListsOfForeignMembersAreDistinct) {
    CommunityTables const others;
    auto const value = canonical<ExtendedKind>(valueOf<ExtendedKind>(random, 5));
    auto const foreign =
        filled<ExtendedKind>(others, value)->dedup(tables.extCommListDedupTable().get());
    auto const ours = ExtendedKind::decode(tables, value).list;
    EXPECT_NE(ours, foreign);
    EXPECT_EQ((*ours)[0], ExtendedKind::member(tables, value.substr(0, 8)));
    EXPECT_EQ(ExtendedKind::decode(tables, value).list, ours);
    EXPECT_EQ(internMembers<ExtendedKind>(tables, value), ours);
    // A list that was interned from its members is found as well.
    auto const other = canonical<ExtendedKind>(valueOf<ExtendedKind>(random, 6));
    auto const first = internMembers<ExtendedKind>(tables, other);
    EXPECT_EQ(ExtendedKind::decode(tables, other).list, first);
    EXPECT_EQ(ExtendedKind::decode(tables, other).list, first);
    // So is a list that was split before.
    auto const third = canonical<ExtendedKind>(valueOf<ExtendedKind>(random, 7));
    auto const split = filled<ExtendedKind>(tables, third);
    split->createClassificationListVector(true);
    auto const whole = split->dedup(tables.extCommListDedupTable().get());
    EXPECT_EQ(internMembers<ExtendedKind>(tables, third), whole);
    EXPECT_EQ(ExtendedKind::decode(tables, third).list, whole);
}

TEST_P(CommunityTablesIn, ListsOfAnEarlierClassificationTableAreDistinct) {
    auto const value = canonical<Ip6Kind>(valueOf<Ip6Kind>(random, 5));
    auto const earlier = Ip6Kind::decode(tables, value).list;
    tables.extCommIp6ListDedupTable()->handleInitialized();
    auto const now = internMembers<Ip6Kind>(tables, value);
    EXPECT_NE(now, earlier);
    EXPECT_EQ(Ip6Kind::decode(tables, value).list, now);
    EXPECT_EQ(internMembers<Ip6Kind>(tables, value), now);
}

/// Classifies communities of a transitive opaque subtype by their local administrator.
class AnyClassRule final : public BgpParseExtComSubTypeTransOpaqueRuleBase {
  public:
    explicit AnyClassRule(BgpParseExtCommControl const& control)
      : BgpParseExtComSubTypeTransOpaqueRuleBase(control,
                                                 extCommPktSubtypeTransOpaqueOspfRouteType) {}

    ExtComm::PtrConst inhale(ExtCommContent const& content) const override {
        return Mox::makeActive<ExtComm>(
            static_cast<ExtCommClassification>(content.community() & 0xf), content);
    }
};

class AnyClassSm final : public BgpParseExtCommPluginBaseSm {
  public:
    explicit AnyClassSm(BgpParseExtCommRuleCollections::PtrConst const& collections)
      : BgpParseExtCommPluginBaseSm(collections) {
        handleStartup();
    }

    void instantiateExtCommSubTypeTransOpaqueSubRule(
        BgpParseExtCommSubTypeTransOpaqueRuleKey const& key,
        BgpParseExtCommControl const& control) const override {
        addExtCommSubTypeTransOpaqueSubRule(key, Mox::makeActive<AnyClassRule>(control));
    }
};

TEST_P(CommunityTablesIn, RefusesListsThatCannotBeSerialized) {
    tables.parsing()->extCommParserSmsEnq(
        Mox::makeActive<AnyClassSm>(tables.parsing()->parseExtCommRuleCollections()));
    auto const member = [](char group, char classification) {
        return std::string("\x03\x06\0\0\0\0", 6) + group + classification;
    };
    std::string const bandwidth("\x40\x04\xfd\xe8\x4b\x3e\xbc\x20", 8);
    std::string const state("\x43\0\0\0\0\0\0\1", 8);
    struct {
        std::string value;
        Verdict verdict;
    } const rows[] = {
        {member(0, 1) + member(0, 2) + bandwidth + state, Verdict::accepted},
        {member(0, 7), Verdict::transitiveLinkBandwidth},
        {member(0, 9), Verdict::transitiveOriginValidationState},
        {member(0, 7) + bandwidth, Verdict::severalLinkBandwidths},
        {state + member(0, 9), Verdict::severalOriginValidationStates},
        {bandwidth + bandwidth + state + state, Verdict::accepted},
    };
    for (auto const& row : rows) {
        for (int again = 0; again < 2; ++again) {
            auto const decoded = ExtendedKind::decode(tables, row.value);
            EXPECT_EQ(decoded.verdict, row.verdict);
            if (decoded) {
                ExtendedKind::serialize(*decoded.list);
            }
        }
        EXPECT_EQ(sizes(tables), Sizes{});
    }
}

TEST(CommunityTablesThreads, HotListsAreInsertedAndRemovedUntilNoneIsLeft) {
    PointerMode const mode(true);
    CommunityTables const tables;
    std::mt19937 random(3);
    std::vector<std::string> values;
    for (std::size_t members = 1; members <= 4; ++members) {
        values.push_back(valueOf<Ip6Kind>(random, 2 * members)); // of 20, 8 and 4 octets each
    }
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 4; ++seed) {
        threads.emplace_back([&, seed] {
            std::mt19937 own(seed);
            std::vector<std::tuple<CommList::PtrConst, ExtCommList::PtrConst,
                                   ExtCommIp6List::PtrConst, LargeCommList::PtrConst>>
                held(4);
            for (int i = 0; i < 3000; ++i) {
                auto const& value = values[own() % values.size()];
                auto& [standard, extended, ip6, large] = held[own() % held.size()];
                standard = StandardKind::decode(tables, value).list;
                extended = own() % 2 == 0 ? internMembers<ExtendedKind>(tables, value)
                                          : ExtendedKind::decode(tables, value).list;
                ip6 = own() % 3 == 0 ? nullptr : Ip6Kind::decode(tables, value).list;
                large = LargeKind::decode(tables, value.substr(0, value.size() / 12 * 12)).list;
                ASSERT_TRUE(standard && extended && large);
                ASSERT_EQ(ExtendedKind::decode(tables, canonical<ExtendedKind>(value)).list,
                          extended);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(tables.commListDedupTable()->dedupTable()->size(), 0U);
    EXPECT_EQ(tables.extCommListDedupTable()->dedupTable()->size(), 0U);
    EXPECT_EQ(tables.extCommIp6ListDedupTable()->dedupTable()->size(), 0U);
    EXPECT_EQ(tables.largeCommListDedupTable()->dedupTable()->size(), 0U);
    EXPECT_EQ(tables.extCommDedupTable()->dedupHashTable()->size(), 0U);
    EXPECT_EQ(tables.extCommIp6DedupTable()->dedupHashTable()->size(), 0U);
}

} // namespace
