#include "Allocations.h"
#include "PointerMode.h"

#include <Acl/CommunityValue.h>
#include <Kel/DumpContext.h>
#include <Mox/CompactVector.h>
#include <Mox/Exception.h>
#include <Routing/RouteMap/PosixRegex.h>
#include <VoBgp/BgpPathAttributeEnums.h>
#include <VoBgp/VoBgpCommunityList.h>
#include <VoBgp/VoBgpCommunityListImpl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <locale>
#include <new>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Routing::Bgp;
using Acl::CommunityValue;
using Routing::RouteMap::PosixRegex;

// ---- CompactVector ------------------------------------------------------------------------------

/// The same random steps on a vector of the standard library, whose element `make` gives.
template <class T, class Make>
void compareWithVector(Make make) {
    std::mt19937 random(1);
    Mox::CompactVector<T> vector;
    std::vector<T> model;
    for (int step = 0; step < 5000; ++step) {
        auto const amount = random() % 9;
        switch (random() % 7) {
        case 0:
            vector.resize(amount);
            model.resize(amount);
            break;
        case 1:
            vector.shrinkToFit();
            ASSERT_EQ(vector.capacity(), vector.size());
            break;
        case 2:
            if (vector.size() < 100) {
                auto const copy = model;
                model.insert(model.end(), copy.begin(), copy.end());
                vector.append(vector); // its own elements
            }
            break;
        case 3:
            vector = Mox::CompactVector<T>(vector);
            break;
        case 4:
            vector.reserve(amount);
            ASSERT_GE(vector.capacity(), amount);
            break;
        default:
            vector.pushBack(make(amount));
            model.push_back(make(amount));
        }
        ASSERT_TRUE(std::equal(vector.begin(), vector.end(), model.begin(), model.end()));
    }
}

TEST(CompactVector, AgreesWithTheStandardOne) {
    compareWithVector<U32>([](auto number) { return static_cast<U32>(number); });
    std::vector<CommList::Ptr> objects(9);
    std::generate(objects.begin(), objects.end(), commListFactory);
    compareWithVector<CommList::Ptr>([&](auto number) { return objects[number]; });
    for (auto const& object : objects) {
        EXPECT_EQ(object->referenceCount(), 1U) << "an element was lost or destroyed twice";
    }
}

TEST(CompactVector, StaysAsItWasWhereMemoryRunsOut) {
    auto const object = commListFactory();
    Mox::CompactVector<CommList::Ptr> vector;
    vector.resize(7);
    vector[3] = object;
    vector.reserve(8);
    vector.pushBack(object);
    auto const* const place = vector.data();
    {
        FailingAllocations const failing(0);
        EXPECT_THROW(vector.pushBack(object), std::bad_alloc);
        EXPECT_THROW(vector.append(vector), std::bad_alloc);
        EXPECT_THROW(vector.resize(9), std::bad_alloc);
        EXPECT_THROW(vector.reserve(9), std::bad_alloc);
        vector.shrinkToFit(); // full: nothing to do
        vector.resize(6);
        EXPECT_THROW(vector.shrinkToFit(), std::bad_alloc);
    }
    EXPECT_EQ(vector.data(), place);
    EXPECT_EQ(vector.size(), 6U);
    EXPECT_EQ(vector.capacity(), 8U);
    EXPECT_EQ(object->referenceCount(), 2U);
    EXPECT_THROW(vector.reserve(std::size_t{1} << 32), std::length_error);
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

// What a kind of list is, spelled out once more in the plainest way.
struct Standard {
    using List = CommList;
    using Value = U32;
    static constexpr char type = 8;
    static std::vector<U32> words(Value value) { return {value}; }
    static std::string text(Value value) {
        auto const name = CommList::wellKnownName(value);
        return name.empty() ? std::to_string(value >> 16) + ':' + std::to_string(value & 0xffff)
                            : name.str();
    }
    static Value random(std::mt19937& random) {
        U32 const values[] = {0, 0xffffff01, 0xffffff02, 0xffffff03, 0xffffff04, 0xffff0000};
        return random() % 3 == 0 ? values[random() % 6] : static_cast<U32>(random());
    }
    static auto list() { return commListFactory(); }
    static auto table() { return commListDedupTableFactory(); }
};

struct Large {
    using List = LargeCommList;
    using Value = CommunityValue;
    static constexpr char type = 32;
    static std::vector<U32> words(Value const& value) {
        return {value.globalAdministrator(), value.localData1(), value.localData2()};
    }
    static std::string text(Value const& value) {
        return std::to_string(value.globalAdministrator()) + ':' +
               std::to_string(value.localData1()) + ':' + std::to_string(value.localData2());
    }
    /// Few numbers, high bits among them, so that each field decides about the order.
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
U32 expectedHash(std::set<typename Kind::Value> const& values) {
    U32 hash = 0;
    for (auto const& value : values) {
        for (auto const word : Kind::words(value)) {
            for (int shift = 0; shift < 32; shift += 8) {
                hash += word >> shift & 0xff;
                hash += hash << 10;
                hash ^= hash >> 6;
            }
        }
    }
    hash += hash << 3;
    hash ^= hash >> 11;
    return hash + (hash << 15);
}

template <class Kind>
std::string expectedAttribute(std::set<typename Kind::Value> const& values) {
    std::string octets;
    for (auto const& value : values) {
        for (auto const word : Kind::words(value)) {
            for (int shift = 24; shift >= 0; shift -= 8) {
                octets.push_back(static_cast<char>(word >> shift));
            }
        }
    }
    auto const size = octets.size();
    std::string const length = {static_cast<char>(size >> 8), static_cast<char>(size)};
    return size > 255 ? std::string("\xd0") + Kind::type + length + octets
                      : std::string("\xc0") + Kind::type + length.substr(1) + octets;
}

template <class Kind>
std::string expectedText(std::set<typename Kind::Value> const& values) {
    std::string text;
    for (auto const& value : values) {
        text += (text.empty() ? "" : " ") + Kind::text(value);
    }
    return text;
}

template <class Kind, class Values>
auto listOf(Values const& values) {
    auto list = Kind::list();
    for (auto const& value : values) {
        list->commIs(value);
    }
    return list;
}

class CommLists : public testing::TestWithParam<bool> {
    PointerMode const mode_{GetParam()};

  protected:
    template <class Kind>
    void compareWithModel(std::vector<typename Kind::Value> values) {
        auto const table = Kind::table();
        std::set<typename Kind::Value> const model(values.begin(), values.end());
        auto const list = listOf<Kind>(values)->dedup(table.get());
        EXPECT_TRUE(std::equal(list->begin(), list->end(), model.begin(), model.end()));
        EXPECT_TRUE(std::is_sorted(list->begin(), list->end(), [](auto const& a, auto const& b) {
            return Kind::words(a) < Kind::words(b);
        }));
        EXPECT_EQ(list->comms(), model.size());
        EXPECT_EQ(list->empty(), model.empty());
        EXPECT_EQ(list->hash(), model.empty() ? 0 : expectedHash<Kind>(model));
        EXPECT_EQ(list->serialize().str(), expectedAttribute<Kind>(model));
        EXPECT_EQ(list->toStrep().str(), expectedText<Kind>(model));
        auto const snapshot = list->commSnapshot();
        EXPECT_EQ(snapshot->comms(), model.size());
        for (auto const& value : model) {
            EXPECT_TRUE(list->comm(value));
            EXPECT_TRUE(snapshot->comm(value));
        }
        if constexpr (std::is_same_v<Kind, Standard>) {
            EXPECT_EQ(list->noExport(), model.contains(communityNoExport));
            EXPECT_EQ(list->noAdvertise(), model.contains(communityNoAdvertise));
            EXPECT_EQ(list->noExportSubconfed(), model.contains(communityNoExportSubconfed));
        }
        for (int i = 0; i < 20; ++i) {
            auto const value = Kind::random(random);
            EXPECT_EQ(list->comm(value), model.contains(value));
        }
        std::shuffle(values.begin(), values.end(), random);
        EXPECT_EQ(listOf<Kind>(values)->dedup(table.get()), list);
        std::span<typename Kind::Value const> const content(list->begin(), list->end());
        EXPECT_EQ(
            table->dedupTable()->lookupByContent(Kel::DedupContentHandle(content), list->hash()),
            list.get());
        if (!values.empty()) {
            auto const fewer = listOf<Kind>(content.subspan(1))->dedup(table.get());
            EXPECT_NE(fewer, list);
            EXPECT_FALSE(list->compare(fewer.get()));
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

TEST_P(CommLists, AgreeWithASet) {
    compareRandomListsWithModel<Standard>();
    compareRandomListsWithModel<Large>();
}

TEST_P(CommLists, EqualContentsShareOneObject) {
    auto const table = commListDedupTableFactory();
    EXPECT_EQ(table->dedupTable()->isThreadSafe(), GetParam());
    auto first = listOf<Standard>(std::vector<U32>{6553601, 6553601, 65537})->dedup(table.get());
    EXPECT_EQ(first->comms(), 2U);
    EXPECT_EQ((*first)[0], 65537U);
    EXPECT_EQ((*first)[1], 6553601U);
    EXPECT_EQ(listOf<Standard>(std::vector<U32>{65537, 6553601})->dedup(table.get()), first);
    EXPECT_TRUE(first->isDeduped());
    EXPECT_TRUE(first->hasNotificationActive());
    auto const dump = Mox::makeCounted<Kel::StringDumpContext>();
    table->dumpState(dump, 0);
    table->dumpState(dump, 3);
    EXPECT_EQ(dump->text().find("DedupTable\n  "), 0U) << dump->text();
    EXPECT_NE(dump->text().find("\n   DedupTable\n     "), std::string::npos) << dump->text();
    EXPECT_NE(dump->text().find("1:1 100:1"), std::string::npos) << dump->text();
    first = nullptr;
    EXPECT_EQ(table->dedupTable()->size(), 0U);
}

TEST_P(CommLists, CanBeInternedAgainWhenMemoryHasRunOut) {
    auto const table = largeCommListDedupTableFactory();
    std::vector<CommunityValue> const values = {{3, 0, 0}, {1, 0, 0}, {3, 0, 0}, {2, 0, 0},
                                                {5, 0, 0}, {4, 0, 0}, {1, 0, 0}};
    for (long succeeding = 0;; ++succeeding) {
        auto const list = listOf<Large>(values);
        LargeCommList::PtrConst interned;
        try {
            FailingAllocations const failing(succeeding);
            interned = list->dedup(table.get());
        } catch (std::bad_alloc const&) {
            EXPECT_EQ(table->dedupTable()->size(), 0U);
        }
        if (interned) {
            EXPECT_GT(succeeding, 0) << "nothing had to be allocated";
            break;
        }
        EXPECT_EQ(list->dedup(table.get())->toStrep(), "1:0:0 2:0:0 3:0:0 4:0:0 5:0:0");
    }
}

TEST_P(CommLists, OfAnyLengthThatAnAttributeHolds) {
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
    PosixRegex const last(" 16000:65535$");
    EXPECT_TRUE(list->matchCommunitiesRegex(&last));
    EXPECT_EQ(longList(16'383)->serialize().size(), 65'536U);
    EXPECT_DEATH(longList(16'384)->serialize(), "Assertion 'attrSize <= 0xFFFF' failed");
}

TEST(CommListContracts, Assertions) {
    auto const table = commListDedupTableFactory();
    auto const open = commListFactory();
    auto const frozen = commListFactory();
    auto const interned = frozen->dedup(table.get());
    // These need no frozen list.
    EXPECT_TRUE(open->empty());
    EXPECT_EQ(open->comms(), 0U);
    char const* const sorted = "VoBgpCommunityList.cpp:[0-9]+: [a-zA-Z]+: Assertion "
                               "'commVectorSorted\\(\\)' failed";
    EXPECT_DEATH(open->comm(1), sorted);
    EXPECT_DEATH(open->hash(), sorted);
    EXPECT_DEATH(open->compare(interned.get()), sorted);
    EXPECT_DEATH(open->noExport(), sorted);
    EXPECT_DEATH(open->noAdvertise(), sorted);
    EXPECT_DEATH(open->noExportSubconfed(), sorted);
    EXPECT_DEATH(frozen->commIs(1), "commIs: Assertion '!commVectorSorted\\(\\)' failed");
    EXPECT_DEATH((*interned)[0], "Assertion 'index < comms\\(\\)' failed");
}

// ---- Regular expressions ------------------------------------------------------------------------

TEST(CommListRegex, MatchesNumbersOrElseNames) {
    auto const table = commListDedupTableFactory();
    std::vector<U32> const values = {0xffffff01, 0xfde80064, 65537};
    auto const list = listOf<Standard>(values)->dedup(table.get());
    auto const empty = commListFactory()->dedup(table.get());
    auto const largeTable = largeCommListDedupTableFactory();
    std::vector<CommunityValue> const largeValues = {{65536, 1, 2}, {7, 8, 9}};
    auto const large = listOf<Large>(largeValues)->dedup(largeTable.get());
    struct {
        char const* pattern;
        bool matches;
        bool matchesEmpty;
        bool matchesLarge;
    } const rows[] = {
        {"^1:1 65000:100 65535:65281$", true, false, false},
        {"^1:1 65000:100 no-export$", true, false, false},
        {"no-export", true, false, false},
        {"65281", true, false, false},
        // Neither pass has both.
        {"65281|no-advertise", true, false, false},
        {"65535:65281.*no-export", false, false, false},
        {"^$", false, true, false},
        {"", true, true, true},
        {"^7:8:9 65536:1:2$", false, false, true},
        {"1\\.0", false, false, false},
        // Extended syntax.
        {"(^| )[0-9]+:8:9( |$)", false, false, true},
    };
    for (auto const& row : rows) {
        PosixRegex const regex(row.pattern);
        EXPECT_EQ(list->matchCommunitiesRegex(&regex), row.matches) << row.pattern;
        EXPECT_EQ(empty->matchCommunitiesRegex(&regex), row.matchesEmpty) << row.pattern;
        EXPECT_EQ(large->matchCommunitiesRegex(&regex), row.matchesLarge) << row.pattern;
    }
}

TEST(PosixRegex, SaysWhatIsWrongWithAPattern) {
    for (auto const& pattern : {String("a("), String("[z-a]"), String("a{2,1}"), String("\\"),
                                String(std::string_view("a\0b", 3))}) {
        try {
            PosixRegex const regex(pattern);
            FAIL() << pattern;
        } catch (Mox::Exception const& error) {
            EXPECT_GT(std::string_view(error.what()).size(), 5U);
            EXPECT_EQ(std::string_view(error.what()).find('\0'), std::string_view::npos);
        }
    }
    EXPECT_EQ(PosixRegex("a.c").execute(String("xabcx")), 0);
    EXPECT_NE(PosixRegex("^a.c").execute("xabcx"), 0);
}

// ---- Text of lists ------------------------------------------------------------------------------

TEST(CommListText, KnowsNoLocaleAndNoFlags) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '\''; }
        std::string do_grouping() const override { return "\1"; }
    };
    std::locale const before = std::locale::global(std::locale(std::locale(), new Grouping));
    std::ostringstream os;
    os << std::hex << std::showbase << std::setfill('#') << std::left << std::setw(40);
    auto const flags = os.flags();
    auto const list = listOf<Standard>(std::vector<U32>{0xfde80064, 0xffffff01});
    auto const large = listOf<Large>(std::vector<CommunityValue>{{4200000000, 1, 2}});
    os << list.get();
    EXPECT_EQ(os.width(), 40);
    os << large.get() << static_cast<CommList const*>(nullptr)
       << static_cast<LargeCommList const*>(nullptr);
    std::locale::global(before);
    EXPECT_EQ(os.str(), "65000:100 no-export4200000000:1:2");
    EXPECT_EQ(os.flags(), flags);
    EXPECT_EQ(os.fill(), '#');
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
        // A formatter that leaves the stream in a mess.
        auto const messy = [](std::ostream& out, int value) {
            out << std::oct << std::setfill('0') << std::setw(3) << value;
        };
        EXPECT_EQ(&formatCommList(os, list, messy, row.bracketed, ", "), &os);
        EXPECT_EQ(os.str(), row.text);
        EXPECT_EQ(os.flags(), std::ostringstream().flags());
        EXPECT_EQ(os.fill(), ' ');
    }
}

TEST(CommListText, OfEveryLengthInPieces) {
    for (std::size_t const piece : {1U, 127U, 600U}) {
        CommListText text;
        std::string expected;
        while (expected.size() < 2000) {
            std::string const part(piece, static_cast<char>('a' + expected.size() % 26));
            text.append(part);
            expected += part;
            ASSERT_TRUE(expected.size() % 3 != 0 || text.text() == expected);
        }
        EXPECT_EQ(text.text(), expected);
        EXPECT_EQ(text.terminated(), expected);
    }
}

// ---- Snapshots ----------------------------------------------------------------------------------

TEST(CommListSnapshot, IsEditedByKeyAndReadInOrder) {
    auto const snapshot = commListSnapshotFactory();
    EXPECT_TRUE(snapshot->hasNotificationActive());
    for (U32 const value : {65537U, 0xffffff01U, 5U}) {
        snapshot->commIs(value, true);
    }
    snapshot->commIs(65537, false);
    EXPECT_EQ(snapshot->comms(), 3U);
    EXPECT_FALSE(snapshot->comm(65537));
    EXPECT_TRUE(snapshot->commHas(65537));
    EXPECT_FALSE(snapshot->comm(6));
    EXPECT_FALSE(snapshot->commHas(6));
    snapshot->commDel(6);
    std::vector<std::pair<U32, bool>> read;
    snapshot->forEachComm([&](CommListSnapshot::MoxComm const& comm) {
        read.emplace_back(comm.key(), comm.value());
        snapshot->commDel(comm.key());
    });
    EXPECT_EQ(read,
              (std::vector<std::pair<U32, bool>>{{5, true}, {65537, false}, {0xffffff01, true}}));
    EXPECT_EQ(snapshot->comms(), 0U);
}

TEST(CommListSnapshot, TellsItsObserversWhatChanged) {
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
    EXPECT_EQ(observer.heard, "+2-2-1x1x2");
    // The last reference goes in the middle of it.
    snapshot->commIs({0, 0, 4}, true);
    snapshot->commIs({0, 0, 5}, true);
    observer.leaves = true;
    auto* const raw = snapshot.get();
    snapshot = nullptr;
    raw->commDelAll();
    EXPECT_EQ(observer.heard, "+2-2-1x1x2+4+5x4");
}

} // namespace
