#include "InternWord.h"

#include <map>
#include <random>
#include <vector>

namespace {

using Kel::DedupHandle;
using Mox::U64;

#if defined(__SANITIZE_THREAD__)
constexpr int steps = 20000;
#else
constexpr int steps = 200000;
#endif

class InternThreads : public Intern {
  protected:
    InternThreads()
      : Intern(true) {}

    /// Four threads intern, copy and release a few hot values until none is left.
    void hammer(std::function<void(Word::PtrConst const&)> const& onEach = {}) {
        std::vector<std::thread> threads;
        for (unsigned t = 0; t < 4; ++t) {
            threads.emplace_back([this, t, &onEach] {
                std::mt19937_64 random(t);
                std::vector<Word::PtrConst> held(8);
                for (int i = 0; i < steps; ++i) {
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
        EXPECT_EQ(table->size(), 0U);
        EXPECT_EQ(Word::alive, 0);
    }
};

TEST_F(InternThreads, HotValuesAreInsertedAndRemovedUntilNoneIsLeft) {
    hammer();
}

TEST_F(InternThreads, InsertionsAndRemovalsOfEachContentAlternate) {
    auto const observer = observe();
    hammer();
    EXPECT_EQ(observer->inserts, observer->removes);
    EXPECT_TRUE(observer->present.empty());
}

TEST_F(InternThreads, ChangesByTheNotifieeAreVisibleToOtherThreads) {
    std::map<DedupHandle const*, Mox::Ptr<Notifier>> notifiers;
    auto const observer = observe();
    observer->onInsert = [&](DedupHandle::Ptr const& handle) {
        std::this_thread::yield();
        notifiers[handle.get()] = Mox::makeActive<Notifier>(handle);
    };
    observer->onRemove = [&](DedupHandle* handle) { notifiers.erase(handle); };
    hammer([](Word::PtrConst const& word) { ASSERT_EQ(word->word().floor(), 2U); });
    EXPECT_TRUE(notifiers.empty());
}

TEST_F(InternThreads, ObserversAreReplacedWhileThreadsIntern) {
    std::atomic<bool> done{false};
    std::thread switcher([&] {
        while (!done) {
            observe();
            table->lifeTimeNotifieeIs(nullptr);
        }
    });
    hammer();
    done = true;
    switcher.join();
}

TEST_F(InternThreads, LookUpsSucceedWhileTheTableGrowsAndShrinks) {
    auto const stay = internAll(*table, 64);
    std::atomic<bool> done{false};
    std::vector<std::thread> changers;
    for (U64 t = 1; t <= 2; ++t) {
        // A removed object frees its memory for the other thread's next object, which has another
        // content.
        changers.emplace_back([this, t] {
            for (U64 round = 0; round < 10; ++round) {
                std::vector<Word::PtrConst> come;
                for (U64 i = 0; i < U64{steps} / 20; ++i) {
                    come.push_back(intern(*table, 64 + 2 * i + t % 2 + (round % 2) * U64{steps}));
                }
            }
        });
    }
    std::thread reader([&] {
        std::mt19937_64 random(0);
        while (!done) {
            U64 const value = random() % stay.size();
            ASSERT_EQ(lookup(*table, value), stay[value]);
            if (auto const other = lookup(*table, value + 64)) {
                ASSERT_EQ(other->value(), value + 64);
            }
        }
    });
    for (auto& changer : changers) {
        changer.join();
    }
    done = true;
    reader.join();
    EXPECT_EQ(table->size(), stay.size());
}

TEST_F(InternThreads, ObjectsAreReleasedWhileTheTableIsDestroyed) {
    for (int round = 0; round < steps / 500; ++round) {
        auto mortal = Mox::makeCounted<Table>(true);
        if (round % 2 == 0) {
            observe(*mortal);
        }
        auto mine = internAll(*mortal, 32);
        auto theirs = mine;
        std::atomic<bool> go{false};
        auto const whenAllAreThere = [&](auto action) {
            return std::thread([&go, action] {
                while (!go) {
                }
                action();
            });
        };
        auto releaser = whenAllAreThere([&] { theirs.clear(); });
        auto destroyer = whenAllAreThere([&] { mortal = nullptr; });
        go = true;
        mine.clear();
        releaser.join();
        destroyer.join();
        ASSERT_EQ(Word::alive, 0);
    }
}

TEST_F(InternThreads, AnnouncedObjectsLiveUntilNotificationStops) {
    for (int round = 0; round < steps / 500; ++round) {
        auto mortal = Mox::makeCounted<Table>(true);
        auto const observer = observe(*mortal);
        std::set<DedupHandle const*> given;
        observer->onInsert = [&](auto const& handle) { given.insert(handle.get()); };
        observer->onRemove = [&](auto* handle) { given.erase(handle); };
        observer->onStop = [&] {
            for (auto const* handle : given) {
                ASSERT_LT(valueOf(handle), 32U) << "removed without a notification";
            }
        };
        auto mine = internAll(*mortal, 32);
        std::thread releaser([&] { mine.clear(); });
        mortal = nullptr;
        releaser.join();
        ASSERT_EQ(observer->stops, 1);
    }
}

} // namespace
