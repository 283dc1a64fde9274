#include "support/Allocations.h"
#include "support/Expectations.h"
#include "support/PointerMode.h"

#include <Lumo/AutonomousSystem.h>
#include <Lumo/Ip6Addr.h>
#include <Lumo/IpAddr.h>
#include <Mox/CharBuffer.h>
#include <Mox/Export.h>
#include <Mox/Hash.h>
#include <Mox/HashMap.h>
#include <Mox/Notifiee.h>
#include <Mox/OrderedMap.h>
#include <Mox/Ptr.h>
#include <Mox/String.h>
#include <Mox/TextStream.h>
#include <Mox/Type.h>
#include <Routing/Bgp/RouteTarget.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace {

using Mox::U32;
using Mox::U64;

// ---- Counted objects ----------------------------------------------------------------------------

/// An observable object that reports its destruction.
class Thing : public Mox::PtrInterface {
  public:
    MOX_COUNTED(Thing)

    explicit Thing(std::string* log = nullptr)
      : log_(log)
      , notifieeList_(*this) {}
    ~Thing() override { record(" destroyed"); }

    Mox::NotifieeList* notifieeList() const noexcept override { return &notifieeList_; }
    void change(int key) { notifieeList_.notify(0, &key); }

    std::function<void(Thing&)> atZero;

  protected:
    void onZeroReferences() noexcept override {
        record(" zero");
        if (atZero) {
            atZero(*this);
        }
    }

  private:
    void record(char const* what) {
        if (log_ != nullptr) {
            *log_ += what;
        }
    }
    std::string* log_;
    mutable Mox::NotifieeList notifieeList_;
};

Mox::Type const& Thing::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Thing", {});
    return type;
}

class CountedObjects : public testing::TestWithParam<bool> {
    PointerMode const mode_{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(Mode, CountedObjects, bothPointerModes(), pointerModeName);

TEST_P(CountedObjects, PointersShareOneObject) {
    std::string log;
    auto thing = Mox::makeCounted<Thing>(&log);
    EXPECT_EQ(thing->referenceCount(), 1U);
    Thing::PtrConst copy = thing;
    auto moved = std::move(thing);
    EXPECT_FALSE(thing);
    moved = Thing::Ptr(moved);
    EXPECT_EQ(moved->referenceCount(), 2U) << "moves and self-assignment do not change the count";
    moved = nullptr;
    auto const& self = copy;
    copy = self;
    EXPECT_EQ(log, "");
    copy = nullptr;
    EXPECT_EQ(log, " zero destroyed");
}

TEST_P(CountedObjects, TheZeroHookMayCreatePointers) {
    std::string log;
    auto thing = Mox::makeCounted<Thing>(&log);
    thing->atZero = [](Thing& self) {
        Thing::Ptr const first(&self);
        Thing::PtrConst const second = first;
        EXPECT_EQ(self.referenceCount(), 3U);
    };
    thing = nullptr;
    EXPECT_EQ(log, " zero destroyed");
}

TEST_P(CountedObjects, StringsShareTheirOctets) {
    EXPECT_STREQ(Mox::String().c_str(), "");
    EXPECT_EQ(Mox::String(), Mox::String(""));
    std::string_view const text("a\0b", 3);
    Mox::String const octets(text);
    auto copy = octets;
    EXPECT_TRUE(copy.isSameObject(octets));
    copy = "other";
    EXPECT_EQ(octets, text);
    EXPECT_LT(octets, copy);
    EXPECT_EQ(octets.end().offset(), 3U);
}

TEST(CountedObjects, HoldsPassTheLastReferenceOutwards) {
    std::string log;
    auto thing = Mox::makeCounted<Thing>(&log);
    {
        Mox::ScopedHold const outer(*thing);
        {
            Mox::ScopedHold const inner(*thing);
            thing = nullptr;
        }
        EXPECT_EQ(log, "");
    }
    EXPECT_EQ(log, " zero destroyed");
}

TEST(CountedObjectsDeathTest, ContractsAreAsserted) {
    expectAssertions(
        {{"platform/Mox/PtrInterface.cpp:#: ~PtrInterface: Assertion 'no owner is left' failed",
          [] {
              auto const thing = Mox::makeCounted<Thing>();
              auto const other = thing;
              delete thing.get();
          }},
         {"releaseSlowly: Assertion 'no reference outlives the last' failed", [] {
              Thing::Ptr kept;
              auto thing = Mox::makeCounted<Thing>();
              thing->atZero = [&](Thing& self) { kept = Thing::Ptr(&self); };
              thing = nullptr;
          }}});
}

TEST(CountedObjectsDeathTest, TheFloorCountsNotifiersUntilTheObjectLeavesItsTable) {
    using Mox::CountWord;
    CountWord word;
    word.enterTable(7, true);
    word.insertionAnnounced();
    EXPECT_FALSE(word.retainIfSettledIn(CountWord::SettledIn(8))) << "not in that table";
    for (U32 left = CountWord::maximumNotifiers; left != 0; --left) {
        ASSERT_TRUE(word.retainForNotifier());
    }
    CountWord detached;
    detached.enterTable(7, false);
    EXPECT_EQ(detached.releaseUnderLock(), CountWord::Release::detaching);
    expectAssertions({{"at most 62 notifiers hold an object", [&] { word.retainForNotifier(); }},
                      {"dedupState() != Kel::dedupHandleStateBeingDetached()",
                       [&] { detached.retainForNotifier(); }}});
    word.leaveBehind();
    EXPECT_EQ(word.releaseUnderLock(), CountWord::Release::notInTable);
    EXPECT_EQ(word.referenceCount(), 64U) << "this one, the table's and the notifiers'";
    EXPECT_FALSE(word.isAnnounced());
}

// ---- Observers ----------------------------------------------------------------------------------

class RecordingObserver : public Mox::Notifiee {
  public:
    RecordingObserver(Thing& thing, std::string& log, char name)
      : log_(log)
      , name_(name) {
        subscribe(*thing.notifieeList());
    }
    using Mox::Notifiee::subscribe;
    using Mox::Notifiee::unsubscribe;

    std::function<void(int)> then;

  private:
    void handleChange(Mox::AttributeNumber attribute, void const* key) override {
        EXPECT_EQ(attribute, 0U);
        auto const value = *static_cast<int const*>(key);
        log_.append(1, name_).append(std::to_string(value)).append(" ");
        if (auto const action = then; action) {
            action(value);
        }
    }
    std::string& log_;
    char name_;
};

class Observers : public testing::Test {
  protected:
    Thing::Ptr thing = Mox::makeActive<Thing>();
    std::string log;
};

TEST_F(Observers, AreNotifiedInSubscriptionOrderWhileTheSwitchIsOn) {
    RecordingObserver a(*thing, log, 'a');
    RecordingObserver b(*thing, log, 'b');
    thing->change(1);
    thing->hasNotificationActiveIs(false);
    thing->change(2);
    thing->hasNotificationActiveIs(true);
    a.unsubscribe();
    a.subscribe(*thing->notifieeList());
    b.subscribe(*thing->notifieeList());
    thing->change(3);
    EXPECT_EQ(log, "a1 b1 b3 a3 ");
}

TEST_F(Observers, MayUnsubscribeObserversDuringANotification) {
    RecordingObserver a(*thing, log, 'a');
    auto b = std::make_unique<RecordingObserver>(*thing, log, 'b');
    RecordingObserver const c(*thing, log, 'c');
    a.then = [&](int) {
        a.unsubscribe();
        b.reset();
    };
    thing->change(1);
    EXPECT_EQ(thing->notifieeList()->size(), 1U);
    thing->change(2);
    EXPECT_EQ(log, "a1 c1 c2 ");
}

TEST_F(Observers, AreAllNotifiedAfterANestedNotification) {
    RecordingObserver a(*thing, log, 'a');
    RecordingObserver const b(*thing, log, 'b'), c(*thing, log, 'c');
    a.then = [&](int) {
        a.unsubscribe();
        thing->change(2);
    };
    thing->change(1);
    EXPECT_EQ(log, "a1 b2 c2 b1 c1 ");
}

TEST_F(Observers, LeaveNothingBehindWhenTheyUnsubscribeDuringANotification) {
    RecordingObserver a(*thing, log, 'a');
    a.then = [&](int) {
        a.unsubscribe();
        a.subscribe(*thing->notifieeList());
    };
    thing->change(1);
    auto const before = octetsAllocatedSoFar();
    for (int key = 0; key < 1000; ++key) {
        thing->change(1);
        log.clear();
    }
    EXPECT_EQ(octetsAllocatedSoFar(), before) << "the list grows";
}

TEST_F(Observers, AreNotNotifiedIfSubscribedDuringTheNotification) {
    std::vector<std::unique_ptr<RecordingObserver>> late;
    RecordingObserver a(*thing, log, 'a');
    a.then = [&](int key) {
        if (late.empty()) {
            for (char name = 'b'; name < 'z'; ++name) {
                late.push_back(std::make_unique<RecordingObserver>(*thing, log, name));
            }
            a.unsubscribe();
            a.subscribe(*thing->notifieeList());
            thing->change(key + 1);
        }
    };
    thing->change(1);
    EXPECT_EQ(log, "a1 b2 c2 d2 e2 f2 g2 h2 i2 j2 k2 l2 m2 n2 o2 p2 q2 r2 s2 t2 u2 v2 w2 x2 y2 a2 ")
        << "each observer is notified of the nested change once";
}

TEST_F(Observers, MayReleaseTheNotifierDuringANotification) {
    RecordingObserver a(*thing, log, 'a');
    RecordingObserver const b(*thing, log, 'b');
    a.then = [&](int key) {
        if (key == 1) {
            thing->change(2);
        } else {
            thing = nullptr;
        }
    };
    thing->change(1);
    EXPECT_EQ(log, "a1 a2 ") << "no notification from a destroyed notifier";
    EXPECT_FALSE(a.isSubscribed());
}

// ---- Collections --------------------------------------------------------------------------------

TEST(Collections, HashMapAgreesWithStdMap) {
    Mox::HashMap<U64, int> map;
    std::map<U64, int> model;
    std::mt19937_64 random(1);
    for (int i = 0; i < 200000; ++i) {
        U64 const key = random() % (i > 100000 ? 10000 : i % 20000 < 10000 ? 500 : 20);
        switch (random() % 3) {
        case 0:
            ASSERT_EQ(map.is(key, i), model.insert_or_assign(key, i).second);
            break;
        case 1:
            ASSERT_EQ(map.del(key), model.erase(key) == 1);
            break;
        default:
            ASSERT_EQ(map.has(key), model.contains(key));
            ASSERT_TRUE(!map.has(key) || *map.get(key) == model[key]);
        }
        ASSERT_EQ(map.size(), model.size());
    }
    std::map<U64, int> visited;
    map.forEach([&](U64 key, int value) { visited[key] = value; });
    EXPECT_EQ(visited, model);
    for (auto const& [key, value] : model) {
        ASSERT_TRUE(map.del(key));
        ASSERT_FALSE(map.has(key));
    }
    EXPECT_TRUE(map.empty());
}

TEST(Collections, NoChangeOfAHashMapAllocatesMuch) {
    Mox::HashSet<U64> set;
    unsigned long most = 0;
    for (U64 key = 0; key < 200000; ++key) {
        auto const before = octetsAllocatedSoFar();
        set.is(key);
        most = std::max(most, octetsAllocatedSoFar() - before);
        auto const filled = octetsAllocatedSoFar();
        set.del(key);
        set.del(key / 2);
        set.is(key / 2);
        set.is(key);
        ASSERT_EQ(octetsAllocatedSoFar(), filled) << "items that come and go allocate nothing";
    }
    EXPECT_LE(most, 128U << 10);
}

TEST(Collections, ToleratesChangesDuringIteration) {
    Mox::HashSet<int> set;
    for (int i = 0; i < 100; ++i) {
        set.is(i);
    }
    std::vector<int> visited;
    set.forEach([&](int key) {
        visited.push_back(key);
        set.del(key);
        set.del(key + 1);
        set.is(1000 + key);
        set.forEach([&](int other) { set.has(other); });
    });
    EXPECT_EQ(visited.size(), 50U) << "what was removed is not visited, nor what was added";
    EXPECT_EQ(set.size(), 50U);
    for (int i = 0; i < 100; ++i) {
        EXPECT_FALSE(set.has(i));
        EXPECT_EQ(set.has(1000 + i), i % 2 == 0);
    }

    Mox::HashMap<int, int> holes;
    for (int key = 0; key < 4; ++key) {
        holes.is(key, key);
    }
    holes.forEach([&](int key, int) { key != 1 && holes.del(key); });
    EXPECT_EQ(holes.size(), 1U);
    auto const* const place = holes.get(1);
    holes.forEach([](int, int) {});
    EXPECT_EQ(holes.get(1), place) << "no holes are left: threads may read the map";

    Mox::OrderedMap<int, int> map;
    for (int const key : {5, 1, 3}) {
        map.is(key, 10 * key);
    }
    std::vector<int> order;
    map.forEach([&](int key, int value) {
        order.push_back(value);
        map.del(key);
        map.del(3);
    });
    EXPECT_EQ(order, (std::vector<int>{10, 50}));
    EXPECT_TRUE(map.empty());
}

/// A key that counts copies and moves.
struct CountedKey {
    explicit CountedKey(int n)
      : number(n) {}
    CountedKey(CountedKey const& other) noexcept
      : number(other.number) {
        ++transfers;
    }
    CountedKey& operator=(CountedKey const& other) noexcept {
        number = other.number;
        ++transfers;
        return *this;
    }
    Mox::U64 hash() const noexcept { return Mox::hashWord(static_cast<Mox::U64>(number)); }
    bool operator==(CountedKey const& other) const noexcept {
        ++comparisons;
        return number == other.number;
    }

    int number;
    static inline int transfers = 0;
    static inline int comparisons = 0;
};

/// Agents intern consecutive numbers, and numbers that differ in one field.
TEST(Collections, KeyedHashesOfSequencesSpreadWhateverTheSecret) {
    constexpr unsigned bucketBits = 9;
    std::mt19937_64 random(1);
    for (int i = 0; i < 300; ++i) {
        Mox::Detail::HashSecret const secret{random(), random() | 1};
        EXPECT_NE(Mox::keyedHash(1, secret), Mox::keyedHash(1, {random(), secret.factor}));
        EXPECT_NE(Mox::keyedHash(1, secret), Mox::keyedHash(1, {secret.word, random() | 1}));
        for (unsigned const shift : {0U, 8U, 16U, 32U, 44U}) {
            std::vector<int> buckets(1U << bucketBits);
            for (U64 number = 0; number < 4 << bucketBits; ++number) {
                auto const place = static_cast<U32>(Mox::keyedHash(number << shift, secret));
                ++buckets[place >> (32 - bucketBits)];
            }
            EXPECT_LT(*std::max_element(buckets.begin(), buckets.end()), 20) << shift;
        }
    }
}

TEST(Collections, HashMapChangesMoveFewKeys) {
    Mox::HashSet<CountedKey> set;
    int most = 0;
    auto const change = [&](int key) {
        CountedKey const counted(key);
        auto const before = CountedKey::transfers;
        if (!set.del(counted)) {
            set.is(counted);
        }
        most = std::max(most, CountedKey::transfers - before);
    };
    for (int key = 0; key < 1000; ++key) {
        change(key);
    }
    for (int i = 0; i < 10000; ++i) {
        change(1000 + i / 2 % 3);
    }
    EXPECT_EQ(set.size(), 1000U);
    EXPECT_LE(most, 10);
    CountedKey::comparisons = 0;
    for (int key = 2000; key < 3000; ++key) {
        EXPECT_FALSE(set.has(CountedKey(key)));
    }
    EXPECT_LE(CountedKey::comparisons, 2000) << "1260 are expected";
}

TEST(Collections, MovedMapsAreEmpty) {
    Mox::HashSet<int> set;
    set.is(1);
    auto const moved = std::move(set);
    EXPECT_EQ(moved.size(), 1U);
    set = Mox::HashSet<int>();
    EXPECT_EQ(set.size(), 0U);
}

TEST(Collections, MapsAreUnchangedIfAllocationFails) {
    Mox::HashMap<int, int> map;
    for (int key = 0; key < 300; ++key) {
        for (long succeeding = 0; !map.has(key); ++succeeding) {
            ASSERT_EQ(map.size(), static_cast<std::size_t>(key));
            try {
                FailingAllocations const failing(succeeding);
                map.is(key, key);
            } catch (std::bad_alloc const&) {
            }
        }
    }
    map.forEach([](int key, int value) { EXPECT_EQ(key, value); });
    EXPECT_EQ(map.size(), 300U);
}

// ---- Text ---------------------------------------------------------------------------------------

TEST(CharBuffer, GrowsToTheDocumentedCapacity) {
    Mox::LocalCharBuffer<20> buffer;
    buffer.append(std::string(20, 'a'));
    EXPECT_EQ(buffer.capacity(), 20U) << "the local area is used up first";
    buffer.append('b');
    EXPECT_EQ(buffer.capacity(), 40U) << "twice the used size";
    buffer.append(std::string(200, 'c'));
    EXPECT_EQ(buffer.capacity(), 221U) << "what is used and required";
    buffer.append('d');
    EXPECT_EQ(buffer.capacity(), 442U);
    buffer.append(std::string(378, 'e')).append('f');
    EXPECT_EQ(buffer.capacity(), 1024U) << "but not more than 1024 at once";
    buffer.append(std::string(500, 'g'));
    EXPECT_EQ(buffer.capacity(), 1101U) << "and never less than what is required";
    EXPECT_EQ(buffer.text(), std::string(20, 'a') + 'b' + std::string(200, 'c') + 'd' +
                                 std::string(378, 'e') + 'f' + std::string(500, 'g'));
}

TEST(CharBuffer, WritesNumbersOfAnyLength) {
    for (U64 power = 1; power != 0; power = power <= ~U64{0} / 10 ? power * 10 : 0) {
        for (U64 const number : {power - 1, power, power + 1, ~U64{0} / power}) {
            Mox::LocalCharBuffer<2> buffer;
            buffer.appendDecimal(number).appendHex(number, 16).appendHex(number, 3, true);
            char expected[64];
            std::snprintf(expected, sizeof expected, "%llu%016llx%03llX", number + 0ULL,
                          number + 0ULL, (number & 0xfff) + 0ULL);
            EXPECT_EQ(buffer.text(), expected);
        }
    }
}

TEST(TextStream, ReturnsTheCompleteTextOrThrows) {
    Mox::TextStream os;
    os << "short";
    {
        FailingAllocations const failing(0);
        std::ostream inner(os.rdbuf()); // another stream on the same buffer sees the failure
        inner << std::string_view("longer than what a string has room for in itself");
    }
    EXPECT_THROW(os.text(), std::bad_alloc);
    EXPECT_THROW((os << "more", os.string()), std::bad_alloc);
    os.discard();
    os << "again" << '!';
    EXPECT_EQ(os.text(), "again!");
    os.setstate(std::ios_base::badbit); // as a standard inserter does when memory runs out
    EXPECT_THROW(os.string(), std::bad_alloc);
}

TEST(ValueText, AcceptsOnlyExactNumbersAndBooleans) {
    EXPECT_EQ(Mox::valueToStrep(true), "True");
    EXPECT_EQ(Mox::valueToStrep(~U64{0}), "18446744073709551615");
    EXPECT_EQ(Mox::strepToValue<U64>("18446744073709551615"), ~U64{0});
    EXPECT_FALSE(Mox::strepToValue<bool>("False"));
    for (char const* text : {"", "-1", "+1", " 1", "1 ", "01", "18446744073709551616", "0x1"}) {
        EXPECT_THROW(Mox::strepToValue<U64>(text), Mox::ParseException) << text;
    }
    EXPECT_THROW(Mox::strepToValue<Mox::U8>("256"), Mox::ParseException);
    for (char const* text : {"true", "1", "", "TrueX"}) {
        EXPECT_THROW(Mox::strepToValue<bool>(text), Mox::ParseException) << text;
    }
}

TEST(ValueText, ErrorsHaveExpectedTextAndOffset) {
    using Routing::Bgp::RouteTarget;
    RouteTarget const rt(0x0002fde800000064U);
    EXPECT_EQ(Mox::valueToStrep(rt),
              "Value('Routing::Bgp::RouteTarget', ** {'value': 842122827661412})");
    expectReadsBack(rt);
    EXPECT_EQ(errorOf<Mox::ParseException>([] {
                  Mox::strepToValue<RouteTarget>(
                      "Value('Routing::Bgp::RouteTarget', ** {'value': x})");
              }),
              "expected an unsigned number of the type's width at offset 48");
}

TEST(ValueText, FormatsRouteTargetsByType) {
    struct {
        U64 value;
        bool asDot;
        char const* text;
    } const rows[] = {
        {0x0002fde800000064, false, "65000:100"},
        {0x0002fde8ffffffff, true, "65000:4294967295"},
        {0x01020a010203fffe, false, "10.1.2.3:65534"},
        {0x020200010000000a, false, "65536:10"},
        {0x020200010000000a, true, "1.0:10"},
        {0x0302000000000001, false, "0302000000000001"},
        {0x4002000000000001, true, "4002000000000001"},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(Routing::Bgp::RouteTarget(row.value).toStrep(row.asDot), row.text);
    }
}

TEST(NetworkValues, PrintAndReadBack) {
    EXPECT_EQ(Lumo::IpAddr(0xffffffff).toStrep(), "255.255.255.255");
    EXPECT_EQ(Mox::strepToValue<Lumo::IpAddr>("10.0.0.1"), Lumo::IpAddr(0x0a000001));
    for (char const* text : {"10.0.0", "10.0.0.256", "10.0.0.1.", "10.0.0.01", ""}) {
        EXPECT_THROW(Mox::strepToValue<Lumo::IpAddr>(text), Mox::ParseException) << text;
    }
    // Examples of RFC 5952, section 4; each text reads back and prints unchanged.
    for (char const* text :
         {"::", "::1", "1::", "2001:db8::1", "2001:db8:0:1:1:1:1:1", "2001:db8::1:0:0:1",
          "2001:0:0:1::1", "2001:db8:85a3:8d3:1319:8a2e:370:7348", "::ffff:192.0.2.1",
          "fe80::1ab:0:12", "1:2:3:4:5:6:7:0", "0:1::", "::1:0:0:2"}) {
        EXPECT_EQ(Mox::strepToValue<Lumo::Ip6Addr>(text).toStrep(), text);
    }
    EXPECT_EQ(Mox::strepToValue<Lumo::Ip6Addr>("2001:0:0:1:0:0:0:1").toStrep(), "2001:0:0:1::1");
    EXPECT_THROW(Mox::strepToValue<Lumo::Ip6Addr>("2001:db8::1::"), Mox::ParseException);
}

// ---- Trace --------------------------------------------------------------------------------------

/// The level read when the library was loaded; switched off for the other tests.
int const traceLevelAtStart = [] {
    int const level = Mox::traceLevel();
    Mox::traceLevelIs(0);
    return level;
}();

/// A set-user-ID program must not append to a file of its caller's choice.
TEST(Trace, ReadsItsVariableBySecureGetenv) {
    EXPECT_EQ(traceLevelAtStart, 5) << "not what secure_getenv() below returns";
}

/// The file of traces, which exists when the library opens it.
struct TraceFile {
    TraceFile() {
        int const file = ::mkstemp(setting.data() + 2);
        ::dprintf(file, "before\n");
        ::close(file);
    }
    ~TraceFile() { ::unlink(path()); }
    char const* path() const { return setting.c_str() + 2; }

    std::string setting = "5:/tmp/vobgp-trace-XXXXXX";
};

TraceFile& traceFile() {
    static TraceFile file;
    return file;
}

TEST(Trace, AppendsToItsFile) {
    Mox::traceLevelIs(12);
    EXPECT_EQ(Mox::traceLevel(), 9);
    MOX_TRACE(9, "after");
    Mox::traceLevelIs(0);
    std::ostringstream content;
    content << std::ifstream(traceFile().path()).rdbuf();
    EXPECT_TRUE(content.str().starts_with("before\n")) << content.str();
    EXPECT_TRUE(content.str().ends_with(": after\n")) << content.str();
}

TEST(Trace, ASinkMayThrow) {
    TracedLines const traced(1);
    Mox::traceSinkIs([](int, std::string_view) { throw std::bad_alloc(); });
    EXPECT_NO_THROW(MOX_TRACE(1, "dropped"));
}

TEST(Trace, EvaluatesNothingWhenOffAndPrintsTheLocationWhenOn) {
    TracedLines const traced(7);
    int evaluated = 0;
    MOX_TRACE(8, ++evaluated);
    EXPECT_EQ(evaluated, 0);
    Mox::traceLevelIs(8);
    MOX_TRACE(8, "n=" << ++evaluated);
    ASSERT_EQ(traced.lines.size(), 1U);
    EXPECT_TRUE(traced.lines[0].starts_with("8 tests/platform/Mox/FrameworkTest.cpp:"))
        << traced.lines[0];
    EXPECT_TRUE(traced.lines[0].ends_with(": TestBody: n=1")) << traced.lines[0];
}

// ---- Reflection ---------------------------------------------------------------------------------

TEST(Reflection, TheRegistryFindsTypesByName) {
    auto const* const type = Mox::TypeRegistry::type("Routing::Bgp::RouteTarget");
    EXPECT_EQ(type, &Routing::Bgp::RouteTarget::staticType());
    EXPECT_EQ(type->kind(), Mox::Type::Kind::value);
    EXPECT_EQ(Mox::TypeRegistry::type("Thing"), nullptr) << "only what registers itself";
    auto const all = Mox::TypeRegistry::types();
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end(),
                               [](auto const* a, auto const* b) { return a->name() < b->name(); }));
}

} // namespace

/// Replaces the system's function. The environment variable is not set.
extern "C" VOBGP_EXPORT char* secure_getenv(char const* name) noexcept {
    return std::strcmp(name, "VOBGP_TRACE") == 0 ? traceFile().setting.data() : nullptr;
}
