#include "InternWord.h"
#include "support/Allocations.h"
#include "support/Expectations.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <map>
#include <new>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include <pthread.h>

namespace {

using Kel::DedupHandle;
using Mox::U32;
using Mox::U64;

INSTANTIATE_TEST_SUITE_P(Mode, Intern, bothPointerModes(), pointerModeName);

// ---- Coming and going ---------------------------------------------------------------------------

TEST_P(Intern, EqualContentsShareOneObject) {
    auto const a = intern(*table, 7);
    EXPECT_EQ(a, intern(*table, 7));
    EXPECT_NE(a, intern(*table, 6)) << "an equal hash is not an equal content";
    EXPECT_EQ(table->size(), 1U);
    EXPECT_TRUE(a->isDeduped() && a->everDeduped());
    EXPECT_EQ(a->referenceCount(), 2U) << "this one and the table";
}

TEST_P(Intern, TheFirstObjectInsertedWins) {
    auto const first = intern(*table, 7);
    auto const second = Mox::makeCounted<Word>(U64{7});
    EXPECT_EQ(table->dedup(second), first.get());
    EXPECT_EQ(table->dedup(Mox::constPtrCast<Word>(Word::PtrConst(first))), first.get())
        << "interning an interned object returns it";
    EXPECT_EQ(second->dedupState(), Kel::dedupHandleStateNeverDeduped());
    Kel::DedupMiss miss(Mox::keyedHash(Word::hashOf(8)));
    auto const isEight = [](DedupHandle const& each) { return valueOf(&each) == 8; };
    EXPECT_EQ(table->find(miss, isEight), nullptr);
    auto const third = intern(*table, 8);
    EXPECT_EQ(table->dedup(Mox::makeCounted<Word>(U64{8}), miss), third.get())
        << "the miss was before the insertion";
}

TEST_P(Intern, TheTableGrowsAndShrinks) {
    for (int round = 0; round < 2; ++round) { // the second one reuses arrays of the first
        auto held = internAll(*table, 20000);
        auto const expectAll = [&] {
            ASSERT_EQ(table->size(), held.size());
            for (auto const& word : held) {
                ASSERT_EQ(lookup(*table, word->value()), word);
            }
        };
        expectAll();
        auto const grown = table->capacity();
        EXPECT_GE(grown, 20000U);
        auto const octets = table->octets();
        EXPECT_GE(octets, grown * sizeof(U64));
        held.resize(18000);
        EXPECT_EQ(table->capacity(), grown) << "at this size it grew";
        held.resize(100);
        expectAll();
        EXPECT_LT(table->capacity(), grown / 8);
        // Spare arrays of shards are too small to be released.
        EXPECT_EQ(table->octets() < octets / 4, !table->isThreadSafe()) << table->octets();
    }
}

/// Objects are created and released by the destructors that a thread runs last.
TEST_P(Intern, MayBeUsedWhileAThreadEnds) {
    auto const held = intern(*table, 1); // the key for the memory of threads is older than this one
    static Table const* used = nullptr;
    used = table.get();
    pthread_key_t key{};
    ASSERT_EQ(pthread_key_create(&key,
                                 [](void*) {
                                     EXPECT_EQ(intern(*used, 1)->value(), 1U);
                                     EXPECT_EQ(intern(*used, 2)->value(), 2U);
                                 }),
              0);
    std::thread([&] {
        EXPECT_EQ(intern(*table, 3)->value(), 3U);
        ASSERT_EQ(pthread_setspecific(key, &key), 0);
    }).join();
    pthread_key_delete(key);
    EXPECT_EQ(table->size(), 1U);
    EXPECT_EQ(Word::alive, 1);
}

class Alike : public Word {
  public:
    using Word::Word;
    U64 placementHash() const override { return 1; }
};

TEST_P(Intern, AnyNumberOfObjectsMayHaveOnePlace) {
    std::vector<DedupHandle::PtrConst> held;
    for (U64 value = 0; value < 400; ++value) {
        held.push_back(table->dedup(Mox::makeCounted<Alike>(value)));
    }
    for (; !held.empty(); held.pop_back()) {
        ASSERT_EQ(table->dedup(Mox::makeCounted<Alike>(held.size() - 1)), held.back());
    }
    EXPECT_EQ(table->size(), 0U);
}

TEST_P(Intern, ObjectsOutliveTheirTable) {
    auto const observer = observe();
    auto a = intern(*table, 1);
    auto const b = intern(*table, 2);
    EXPECT_EQ(table->lifeTimeNotifiee().get(), observer.get());
    table = nullptr;
    EXPECT_EQ(observer->stops, 1);
    EXPECT_EQ(observer->removes, 0);
    EXPECT_EQ(a->value(), 1U);
    EXPECT_TRUE(!a->isDeduped() && a->everDeduped());
    EXPECT_EQ(a->referenceCount(), 1U);
    a = nullptr;
    EXPECT_EQ(Word::alive, 1);
}

TEST_P(Intern, TablesGetIdsThatAreFree) {
    auto held = intern(*table, 1);
    for (auto left = Mox::CountWord::tableIds; left != 0; --left) {
        auto other = Mox::makeCounted<Table>(GetParam());
        observe(*other)->onRemove = [&](auto*) { other = nullptr; };
        intern(*other, 1);
        ASSERT_EQ(other, nullptr);
    }
    EXPECT_EQ(lookup(*table, 1), held);
    held = nullptr;
    EXPECT_EQ(table->size(), 0U);
}

/// 40 octets do not divide the chunks that cells are carved from.
TEST(HandleMemory, CellsOfAnEndedThreadAreUsedAgainAndDoNotOverlap) {
    PointerMode const mode(true);
    static constexpr std::size_t octets = 40;
    std::set<void*> known;
    for (int round = 0; round < 3; ++round) {
        std::thread([&] {
            std::vector<void*> cells(8192);
            for (auto& cell : cells) {
                cell = Kel::HandleMemory::allocate(octets);
                std::memset(cell, 0xff, octets); // beyond a chunk, malloc() would notice
                known.insert(cell);
            }
            std::for_each(cells.begin(), cells.end(),
                          [](void* cell) { Kel::HandleMemory::free(cell, octets); });
        }).join();
    }
    EXPECT_LT(known.size(), 8192U + 64);
    EXPECT_THROW((void)Kel::HandleMemory::allocate(std::size_t{2} << 20), std::bad_alloc);
}

TEST_P(Intern, DestructorsRunWithoutLocks) {
    Word::onDestroy = [&](Word const& word) {
        if (word.value() < 100) {
            intern(*table, word.value() + 100);
        }
    };
    internAll(*table, 100);
    EXPECT_EQ(table->size(), 0U);
}

TEST_P(Intern, TheTableIsUnchangedIfAllocationFails) {
    std::vector<Word::Ptr> words;
    int failures = 0;
    for (U64 i = 0; i < 200; ++i) {
        auto const& word = words.emplace_back(Mox::makeCounted<Word>(i));
        try {
            FailingAllocations const failing(0);
            (void)table->dedup(word);
        } catch (std::bad_alloc const&) {
            ++failures;
            EXPECT_EQ(table->size(), i);
            EXPECT_EQ(word->dedupState(), Kel::dedupHandleStateNeverDeduped());
            (void)table->dedup(word);
        }
        ASSERT_EQ(lookup(*table, i), word.get());
    }
    EXPECT_GT(failures, 3) << "no growth occurred";
    {
        // Releases shrink the table and must not throw without memory.
        FailingAllocations const failing(0);
        words.clear();
    }
    EXPECT_EQ(table->size(), 0U);
}

TEST_P(Intern, DumpsListEveryObjectAndItsReferences) {
    auto const held = intern(*table, 1);
    auto const context = Mox::makeCounted<Kel::StringDumpContext>();
    context->dumpChild(*table, 2);
    EXPECT_EQ(context->text(), "  Kel::DedupHashTableUnorderedSet #1 capacity 7 octets " +
                                   std::to_string(table->octets()) + "\n    Word references 1\n");
    auto const observer = observe();
    auto const expectOne = [&](auto const&) {
        auto const dump = dumpOf(*table, 0);
        EXPECT_EQ(dump.find("Word"), dump.rfind("Word")) << "no object that comes or goes";
    };
    observer->onInsert = expectOne;
    observer->onRemove = expectOne;
    intern(*table, 2);
}

TEST_P(Intern, CountsInsertionsAndWhileSwitchedOnHits) {
    auto const held = intern(*table, 1);
    auto const hits = [&] {
        intern(*table, 1);
        EXPECT_EQ(lookup(*table, 1), held.get());
        EXPECT_EQ(table->dedup(Mox::makeCounted<Word>(U64{1})), held.get());
        EXPECT_EQ(lookup(*table, 2), nullptr);
        return table->counters().hits;
    };
    EXPECT_EQ(hits(), 0U);
    table->hitsCountedIs(true);
    EXPECT_EQ(hits(), 3U);
    auto const context = Mox::makeCounted<Kel::StringDumpContext>();
    context->dumpChild(*table, 0);
    EXPECT_NE(context->text().find(" hits 3 misses 1\n"), std::string::npos) << context->text();
    table->hitsCountedIs(false);
    EXPECT_EQ(hits(), 3U);
    intern(*table, 2);
    EXPECT_EQ(table->counters().misses, 2U);
    EXPECT_EQ(table->counters().values, 1U);
}

// ---- Observers ----------------------------------------------------------------------------------

class OddObserver : public Observer {
  public:
    Kel::DedupHandleFilter filter() const noexcept override {
        return [](DedupHandle const& handle) noexcept { return valueOf(&handle) % 2 == 1; };
    }
};

TEST_P(Intern, ObserversAreNotifiedOnlyOfWhatTheirFilterAdmits) {
    auto const observer = Mox::makeActive<OddObserver>();
    table->lifeTimeNotifieeIs(observer);
    auto const held = internAll(*table, 4);
    EXPECT_EQ(observer->present, (std::set<U64>{1, 3}));
    EXPECT_TRUE(held[1]->word().isSettled()) << "look-ups need no lock any more";
}

TEST_P(Intern, ObserversAreStoppedExactlyOnce) {
    auto const first = observe();
    auto const held = intern(*table, 1);
    auto const second = observe();
    table->lifeTimeNotifieeIs(second);
    EXPECT_EQ(second->stops, 0) << "registered already";
    Observer::Ptr third;
    second->onStop = [&] { third = observe(); };
    table->lifeTimeNotifieeIs(nullptr);
    intern(*table, 3);
    EXPECT_EQ(third->inserts, 1) << "registered while the second one was stopped";
    EXPECT_EQ(first->inserts, 1);
    EXPECT_EQ(first->stops, 1);
    EXPECT_EQ(second->inserts, 0) << "inserted before registration";
    EXPECT_EQ(second->stops, 1);
    auto const silent = Mox::makeCounted<Observer>();
    table->lifeTimeNotifieeIs(silent);
    intern(*table, 2);
    EXPECT_EQ(silent->inserts, 0) << "its switch is off";
}

TEST_P(Intern, ObserversMayInternAndReleaseDuringANotification) {
    auto const observer = observe();
    std::map<U64, Word::PtrConst> held;
    observer->onInsert = [&](DedupHandle::Ptr const& handle) {
        auto const value = valueOf(handle.get());
        EXPECT_EQ(lookup(*table, value).get(), handle.get()) << "the inserting thread may get it";
        if (value < 10) {
            held[value + 1] = intern(*table, value + 1);
        }
    };
    observer->onRemove = [&](DedupHandle* handle) { held.erase(valueOf(handle) + 1); };
    auto first = intern(*table, 1);
    EXPECT_EQ(table->size(), 10U);
    first = nullptr;
    EXPECT_EQ(table->size(), 0U);
    EXPECT_EQ(observer->removes, 10);
}

TEST_P(Intern, TheTableMayBeDestroyedDuringANotification) {
    auto const first = observe();
    first->onInsert = [&](auto const&) { table = nullptr; };
    auto const kept = Mox::makeCounted<Word>(U64{1});
    EXPECT_EQ(table->dedup(kept), kept.get());
    EXPECT_EQ(first->stops, 1);
    EXPECT_EQ(kept->dedupState(), Kel::dedupHandleStateLeft());
    EXPECT_EQ(kept->referenceCount(), 1U);

    auto other = Mox::makeCounted<Table>(GetParam());
    auto const second = observe(*other);
    auto one = intern(*other, 1);
    auto const two = intern(*other, 2);
    second->onRemove = [&](auto*) { other = nullptr; };
    one = nullptr;
    EXPECT_EQ(second->stops, 1);
    EXPECT_FALSE(two->isDeduped());
    EXPECT_EQ(two->referenceCount(), 1U);
}

TEST_P(Intern, TheTableIsUnchangedIfAnObserverThrows) {
    auto const observer = observe();
    observer->onInsert = [&](auto const&) {
        observer->present.clear();
        throw std::runtime_error("no");
    };
    auto const word = Mox::makeCounted<Word>(U64{5});
    EXPECT_THROW(table->dedup(word), std::runtime_error);
    EXPECT_EQ(table->size(), 0U);
    EXPECT_EQ(word->referenceCount(), 1U);
    EXPECT_EQ(word->dedupState(), Kel::dedupHandleStateNeverDeduped());
    observer->onInsert = nullptr;
    EXPECT_EQ(table->dedup(word), word.get()) << "it can be interned again";

    Mox::Ptr<Notifier> notifier;
    observer->onInsert = [&](DedupHandle::Ptr const& handle) {
        notifier = Mox::makeActive<Notifier>(handle);
        throw std::runtime_error("no");
    };
    auto const noted = Mox::makeCounted<Word>(U64{6});
    EXPECT_THROW(table->dedup(noted), std::runtime_error);
    EXPECT_EQ(noted->dedupState(), Kel::dedupHandleStateLeft()) << "somebody has seen it interned";
    EXPECT_EQ(noted->referenceCount(), 2U);

    observer->onInsert = [&](auto const&) {
        table = nullptr;
        throw std::runtime_error("no");
    };
    auto const last = Mox::makeCounted<Word>(U64{7});
    EXPECT_THROW(table->dedup(last), std::runtime_error);
    EXPECT_EQ(last->dedupState(), Kel::dedupHandleStateLeft());
    EXPECT_EQ(last->referenceCount(), 1U);
}

/// A release in another thread waits for the observer of that object, even while it is stopped.
TEST(InternThreadSafe, ObserversAreStoppedBeforeTheirObjectsAreRemoved) {
    PointerMode const mode(true);
    auto const table = Mox::makeCounted<Table>(true);
    auto const observer = Mox::makeActive<Observer>();
    table->lifeTimeNotifieeIs(observer);
    auto word = intern(*table, 1);
    std::thread releasing;
    observer->onStop = [&] {
        std::atomic<bool> begun = false;
        releasing = std::thread([&] {
            begun = true;
            word = nullptr;
        });
        while (!begun) {
            std::this_thread::yield();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(table->size(), 1U);
    };
    table->lifeTimeNotifieeIs(nullptr);
    releasing.join();
    EXPECT_EQ(table->size(), 0U);
    EXPECT_EQ(observer->removes, 0);
}

TEST_P(Intern, ObserversMayResetThePointerBeingInterned) {
    auto const observer = observe();
    auto word = Mox::makeCounted<Word>(U64{1});
    observer->onInsert = [&](auto const&) { word = nullptr; };
    auto const kept = Mox::staticPtrCast<Word const>(table->dedup(word));
    EXPECT_EQ(kept->value(), 1U);
    EXPECT_EQ(kept->referenceCount(), 2U);
}

// ---- Lifetime notifiers -------------------------------------------------------------------------

TEST_P(Intern, LifetimeNotifiersDoNotKeepAnObjectInterned) {
    std::vector<Mox::Ptr<Notifier>> notifiers;
    auto const observer = observe();
    observer->onInsert = [&](DedupHandle::Ptr const& handle) {
        notifiers.push_back(Mox::makeActive<Notifier>(handle));
    };
    auto word = intern(*table, 1);
    EXPECT_EQ(word->referenceCount(), 3U);
    for (U32 floor = 2; floor < 6; ++floor) {
        EXPECT_EQ(word->word().floor(), floor);
        notifiers.push_back(Mox::makeActive<Notifier>(word));
    }
    word = nullptr;
    EXPECT_EQ(observer->removes, 1);
    EXPECT_EQ(table->size(), 0U);
    notifiers.resize(1);
    auto const* const left = static_cast<Word const*>(notifiers[0]->dedupHandle());
    EXPECT_EQ(left->value(), 1U) << "the notifier keeps the object alive";
    EXPECT_EQ(left->dedupState(), Kel::dedupHandleStateLeft());
    EXPECT_EQ(left->referenceCount(), 1U);
    auto const again = intern(*table, 1);
    EXPECT_NE(again.get(), left);
    notifiers.clear();
    EXPECT_EQ(again->word().floor(), 1U) << "dropped while the object is interned";
    EXPECT_EQ(again->referenceCount(), 2U);
    EXPECT_EQ(Word::alive, 1);
}

TEST_P(Intern, LifetimeNotifiersOfObjectsInNoTableAreOrdinaryReferences) {
    auto const word = Mox::makeCounted<Word>(U64{1});
    auto early = Mox::makeActive<Notifier>(word);
    EXPECT_EQ(word->word().floor(), 0U);
    ASSERT_EQ(table->dedup(word), word.get());
    auto const late = Mox::makeActive<Notifier>(word);
    early = nullptr;
    EXPECT_EQ(word->word().floor(), 2U) << "the floor of the later one";
    EXPECT_EQ(word->referenceCount(), 3U);
}

TEST_P(Intern, LifetimeNotifiersMayBeDroppedWhileTheirObjectIsDetached) {
    Mox::Ptr<Notifier> notifier;
    auto const observer = observe();
    observer->onInsert = [&](DedupHandle::Ptr const& handle) {
        notifier = Mox::makeActive<Notifier>(handle);
    };
    observer->onRemove = [&](auto*) { notifier = nullptr; };
    intern(*table, 1);
    EXPECT_EQ(Word::alive, 0);
    auto const kept = intern(*table, 2);
    table = nullptr;
    EXPECT_EQ(kept->referenceCount(), 2U) << "the notifier's reference is ordinary now";
    notifier = nullptr;
    EXPECT_EQ(kept->referenceCount(), 1U);
}

// ---- Contracts ----------------------------------------------------------------------------------

using InternDeathTest = Intern;
INSTANTIATE_TEST_SUITE_P(Mode, InternDeathTest, bothPointerModes(), pointerModeName);

TEST_P(InternDeathTest, LookingUpAContentBeingDetachedAsserts) {
    auto const observer = observe();
    observer->onRemove = [&](DedupHandle* handle) { lookup(*table, valueOf(handle)); };
    auto word = intern(*table, 1);
    expectAssertions({{"CountWord.h:#: retain: Assertion 'dedupState() != "
                       "Kel::dedupHandleStateBeingDetached()' failed.",
                       [&] { word = nullptr; }}});
    observer->onRemove = nullptr;
}

/// Does not begin with its interned base.
struct Begins {
    virtual ~Begins() = default;
};
struct Follows : Begins, Word {
    using Word::Word;
};

TEST_P(InternDeathTest, InsertingAnObjectThatIsNotNewAsserts) {
    auto const destashed = Mox::makeCounted<Word>(U64{1});
    destashed->makeDestashed();
    EXPECT_EQ(destashed->dedupState(), 4U);
    EXPECT_TRUE(destashed->everDeduped() && !destashed->isDeduped());
    auto const other = Mox::makeCounted<Table>(GetParam());
    auto const interned = intern(*other, 1);
    EXPECT_EQ(other->dedup(destashed), interned.get()) << "an equal object is interned";
    auto const* const text = "platform/Kel/DedupTableCore.cpp:#: enter: Assertion "
                             "'object->dedupState() == Kel::dedupHandleStateNeverDeduped()' failed";
    expectAssertions(
        {{text, [&] { (void)table->dedup(destashed); }},
         {text, [&] { (void)table->dedup(Mox::constPtrCast<Word>(Word::PtrConst(interned))); }},
         {"an interned object begins with its Kel::DedupHandle",
          [&] { (void)table->dedup(Mox::makeCounted<Follows>(U64{1})); }}});
}

TEST_P(InternDeathTest, ChangingTheModeWhileATableExistsAsserts) {
    expectAssertions({{"no intern table is live", [] { Mox::threadSafePtrsIs(!GetParam()); }}});
}

TEST(InternSettings, TablesFollowTheSettingAtTheirCreation) {
    using Routing::Bgp::VoBgpGlobals;
    PointerMode const mode(false);
    auto plain = Mox::makeCounted<Table>(VoBgpGlobals::multiThreaded());
    VoBgpGlobals::multiThreadedIs(true);
    EXPECT_FALSE(Mox::threadSafePtrs()) << "changed while a table exists";
    auto locked = Mox::makeCounted<Table>(VoBgpGlobals::multiThreaded());
    EXPECT_TRUE(locked->isThreadSafe() && !plain->isThreadSafe());
    EXPECT_EQ(intern(*locked, 1).get(), intern(*locked, 1).get());
    EXPECT_EQ(locked->size(), 0U);
    plain = locked = nullptr;
    VoBgpGlobals::multiThreadedIs(true);
    EXPECT_TRUE(Mox::threadSafePtrs());
}

} // namespace
