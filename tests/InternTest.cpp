#include "Allocations.h"
#include "PointerMode.h"

#include <Kel/DedupHandleLifeTimeNotifier.h>
#include <Kel/DedupHashTable.h>
#include <Mox/Hash.h>
#include <Mox/Ptr.h>
#include <Mox/Type.h>

#include <atomic>
#include <functional>
#include <map>
#include <new>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace {

using Kel::DedupHandle;
using Mox::U32;
using Mox::U64;

/// The smallest interned object: a number.
class Word : public DedupHandle {
  public:
    MOX_COUNTED(Word)

    explicit Word(U64 value)
      : value_(value) {
        ++alive;
    }
    ~Word() override {
        --alive;
        if (onDestroy) {
            onDestroy(*this);
        }
    }

    U64 value() const { return value_; }
    U32 hash() const override { return hashOf(value_); }
    bool compare(DedupHandle const* other) const override {
        return static_cast<Word const*>(other)->value_ == value_;
    }
    bool compareByContent(Kel::DedupContentHandle const& content) const override {
        return content.as<U64>() == value_;
    }
    Mox::CountWord const& word() const { return countWord(); }
    void makeDestashed() { destashedIs(); }

    /// Few distinct hashes, so that equal hashes of unequal contents are met all the time.
    static U32 hashOf(U64 value) { return static_cast<U32>(Mox::hashWord(value / 2)); }

    static std::atomic<int> alive;
    static std::function<void(Word const&)> onDestroy;

  private:
    U64 const value_;
};

std::atomic<int> Word::alive{0};
std::function<void(Word const&)> Word::onDestroy;

Mox::Type const& Word::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Word", {});
    return type;
}

using Table = Kel::DedupHashTableUnorderedSet;

Word::PtrConst lookup(Kel::DedupHashTable const& table, U64 value) {
    return Mox::staticPtrCast<Word const>(
        table.lookupByContent(Kel::DedupContentHandle(value), Word::hashOf(value)));
}

Word::PtrConst intern(Kel::DedupHashTable const& table, U64 value) {
    if (auto found = lookup(table, value)) {
        return found;
    }
    return Mox::staticPtrCast<Word const>(table.dedup(Mox::makeCounted<Word>(value)));
}

U64 valueOf(DedupHandle const* handle) {
    return static_cast<Word const*>(handle)->value();
}

/// Records what it hears and checks that each content is heard insert, remove, in turn.
class Observer : public Kel::DedupHashTableLifeTimeNotifiee {
  public:
    using Ptr = Mox::Ptr<Observer>;

    void handleInsert(DedupHandle::Ptr const& handle) override {
        Turn const turn(*this);
        EXPECT_TRUE(present.insert(valueOf(handle.get())).second) << "heard twice";
        ++inserts;
        if (onInsert) {
            onInsert(handle);
        }
    }

    void handleRemove(DedupHandle* handle) override {
        Turn const turn(*this);
        EXPECT_EQ(handle->dedupState(), Kel::dedupHandleStateBeingDetached());
        EXPECT_EQ(present.erase(valueOf(handle)), 1U) << "never heard of";
        ++removes;
        if (onRemove) {
            onRemove(handle);
        }
    }

    void handleNotificationStop(Kel::DedupHashTable::PtrConst const& table) override {
        EXPECT_TRUE(table);
        ++stops;
        if (onStop) {
            onStop(table);
        }
    }

    std::set<U64> present;
    int inserts = 0;
    int removes = 0;
    int stops = 0;
    std::function<void(DedupHandle::Ptr const&)> onInsert;
    std::function<void(DedupHandle*)> onRemove;
    std::function<void(Kel::DedupHashTable::PtrConst const&)> onStop;

  private:
    /// Notifications of one thread may nest; those of two may not overlap.
    struct Turn {
        explicit Turn(Observer& observer)
          : self(observer) {
            auto const me = std::this_thread::get_id();
            if (self.depth_ > 0) {
                EXPECT_EQ(self.thread_, me) << "two threads notify at once";
            }
            self.thread_ = me;
            ++self.depth_;
        }
        ~Turn() { --self.depth_; }
        Observer& self;
    };
    std::thread::id thread_;
    int depth_ = 0;
};

class Intern : public testing::TestWithParam<bool> {
  protected:
    Intern()
      : mode_(GetParam())
      , table(Mox::makeCounted<Table>(GetParam())) {}
    ~Intern() override {
        table = nullptr;
        Word::onDestroy = nullptr;
        EXPECT_EQ(Word::alive, 0) << "an object leaked";
    }

    Observer::Ptr observe() {
        auto observer = Mox::makeActive<Observer>();
        table->lifeTimeNotifieeIs(observer);
        return observer;
    }

  private:
    PointerMode mode_;

  public:
    Table::Ptr table;
};

INSTANTIATE_TEST_SUITE_P(Mode, Intern, bothPointerModes(), pointerModeName);

TEST_P(Intern, EqualContentsShareOneObject) {
    auto const a = intern(*table, 7);
    auto const b = intern(*table, 7);
    EXPECT_EQ(a, b);
    EXPECT_NE(a, intern(*table, 6)) << "an equal hash is not an equal content";
    EXPECT_EQ(table->size(), 1U);
    EXPECT_TRUE(a->isDeduped() && a->everDeduped());
    EXPECT_EQ(a->referenceCount(), 3U) << "two pointers and the table";
}

TEST_P(Intern, TheObjectThatIsThereFirstWins) {
    auto const first = intern(*table, 7);
    auto const second = Mox::makeCounted<Word>(U64{7});
    EXPECT_EQ(table->dedup(second), first.get());
    EXPECT_EQ(table->dedup(Mox::constPtrCast<Word>(Word::PtrConst(first))), first.get())
        << "an object that is in the table is its own equal";
    EXPECT_EQ(second->dedupState(), Kel::dedupHandleStateNeverDeduped());
}

TEST_P(Intern, AnObjectLeavesWithItsLastOutsideReference) {
    auto held = intern(*table, 7);
    auto copy = held;
    held = nullptr;
    EXPECT_EQ(table->size(), 1U);
    copy = nullptr;
    EXPECT_EQ(table->size(), 0U);
    EXPECT_EQ(Word::alive, 0);
    EXPECT_FALSE(lookup(*table, 7));
}

TEST_P(Intern, TheTableGrowsAndShrinks) {
    std::vector<Word::PtrConst> held;
    for (U64 i = 0; i < 20000; ++i) {
        held.push_back(intern(*table, i));
    }
    for (U64 i = 0; i < 20000; ++i) {
        ASSERT_EQ(lookup(*table, i), held[i]);
    }
    EXPECT_EQ(table->size(), 20000U);
    auto const grown = table->capacity();
    EXPECT_GE(grown, 20000U);
    EXPECT_GE(table->octets(), grown * sizeof(U64));
    held.resize(100);
    EXPECT_EQ(table->size(), 100U);
    EXPECT_LT(table->capacity(), grown / 8);
    for (U64 i = 0; i < 100; ++i) {
        ASSERT_EQ(lookup(*table, i), held[i]);
    }
}

TEST_P(Intern, ObjectsOutliveTheirTable) {
    auto const observer = observe();
    auto a = intern(*table, 1);
    auto const b = intern(*table, 2);
    table = nullptr;
    EXPECT_EQ(observer->stops, 1);
    EXPECT_EQ(observer->removes, 0);
    EXPECT_EQ(a->value(), 1U);
    EXPECT_FALSE(a->isDeduped());
    EXPECT_TRUE(a->everDeduped());
    EXPECT_EQ(a->referenceCount(), 1U);
    a = nullptr;
    EXPECT_EQ(Word::alive, 1);
}

TEST_P(Intern, AnObserverIsNotToldOfWhatWasThereBefore) {
    auto early = intern(*table, 1);
    auto const first = observe();
    auto late = intern(*table, 2);
    early = nullptr;
    EXPECT_EQ(first->inserts, 1);
    EXPECT_EQ(first->removes, 0) << "it was not given the first";
    auto const second = observe();
    EXPECT_EQ(first->stops, 1);
    late = nullptr;
    EXPECT_EQ(first->removes, 0);
    EXPECT_EQ(second->removes, 0);
    late = intern(*table, 3);
    table->lifeTimeNotifieeIs(nullptr);
    EXPECT_EQ(second->inserts, 1);
    EXPECT_EQ(second->stops, 1);

    auto const silent = Mox::makeCounted<Observer>();
    table->lifeTimeNotifieeIs(silent);
    intern(*table, 4);
    EXPECT_EQ(silent->inserts, 0) << "its switch is off";
}

TEST_P(Intern, ObserversInternAndReleaseFromInsideANotification) {
    auto const observer = observe();
    std::map<U64, Word::PtrConst> held;
    observer->onInsert = [&](DedupHandle::Ptr const& handle) {
        auto const value = valueOf(handle.get());
        EXPECT_EQ(lookup(*table, value).get(), handle.get()) << "its own thread is handed it";
        if (value < 10) {
            held[value + 1] = intern(*table, value + 1);
        }
    };
    observer->onRemove = [&](DedupHandle* handle) { held.erase(valueOf(handle) + 1); };
    auto first = intern(*table, 1);
    EXPECT_EQ(table->size(), 10U);
    first = nullptr;
    EXPECT_EQ(table->size(), 0U);
    EXPECT_TRUE(observer->present.empty());
    EXPECT_EQ(observer->removes, 10);
}

TEST_P(Intern, TheTableMayGoFromInsideANotification) {
    auto const first = observe();
    first->onInsert = [&](auto const&) { table = nullptr; };
    auto const kept = Mox::makeCounted<Word>(U64{1});
    auto const* const going = table.get();
    EXPECT_EQ(going->dedup(kept), kept.get());
    EXPECT_EQ(first->stops, 1);
    EXPECT_EQ(kept->dedupState(), Kel::dedupHandleStateLeft());
    EXPECT_EQ(kept->referenceCount(), 1U);

    auto other = Mox::makeCounted<Table>(GetParam());
    auto const second = Mox::makeActive<Observer>();
    other->lifeTimeNotifieeIs(second);
    auto one = intern(*other, 1);
    auto const two = intern(*other, 2);
    second->onRemove = [&](auto*) { other = nullptr; };
    one = nullptr;
    EXPECT_FALSE(other);
    EXPECT_EQ(second->stops, 1);
    EXPECT_FALSE(two->isDeduped());
    EXPECT_EQ(two->referenceCount(), 1U);
}

TEST_P(Intern, AnObserverThatThrowsLeavesTheTableAsItWas) {
    auto const observer = observe();
    observer->onInsert = [&](auto const& handle) {
        observer->present.erase(valueOf(handle.get()));
        throw std::runtime_error("no");
    };
    auto const word = Mox::makeCounted<Word>(U64{5});
    EXPECT_THROW(table->dedup(word), std::runtime_error);
    EXPECT_EQ(table->size(), 0U);
    EXPECT_EQ(word->referenceCount(), 1U);
    EXPECT_EQ(word->dedupState(), Kel::dedupHandleStateNeverDeduped());
    observer->onInsert = nullptr;
    EXPECT_EQ(table->dedup(word), word.get()) << "it can be interned again";
}

TEST_P(Intern, AnAllocationThatFailsLeavesTheTableAsItWas) {
    std::vector<Word::Ptr> words;
    for (U64 i = 0; i < 200; ++i) {
        words.push_back(Mox::makeCounted<Word>(i));
    }
    int failures = 0;
    for (auto const& word : words) {
        auto const before = table->size();
        bool failed = false;
        try {
            FailingAllocations const failing(0);
            (void)table->dedup(word);
        } catch (std::bad_alloc const&) {
            failed = true;
        }
        if (failed) {
            ++failures;
            EXPECT_EQ(table->size(), before);
            EXPECT_EQ(word->dedupState(), Kel::dedupHandleStateNeverDeduped());
            (void)table->dedup(word);
        }
        ASSERT_EQ(lookup(*table, word->value()), word.get());
    }
    EXPECT_GT(failures, 3) << "growth was never met";
    // Shrinking without memory: releases never throw.
    {
        FailingAllocations const failing(0);
        words.clear();
    }
    EXPECT_EQ(table->size(), 0U);
}

TEST_P(Intern, ALifetimeNotifierDoesNotKeepAnObjectInterned) {
    std::vector<Mox::Ptr<Kel::DedupHandleLifeTimeNotifier>> notifiers;
    auto const observer = observe();
    observer->onInsert = [&](DedupHandle::Ptr const& handle) {
        notifiers.push_back(Mox::makeActive<Kel::DedupHandleLifeTimeNotifier>(handle));
    };
    auto word = intern(*table, 1);
    EXPECT_EQ(word->word().floor(), 2U);
    EXPECT_EQ(word->referenceCount(), 3U);
    word = nullptr;
    EXPECT_EQ(observer->removes, 1);
    EXPECT_EQ(table->size(), 0U);
    auto const* const left = static_cast<Word const*>(notifiers[0]->dedupHandle());
    EXPECT_EQ(left->value(), 1U) << "whoever holds the notifier keeps the object";
    EXPECT_EQ(left->dedupState(), Kel::dedupHandleStateLeft());
    EXPECT_EQ(left->referenceCount(), 1U);
    auto const again = intern(*table, 1);
    EXPECT_NE(again.get(), left);
    notifiers.clear();
    EXPECT_EQ(again->word().floor(), 1U) << "dropped while the object is interned";
    EXPECT_EQ(again->referenceCount(), 2U);
    EXPECT_EQ(Word::alive, 1);
}

TEST_P(Intern, ALifetimeNotifierDroppedWhileItsObjectIsDetached) {
    Mox::Ptr<Kel::DedupHandleLifeTimeNotifier> notifier;
    auto const observer = observe();
    observer->onInsert = [&](DedupHandle::Ptr const& handle) {
        notifier = Mox::makeActive<Kel::DedupHandleLifeTimeNotifier>(handle);
    };
    observer->onRemove = [&](auto*) { notifier = nullptr; };
    intern(*table, 1);
    EXPECT_EQ(Word::alive, 0);
    auto const kept = intern(*table, 2);
    table = nullptr;
    EXPECT_EQ(kept->referenceCount(), 2U) << "the notifier's is an ordinary one by now";
    notifier = nullptr;
    EXPECT_EQ(kept->referenceCount(), 1U);
}

TEST_P(Intern, SeveralLifetimeNotifiersHoldOneObject) {
    std::vector<Mox::Ptr<Kel::DedupHandleLifeTimeNotifier>> notifiers;
    auto word = intern(*table, 1);
    for (U32 i = 0; i < 5; ++i) {
        notifiers.push_back(Mox::makeActive<Kel::DedupHandleLifeTimeNotifier>(word));
        EXPECT_EQ(word->word().floor(), i + 2);
    }
    word = nullptr;
    EXPECT_FALSE(lookup(*table, 1));
    notifiers.clear();
    EXPECT_EQ(Word::alive, 0);
}

TEST_P(Intern, AnObserverMayResetThePointerThatWasInternedBy) {
    auto const observer = observe();
    auto word = Mox::makeCounted<Word>(U64{1});
    observer->onInsert = [&](auto const&) { word = nullptr; };
    auto const kept = Mox::staticPtrCast<Word const>(table->dedup(word));
    EXPECT_FALSE(word);
    EXPECT_EQ(kept->value(), 1U);
    EXPECT_EQ(kept->referenceCount(), 2U);
}

TEST_P(Intern, DestructorsRunWithoutALockHeld) {
    auto other = Mox::makeCounted<Table>(GetParam());
    Word::onDestroy = [&](Word const& word) {
        if (word.value() < 100) {
            intern(*table, word.value() + 100);
        }
    };
    for (U64 i = 0; i < 100; ++i) {
        intern(*table, i);
    }
    EXPECT_EQ(table->size(), 0U);
}

TEST_P(Intern, ADumpNamesEveryObjectAndWhoHoldsIt) {
    auto const held = intern(*table, 1);
    auto const again = held;
    auto const context = Mox::makeCounted<Kel::StringDumpContext>();
    context->dumpChild(*table, 2);
    EXPECT_EQ(context->text(), "  Kel::DedupHashTableUnorderedSet #1 capacity 8 octets " +
                                   std::to_string(table->octets()) + "\n    Word references 2\n");
}

using InternDeathTest = Intern;
INSTANTIATE_TEST_SUITE_P(Mode, InternDeathTest, bothPointerModes(), pointerModeName);

TEST_P(InternDeathTest, AContentThatIsBeingDetachedIsNotLookedUp) {
    auto const observer = observe();
    observer->onRemove = [&](DedupHandle* handle) { lookup(*table, valueOf(handle)); };
    auto word = intern(*table, 1);
    EXPECT_DEATH(word = nullptr, "CountWord.h:.*: retain: Assertion 'dedupState\\(\\) != "
                                 "Kel::dedupHandleStateBeingDetached\\(\\)' failed\\.");
    observer->onRemove = nullptr;
}

TEST_P(InternDeathTest, OnlyAnObjectThatWasNeverInternedIsInserted) {
    auto const destashed = Mox::makeCounted<Word>(U64{1});
    destashed->makeDestashed();
    EXPECT_EQ(destashed->dedupState(), 4U);
    EXPECT_TRUE(destashed->everDeduped() && !destashed->isDeduped());
    auto const text = "platform/Kel/DedupTableCore.cpp:.*Assertion 'object->dedupState\\(\\) == "
                      "Kel::dedupHandleStateNeverDeduped\\(\\)' failed";
    EXPECT_DEATH((void)table->dedup(destashed), text);
    auto const interned = intern(*table, 1);
    EXPECT_EQ(table->dedup(destashed), interned.get()) << "its equal is there already";
    auto const other = Mox::makeCounted<Table>(GetParam());
    EXPECT_DEATH((void)other->dedup(Mox::constPtrCast<Word>(Word::PtrConst(interned))), text);
}

TEST_P(InternDeathTest, TheModeIsFixedWhileATableIsLive) {
    EXPECT_DEATH(Mox::threadSafePtrsIs(!GetParam()), "no intern table is live");
    EXPECT_DEATH(Routing::Bgp::VoBgpGlobals::multiThreadedIs(!GetParam()),
                 "no intern table is live");
    if (!GetParam()) {
        EXPECT_DEATH(Mox::makeCounted<Table>(true), "!threadSafe \\|\\| Mox::threadSafePtrs\\(\\)");
    }
}

// ---- Beside a naive model -----------------------------------------------------------------------

/// A seeded run of random operations on the table, beside a map from contents to what is held.
class RandomRun {
  public:
    RandomRun(Table::Ptr table, U64 seed)
      : table_(std::move(table))
      , random_(seed)
      , observer_(Mox::makeActive<Observer>()) {}

    void operate(int operations) {
        for (int i = 0; i < operations; ++i) {
            step();
            if (i % 1000 == 0) {
                check();
            }
        }
        check();
        drop(static_cast<int>(held_.size()));
        check();
    }

  private:
    std::size_t below(std::size_t bound) { return random_() % bound; }

    void step() {
        auto const choice = below(100);
        if (choice < 45 || held_.empty()) {
            hold(intern(*table_, below(contents)));
        } else if (choice < 55) {
            hold(held_[below(held_.size())]);
        } else if (choice < 60) {
            lookUp(below(contents));
        } else if (choice < 61) {
            observe();
        } else {
            drop(held_.size() > 400 ? 8 : 1);
        }
    }

    void hold(Word::PtrConst word) {
        auto& model = model_[word->value()];
        if (model.holds++ == 0) {
            model.object = word.get();
        }
        ASSERT_EQ(model.object, word.get()) << "one content, two objects";
        held_.push_back(std::move(word));
    }

    void lookUp(U64 value) {
        auto const found = lookup(*table_, value);
        auto const expected = model_.find(value);
        ASSERT_EQ(found.get(), expected == model_.end() ? nullptr : expected->second.object);
    }

    void drop(int count) {
        while (count-- > 0 && !held_.empty()) {
            std::swap(held_[below(held_.size())], held_.back());
            auto const place = model_.find(held_.back()->value());
            if (--place->second.holds == 0) {
                model_.erase(place);
            }
            held_.pop_back();
        }
    }

    /// Another observer, or none: it hears of what comes from now on.
    void observe() {
        observing_ = !observing_ || below(2) == 0;
        observer_ = Mox::makeActive<Observer>();
        table_->lifeTimeNotifieeIs(observing_ ? observer_ : nullptr);
        unannounced_.clear();
        for (auto const& [value, each] : model_) {
            unannounced_.insert({value, each.object});
        }
    }

    void check() {
        ASSERT_EQ(table_->size(), model_.size());
        ASSERT_EQ(Word::alive, static_cast<int>(model_.size()));
        std::map<U64, U64> holds;
        for (auto const& word : held_) {
            ++holds[word->value()];
        }
        for (auto const& [value, each] : model_) {
            ASSERT_EQ(each.holds, holds[value]);
            ASSERT_EQ(each.object->referenceCount(), each.holds + 1);
            if (observing_ && !observer_->present.contains(value)) {
                ASSERT_TRUE(unannounced_.contains({value, each.object}));
            }
        }
        for (auto const value : observer_->present) {
            ASSERT_TRUE(!observing_ || model_.contains(value));
        }
    }

    static constexpr std::size_t contents = 300;
    struct Model {
        Word const* object = nullptr;
        U64 holds = 0;
    };
    Table::Ptr table_;
    std::mt19937_64 random_;
    std::vector<Word::PtrConst> held_;
    std::map<U64, Model> model_;
    bool observing_ = false;
    Observer::Ptr observer_;
    std::set<std::pair<U64, Word const*>> unannounced_;
};

TEST_P(Intern, AMillionRandomOperationsAgreeWithANaiveModel) {
    for (U64 seed = 1; seed <= 4; ++seed) {
        RandomRun run(table, seed);
        run.operate(250000);
        if (HasFatalFailure()) {
            FAIL() << "seed " << seed;
        }
        table->lifeTimeNotifieeIs(nullptr);
    }
}

// ---- Threads ------------------------------------------------------------------------------------

#if defined(__SANITIZE_THREAD__)
constexpr int threadSteps = 20000;
#else
constexpr int threadSteps = 200000;
#endif

class InternThreads : public testing::Test {
  protected:
    InternThreads()
      : mode_(true)
      , table(Mox::makeCounted<Table>(true)) {}

    /// Four threads intern, copy and release few hot values.
    void hammer(std::function<void(Word::PtrConst const&)> const& onEach = {}) {
        std::vector<std::thread> threads;
        for (unsigned t = 0; t < 4; ++t) {
            threads.emplace_back([this, t, &onEach] {
                std::mt19937_64 random(t);
                std::vector<Word::PtrConst> held(8);
                for (int i = 0; i < threadSteps; ++i) {
                    auto& slot = held[random() % held.size()];
                    U64 const value = random() % 4;
                    slot = random() % 3 == 0 ? nullptr : intern(*table, value);
                    if (slot) {
                        ASSERT_EQ(slot->value(), value);
                        if (onEach) {
                            onEach(slot);
                        }
                    }
                }
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
    }

  private:
    PointerMode mode_;

  public:
    Table::Ptr table;
};

TEST_F(InternThreads, HotValuesComeAndGoUntilNothingIsLeft) {
    hammer();
    EXPECT_EQ(table->size(), 0U);
    EXPECT_EQ(Word::alive, 0);
}

TEST_F(InternThreads, ObserversHearEachContentInTurn) {
    auto const observer = Mox::makeActive<Observer>();
    table->lifeTimeNotifieeIs(observer);
    hammer();
    EXPECT_EQ(observer->inserts, observer->removes);
    EXPECT_TRUE(observer->present.empty());
    EXPECT_EQ(table->size(), 0U);
    EXPECT_EQ(Word::alive, 0);
}

TEST_F(InternThreads, WhatANotifieeDidToAnObjectIsSeenByWhoeverIsHandedIt) {
    std::map<DedupHandle const*, Mox::Ptr<Kel::DedupHandleLifeTimeNotifier>> notifiers;
    auto const observer = Mox::makeActive<Observer>();
    observer->onInsert = [&](DedupHandle::Ptr const& handle) {
        notifiers[handle.get()] = Mox::makeActive<Kel::DedupHandleLifeTimeNotifier>(handle);
    };
    observer->onRemove = [&](DedupHandle* handle) { notifiers.erase(handle); };
    table->lifeTimeNotifieeIs(observer);
    hammer([](Word::PtrConst const& word) { ASSERT_GE(word->word().floor(), 1U); });
    EXPECT_TRUE(notifiers.empty());
    EXPECT_EQ(table->size(), 0U);
    EXPECT_EQ(Word::alive, 0);
}

TEST_F(InternThreads, ReleasesMeetATableThatGoes) {
    for (int round = 0; round < threadSteps / 500; ++round) {
        auto mortal = Mox::makeCounted<Table>(true);
        auto const observer = Mox::makeActive<Observer>();
        if (round % 2 == 0) {
            mortal->lifeTimeNotifieeIs(observer);
        }
        std::vector<Word::PtrConst> mine;
        for (U64 i = 0; i < 32; ++i) {
            mine.push_back(intern(*mortal, i));
        }
        auto theirs = mine;
        std::atomic<bool> go{false};
        std::thread releaser([&] {
            while (!go) {
            }
            theirs.clear();
        });
        std::thread destroyer([&] {
            while (!go) {
            }
            mortal = nullptr;
        });
        go = true;
        mine.clear();
        releaser.join();
        destroyer.join();
        ASSERT_EQ(Word::alive, 0);
    }
}

TEST_F(InternThreads, WhatAnObserverWasGivenIsThereUntilItHasBeenToldToStop) {
    for (int round = 0; round < threadSteps / 500; ++round) {
        auto mortal = Mox::makeCounted<Table>(true);
        auto const observer = Mox::makeActive<Observer>();
        std::set<DedupHandle const*> given;
        observer->onInsert = [&](auto const& handle) { given.insert(handle.get()); };
        observer->onRemove = [&](auto* handle) { given.erase(handle); };
        observer->onStop = [&](auto const&) {
            for (auto const* handle : given) {
                ASSERT_LT(valueOf(handle), 32U) << "it has gone behind the observer's back";
            }
        };
        mortal->lifeTimeNotifieeIs(observer);
        std::vector<Word::PtrConst> mine;
        for (U64 i = 0; i < 32; ++i) {
            mine.push_back(intern(*mortal, i));
        }
        std::thread releaser([&] { mine.clear(); });
        mortal = nullptr;
        releaser.join();
        ASSERT_EQ(observer->stops, 1);
    }
}

TEST_F(InternThreads, AnObserverComesAndGoesWhileOthersIntern) {
    std::atomic<bool> done{false};
    std::thread switcher([&] {
        while (!done) {
            table->lifeTimeNotifieeIs(Mox::makeActive<Observer>());
            table->lifeTimeNotifieeIs(nullptr);
        }
    });
    hammer();
    done = true;
    switcher.join();
    EXPECT_EQ(table->size(), 0U);
    EXPECT_EQ(Word::alive, 0);
}

} // namespace
