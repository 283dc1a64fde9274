#include "support/Allocations.h"
#include "support/Expectations.h"
#include "support/PointerMode.h"

#include <Acl/CommunityValue.h>
#include <Mox/CompactVector.h>
#include <Mox/Exception.h>
#include <Routing/RouteMap/PosixRegex.h>
#include <VoBgp/BgpPathAttributeEnums.h>
#include <VoBgp/VoBgpCommunityList.h>
#include <VoBgp/VoBgpCommunityListImpl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <new>
#include <optional>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Routing::Bgp;
using Acl::CommunityValue;
using Routing::RouteMap::PosixRegex;

// ---- CompactVector ------------------------------------------------------------------------------

TEST(CompactVector, IsUnchangedIfAllocationFails) {
    auto const object = commListFactory();
    Mox::CompactVector<CommList::Ptr> vector;
    vector.reserve(8);
    vector.resize(7);
    vector.push_back(object);
    auto const* const place = vector.data();
    {
        FailingAllocations const failing(0);
        EXPECT_THROW(vector.push_back(object), std::bad_alloc);
        EXPECT_THROW(vector.append(vector), std::bad_alloc);
        EXPECT_THROW(vector.resize(9), std::bad_alloc);
        EXPECT_THROW(vector.reserve(9), std::bad_alloc);
        vector.shrink_to_fit(); // full: no effect
    }
    EXPECT_EQ(vector.data(), place);
    EXPECT_EQ(vector.size(), 8U);
    EXPECT_EQ(object->referenceCount(), 2U);
    EXPECT_THROW(vector.reserve(std::size_t{1} << 32), std::length_error);
}

TEST(CompactVector, AppendsItselfShrinksAndErases) {
    Mox::CompactVector<CommList::Ptr> vector;
    vector.push_back(commListFactory());
    vector.push_back(commListFactory());
    vector.shrink_to_fit();
    EXPECT_EQ(vector.capacity(), 2U);
    vector.reserve(3);
    vector.append(vector);
    ASSERT_EQ(vector.size(), 4U);
    EXPECT_GE(vector.capacity(), 4U);
    EXPECT_TRUE(std::equal(vector.begin(), vector.begin() + 2, vector.begin() + 2));
    EXPECT_EQ(vector.begin()[0]->referenceCount(), 2U);
    vector.reserve(9);
    vector.shrink_to_fit();
    EXPECT_EQ(vector.capacity(), 4U);
    auto const last = vector.begin()[3];
    vector.erase(vector.begin() + 1, vector.begin() + 3);
    ASSERT_EQ(vector.size(), 2U);
    EXPECT_EQ(vector.begin()[1], last);
}

// ---- Values -------------------------------------------------------------------------------------

TEST(CommListText, StandardValues) {
    struct {
        U32 value;
        char const* name;
        char const* number;
    } const rows[] = {
        {0x00000000, "internet", "0:0"},          {0x00000001, "", "0:1"},
        {0xffffff01, "no-export", "65535:65281"}, {0xffffff02, "no-advertise", "65535:65282"},
        {0xffffff03, "local-as", "65535:65283"},  {0xffffff04, "", "65535:65284"},
        {0xffff0000, "GSHUT", "65535:0"},         {0xfde80064, "", "65000:100"},
        {0xffffffff, "", "65535:65535"},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(CommList::wellKnownName(row.value), row.name);
        EXPECT_EQ(CommList::getStringValue(row.value), row.number);
        Mox::LocalCharBuffer<20> named;
        CommunityFormatter<true>::format(named, row.value);
        EXPECT_EQ(named.text(), *row.name != '\0' ? row.name : row.number);
    }
}

TEST(CommListText, LargeValues) {
    struct {
        CommunityValue value;
        char const* plain;
        char const* dotted;
    } const rows[] = {
        {{0, 0, 0}, "0:0:0", "0:0:0"},
        {{65535, 65536, 7}, "65535:65536:7", "65535:65536:7"},
        {{65536, 1, 2}, "65536:1:2", "1.0:1:2"},
        {{4200000000, 1, 2}, "4200000000:1:2", "64086.59904:1:2"},
        {{0xffffffff, 0xffffffff, 0xffffffff},
         "4294967295:4294967295:4294967295",
         "65535.65535:4294967295:4294967295"},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(LargeCommList::getStringValue(row.value), row.plain);
        EXPECT_EQ(LargeCommList::displayString(row.value, false), row.plain);
        EXPECT_EQ(LargeCommList::displayString(row.value, true), row.dotted);
        EXPECT_EQ(strepToValue<CommunityValue>(valueToStrep(row.value)), row.value);
    }
    EXPECT_EQ(valueToStrep(CommunityValue(1, 2, 3)),
              "Value('Acl::CommunityValue', ** {'globalAdministrator': 1, 'localData1': 2, "
              "'localData2': 3})");
}

// ---- Lists beside a naive model -----------------------------------------------------------------

struct Standard {
    using Value = U32;
    static constexpr char type = 8;
    static std::vector<U32> words(Value value) { return {value}; }
    static std::string text(Value value) {
        auto const name = CommList::wellKnownName(value);
        return name.empty() ? CommList::getStringValue(value).str() : name.str();
    }
    static Value random(std::mt19937& random) {
        U32 const values[] = {0, 0xffffff01, 0xffffff02, 0xffffff03, 0xffffff04, 0xffff0000};
        return random() % 3 == 0 ? values[random() % 6] : static_cast<U32>(random());
    }
    static auto list() { return commListFactory(); }
    static auto table() { return commListDedupTableFactory(); }
};

struct Large {
    using Value = CommunityValue;
    static constexpr char type = 32;
    static std::vector<U32> words(Value const& value) {
        return {value.globalAdministrator(), value.localData1(), value.localData2()};
    }
    static std::string text(Value const& value) {
        return LargeCommList::getStringValue(value).str();
    }
    /// Few numbers, some with high bits, so that each field affects the order.
    static Value random(std::mt19937& random) {
        auto const number = [&] { return static_cast<U32>(random() % 3 * 0x7fffffff); };
        auto const first = number();
        auto const second = number();
        return {first, second, number()};
    }
    static auto list() { return largeCommListFactory(); }
    static auto table() { return largeCommListDedupTableFactory(); }
};

template <class Kind>
auto listOf(std::span<typename Kind::Value const> values) {
    auto list = Kind::list();
    for (auto const& value : values) {
        list->commIs(value);
    }
    return list;
}

template <class Kind>
auto listOf(std::vector<typename Kind::Value> const& values) {
    return listOf<Kind>(std::span(values));
}

/// The expected content of a list, computed naively.
template <class Kind>
struct Model {
    explicit Model(std::vector<typename Kind::Value> const& members) {
        for (auto const& value : members) {
            byWords.emplace(Kind::words(value), value);
        }
        for (auto const& [words, value] : byWords) {
            values.push_back(value);
            text += (text.empty() ? "" : " ") + Kind::text(value);
            for (auto const word : words) {
                for (int shift = 0; shift < 32; shift += 8) {
                    hash += word >> shift & 0xff;
                    hash += hash << 10;
                    hash ^= hash >> 6;
                    octets.push_back(static_cast<char>(word >> (24 - shift)));
                }
            }
        }
        hash += hash << 3;
        hash ^= hash >> 11;
        hash += hash << 15;
        auto const size = octets.size();
        std::string const length = {static_cast<char>(size >> 8), static_cast<char>(size)};
        octets = size > 255 ? std::string("\xd0") + Kind::type + length + octets
                            : std::string("\xc0") + Kind::type + length.substr(1) + octets;
    }

    bool has(typename Kind::Value const& value) const {
        return byWords.contains(Kind::words(value));
    }

    std::map<std::vector<U32>, typename Kind::Value> byWords;
    std::vector<typename Kind::Value> values;
    std::string text;
    std::string octets;
    U32 hash = 0;
};

class CommLists : public testing::TestWithParam<bool> {
    PointerMode const mode_{GetParam()};

  protected:
    template <class Kind>
    void compareWithModel(std::vector<typename Kind::Value> values) {
        auto const table = Kind::table();
        Model<Kind> const model(values);
        auto const list = listOf<Kind>(values)->dedup(table.get());
        EXPECT_EQ(std::vector(list->begin(), list->end()), model.values);
        EXPECT_EQ(list->comms(), model.values.size());
        EXPECT_EQ(list->empty(), model.values.empty());
        EXPECT_EQ(list->hash(), model.hash);
        EXPECT_EQ(list->serialize().str(), model.octets);
        EXPECT_EQ(list->toStrep().str(), model.text);
        auto const snapshot = list->commSnapshot();
        EXPECT_EQ(snapshot->comms(), model.values.size());
        for (auto const& value : model.values) {
            EXPECT_TRUE(list->comm(value) && snapshot->comm(value));
        }
        for (int i = 0; i < 20; ++i) {
            auto const value = Kind::random(random);
            EXPECT_EQ(list->comm(value), model.has(value));
        }
        if constexpr (std::is_same_v<Kind, Standard>) {
            EXPECT_EQ(list->noExport(), model.has(communityNoExport));
            EXPECT_EQ(list->noAdvertise(), model.has(communityNoAdvertise));
            EXPECT_EQ(list->noExportSubconfed(), model.has(communityNoExportSubconfed));
        }
        std::shuffle(values.begin(), values.end(), random);
        EXPECT_EQ(listOf<Kind>(values)->dedup(table.get()), list);
        std::span<typename Kind::Value const> const content(list->begin(), list->end());
        EXPECT_EQ(table->dedupTable()->lookupByContent(
                      Kel::DedupContentHandle(content, list->placementHash()), list->hash()),
                  list.get());
        if (!values.empty()) {
            auto const shorter =
                listOf<Kind>(content.first(content.size() - 1))->dedup(table.get());
            EXPECT_NE(shorter, list);
            EXPECT_FALSE(shorter->compareByContent(Kel::DedupContentHandle(content)));
        }
        EXPECT_EQ(table->dedupTable()->size(), 1U);
    }

    template <class Kind>
    void compareRandomListsWithModel() {
        for (std::size_t size = 0; size < 90; ++size) {
            std::vector<typename Kind::Value> values(size);
            std::generate(values.begin(), values.end(), [this] { return Kind::random(random); });
            compareWithModel<Kind>(values);
        }
    }

    std::mt19937 random{7};
};
INSTANTIATE_TEST_SUITE_P(Mode, CommLists, bothPointerModes(), pointerModeName);

TEST_P(CommLists, AgreeWithTheModel) {
    compareRandomListsWithModel<Standard>();
    compareRandomListsWithModel<Large>();
}

TEST_P(CommLists, StayInTheirTableAndDumpUntilTheLastRelease) {
    auto const table = commListDedupTableFactory();
    EXPECT_EQ(table->dedupTable()->isThreadSafe(), GetParam());
    auto list = listOf<Standard>({6553601, 65537})->dedup(table.get());
    EXPECT_EQ((*list)[1], 6553601U);
    EXPECT_TRUE(list->isDeduped() && list->hasNotificationActive());
    auto const dump = dumpOf(*table, 3);
    EXPECT_TRUE(dump.starts_with("   DedupTable\n     Kel::")) << dump;
    EXPECT_NE(dump.find("1:1 100:1"), dump.npos) << dump;
    auto const largeTable = largeCommListDedupTableFactory();
    auto const large = listOf<Large>({{64496, 1, 2}})->dedup(largeTable.get());
    EXPECT_NE(dumpOf(*largeTable, 0).find("64496:1:2"), dump.npos);
    list = nullptr;
    EXPECT_EQ(table->dedupTable()->size(), 0U);
}

TEST_P(CommLists, CanBeInternedAgainAfterAFailedAllocation) {
    auto const table = largeCommListDedupTableFactory();
    long succeeding = 0;
    for (bool failed = true; failed; ++succeeding) {
        auto const list =
            listOf<Large>({{3, 0, 0}, {1, 0, 0}, {3, 0, 0}, {2, 0, 0}, {5, 0, 0}, {4, 0, 0}});
        failed = false;
        try {
            FailingAllocations const failing(succeeding);
            (void)list->dedup(table.get());
        } catch (std::bad_alloc const&) {
            failed = true;
            EXPECT_EQ(table->dedupTable()->size(), 0U);
        }
        EXPECT_EQ(list->dedup(table.get())->toStrep(), "1:0:0 2:0:0 3:0:0 4:0:0 5:0:0");
    }
    EXPECT_GT(succeeding, 1) << "nothing was allocated";
}

template <class List>
bool matches(List const& list, char const* pattern) {
    PosixRegex const regex(pattern);
    return list.matchCommunitiesRegex(&regex);
}

TEST_P(CommLists, SupportEveryLengthOfAnAttribute) {
    auto const table = commListDedupTableFactory();
    auto const longList = [&table](U32 members) {
        auto const list = commListFactory();
        for (U32 i = members; i > 0; --i) {
            list->commIs(i << 16 | 0xffff);
        }
        return list->dedup(table.get());
    };
    auto const list = longList(16'000);
    auto const attribute = list->serialize().str();
    EXPECT_EQ(attribute.size(), 64'004U);
    EXPECT_EQ(attribute.substr(0, 6), std::string("\xd0\x08\xfa\x00\x00\x01", 6));
    auto const text = list->toStrep().str();
    EXPECT_EQ(text.substr(0, 16), "1:65535 2:65535 ");
    EXPECT_EQ(std::count(text.begin(), text.end(), ' '), 15'999);
    EXPECT_TRUE(matches(*list, " 16000:65535$"));
    EXPECT_EQ(longList(16'383)->serialize().size(), 65'536U);
    EXPECT_DEATH(longList(16'384)->serialize(), "Assertion 'attrSize <= 0xFFFF' failed");
}

TEST(CommListContracts, Assertions) {
    auto const table = commListDedupTableFactory();
    auto const open = commListFactory();
    auto const frozen = commListFactory();
    auto const interned = frozen->dedup(table.get());
    // These do not require a frozen list.
    EXPECT_TRUE(open->empty());
    EXPECT_EQ(open->comms(), 0U);
    expectAssertions({
        {"VoBgpCommunityList.cpp:#: comm: Assertion 'commVectorSorted()' failed",
         [&] { open->comm(1); }},
        {"hash: Assertion 'commVectorSorted()' failed", [&] { open->hash(); }},
        {"compare: Assertion 'commVectorSorted()' failed", [&] { open->compare(interned.get()); }},
        {"noExport: Assertion 'commVectorSorted()' failed", [&] { open->noExport(); }},
        {"noAdvertise: Assertion 'commVectorSorted()' failed", [&] { open->noAdvertise(); }},
        {"noExportSubconfed: Assertion 'commVectorSorted()' failed",
         [&] { open->noExportSubconfed(); }},
        {"commIs: Assertion '!commVectorSorted()' failed", [&] { frozen->commIs(1); }},
        {"Assertion 'index < comms()' failed", [&] { (*interned)[0]; }},
    });
}

// ---- Regular expressions ------------------------------------------------------------------------

TEST(CommListRegex, MatchesNumbersOrNames) {
    auto const table = commListDedupTableFactory();
    auto const list = listOf<Standard>({0xffffff01, 0xfde80064, 65537})->dedup(table.get());
    EXPECT_TRUE(matches(*list, "^1:1 65000:100 65535:65281$"));
    EXPECT_TRUE(matches(*list, "^1:1 65000:100 no-export$"));
    EXPECT_TRUE(matches(*list, "65281|no-advertise"));
    EXPECT_FALSE(matches(*list, "65535:65281.*no-export")) << "neither pass has both";
    EXPECT_FALSE(matches(*list, "^$"));
    EXPECT_TRUE(matches(*commListFactory()->dedup(table.get()), "^$"));

    auto const largeTable = largeCommListDedupTableFactory();
    auto const large = listOf<Large>({{65536, 1, 2}, {7, 8, 9}})->dedup(largeTable.get());
    EXPECT_TRUE(matches(*large, "^7:8:9 65536:1:2$"));
    EXPECT_TRUE(matches(*large, "(^| )[0-9]+:8:9( |$)")) << "the extended syntax";
    EXPECT_FALSE(matches(*large, "1\\.0"));
}

class CommListVerdicts : public testing::TestWithParam<bool> {
    PointerMode mode_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Mode, CommListVerdicts, bothPointerModes(), pointerModeName);

/// Creates and destroys lists at the same addresses, more than an expression caches.
TEST_P(CommListVerdicts, AgreeWithTheTextWhateverIsCached) {
    auto const table = commListDedupTableFactory();
    auto const largeTable = largeCommListDedupTableFactory();
    auto const match = [&](PosixRegex const& regex, U32 seed) {
        std::mt19937 random(seed);
        std::vector<CommList::PtrConst> held;
        for (unsigned i = 0; i < 10'000; ++i) {
            auto const value = static_cast<U32>(random() % 100);
            auto const other = static_cast<U32>(random() % 40);
            auto const list = listOf<Standard>({value, other})->dedup(table.get());
            auto const large = listOf<Large>({{value, 0, 0}})->dedup(largeTable.get());
            for (int again = 0; again < 2; ++again) {
                ASSERT_EQ(list->matchCommunitiesRegex(&regex), regex.execute(list->toStrep()) == 0);
                ASSERT_EQ(large->matchCommunitiesRegex(&regex), value % 10 == 7);
            }
            if (i % 2 == 0) {
                held.push_back(list);
            }
        }
    };
    PosixRegex const regex("(7|7:0:0)$");
    std::vector<std::thread> threads;
    for (U32 seed = 1; seed <= (GetParam() ? 3U : 0U); ++seed) {
        threads.emplace_back(match, std::cref(regex), seed);
    }
    match(regex, 0);
    for (auto& thread : threads) {
        thread.join();
    }
}

TEST(CommListText, TakesOneAllocationAndThrowsIfItFails) {
    auto const table = commListDedupTableFactory();
    auto const list = listOf<Standard>({0xffffff01, 0xfde80064, 65537})->dedup(table.get());
    auto const large = listOf<Large>({{4200000000, 1, 2}, {7, 8, 9}});
    auto const whole = [](auto call) { EXPECT_EQ(wholeOrRefused(call), 1); };
    whole([&] { return list->toStrep(); });
    whole([&] { return list->serialize(); });
    whole([&] { return large->toStrep(); });
    whole([&] { return large->serialize(); });
    auto const longList = commListFactory();
    for (U32 i = 0; i < 1000; ++i) {
        longList->commIs(i << 16 | 0xffff);
    }
    EXPECT_LT(wholeOrRefused([&] { return longList->toStrep(); }), 6);
    PosixRegex const regex("^1:1 65000:100");
    EXPECT_LT(wholeOrRefused([&] { return longList->matchCommunitiesRegex(&regex); }), 8)
        << "two texts";
}

TEST(PosixRegex, ReportsPatternErrors) {
    for (auto const& pattern : {String("a("), String("[z-a]"), String("a{2,1}"), String("\\"),
                                String(std::string_view("a\0b", 3))}) {
        auto const error = errorOf<Mox::Exception>([&] { PosixRegex const regex(pattern); });
        EXPECT_NE(error, "no error") << pattern;
        EXPECT_GT(error.size(), 5U);
        EXPECT_EQ(error.find('\0'), error.npos);
    }
    EXPECT_EQ(PosixRegex("a.c").execute(String("xabcx")), 0);
    EXPECT_NE(PosixRegex("^a.c").execute("xabcx"), 0);
}

// ---- Text of lists ------------------------------------------------------------------------------

TEST(CommListText, IgnoresLocaleAndStreamFlags) {
    auto const list = listOf<Standard>({0xfde80064, 0xffffff01});
    auto const large = listOf<Large>({{4200000000, 1, 2}});
    OddStream os;
    os << list.get() << large.get() << static_cast<CommList const*>(nullptr)
       << static_cast<LargeCommList const*>(nullptr);
    EXPECT_EQ(os.str(), "65000:100 no-export4200000000:1:2");
    EXPECT_EQ(stringify(list.get()), "65000:100 no-export");
    EXPECT_TRUE(stringify(static_cast<LargeCommList const*>(nullptr)).empty());
}

TEST(CommListText, BracketsAndSeparators) {
    struct {
        std::optional<std::vector<int>> list;
        bool bracketed;
        char const* text;
    } const rows[] = {
        {std::nullopt, true, "NULL"},       {std::nullopt, false, ""},
        {std::vector<int>{}, true, "[  ]"}, {std::vector<int>{}, false, ""},
        {std::vector{8}, true, "[ 010 ]"},  {std::vector{8, 9}, false, "010, 011"},
    };
    for (auto const& row : rows) {
        std::ostringstream os;
        auto const* const list = row.list ? &*row.list : nullptr;
        // A formatter that changes the stream's state.
        auto const messy = [](std::ostream& out, int value) {
            out << std::oct << std::setfill('0') << std::setw(3) << value;
        };
        EXPECT_EQ(&formatCommList(os, list, messy, row.bracketed, ", "), &os);
        EXPECT_EQ(os.str(), row.text);
        EXPECT_TRUE(os.flags() == std::ostringstream().flags() && os.fill() == ' ');
    }
}

// ---- Snapshots ----------------------------------------------------------------------------------

TEST(CommListSnapshot, IsEditedByKeyAndReadInOrder) {
    auto const snapshot = commListSnapshotFactory();
    EXPECT_TRUE(snapshot->hasNotificationActive());
    for (U32 const value : {65537U, 0xffffff01U, 5U}) {
        snapshot->commIs(value, value == 5);
    }
    EXPECT_TRUE(!snapshot->comm(65537) && snapshot->commHas(65537));
    EXPECT_TRUE(!snapshot->comm(6) && !snapshot->commHas(6));
    std::vector<std::pair<U32, bool>> read;
    snapshot->forEachComm([&](CommListSnapshot::MoxComm const& comm) {
        read.emplace_back(comm.key(), comm.value());
        snapshot->commDel(comm.key());
    });
    EXPECT_EQ(read,
              (std::vector<std::pair<U32, bool>>{{5, true}, {65537, false}, {0xffffff01, false}}));
    EXPECT_EQ(snapshot->comms(), 0U);
}

TEST(CommListSnapshot, NotifiesObserversOfChanges) {
    using Snapshot = Routing::RouteMap::CommListSnapshot;
    struct Observer : Snapshot::Notifiee {
        using Notifiee::Notifiee;
        void handleComm(CommunityValue const& key) override {
            heard += notifier()->commHas(key) ? (notifier()->comm(key) ? "+" : "-") : "x";
            heard += std::to_string(key.localData2());
            if (leaves) {
                notifierIs(nullptr);
            }
        }
        std::string heard;
        bool leaves = false;
    };
    auto snapshot = Routing::RouteMap::commListSnapshotFactory();
    Observer observer(snapshot);
    snapshot->commIs({0, 0, 2}, true);
    snapshot->commIs({0, 0, 2}, true);
    snapshot->commIs({0, 0, 2}, false);
    snapshot->commIs({0, 0, 1}, false);
    snapshot->commDel({0, 0, 3});
    snapshot->commDelAll();
    EXPECT_EQ(std::exchange(observer.heard, ""), "+2-2-1x1x2");
    // The last reference is released during the visit.
    snapshot->commIs({0, 0, 4}, true);
    snapshot->commIs({0, 0, 5}, true);
    observer.leaves = true;
    auto* const raw = snapshot.get();
    snapshot = nullptr;
    raw->commDelAll();
    EXPECT_EQ(observer.heard, "+4+5x4");
}

} // namespace
