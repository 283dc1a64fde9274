#include "InternWord.h"

#include "support/Scheduler.h"
#include "support/StoreFolder.h"

#include <MoxStash/StoreManager.h>
#include <MoxStash/StorePublisher.h>
#include <MoxStash/StoreWriter.h>
#include <VoBgp/CommunityTables.h>
#include <VoBgp/ExtCommListDedupTable.h>
#include <VoBgp/NotifyingRouteTargetList.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <random>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// Built with scheduling points: short rounds of a few threads, each with other delays.

namespace {

using namespace Routing::Bgp;
using Kel::DedupHandle;
using Mox::U64;
using Random = std::mt19937_64;

/// Runs rounds for the seconds in VOBGP_INTERLEAVINGS_SECONDS, or `seconds`, or until one fails.
/// The seed is that in VOBGP_INTERLEAVINGS_SEED, or a random one; it is printed.
template <class Round>
void runRounds(int seconds, Round const& round) {
    auto const number = [](char const* name, U64 otherwise) {
        auto const* const value = std::getenv(name);
        return value == nullptr ? otherwise : std::stoull(value);
    };
    U64 const seed = number("VOBGP_INTERLEAVINGS_SEED", std::random_device()());
    auto const limit =
        std::chrono::seconds(number("VOBGP_INTERLEAVINGS_SECONDS", static_cast<U64>(seconds)));
    auto const end = std::chrono::steady_clock::now() + limit;
    U64 const delaysBefore = Scheduler::delays();
    U64 rounds = 0;
    while (!testing::Test::HasFailure() && std::chrono::steady_clock::now() < end) {
        ++rounds;
        Random random(seed + rounds);
        Scheduler::roundIs(seed + rounds);
        round(random);
    }
    Scheduler::roundIs(0);
    std::cout << "seed " << seed << ", " << rounds << " rounds, "
              << Scheduler::delays() - delaysBefore << " delays\n";
    EXPECT_GT(Scheduler::delays(), delaysBefore) << "built without scheduling points";
}

/// Runs `work(random, start())` in 2 to 16 threads, mostly few. Calls `started` when all have what
/// `start` returned.
template <class Start, class Work, class Started>
void runThreads(Random& random, Start const& start, Work const& work, Started const& started) {
    constexpr std::size_t counts[] = {2, 2, 3, 3, 4, 4, 8, 16};
    std::vector<std::thread> threads;
    for (auto left = counts[random() % std::size(counts)]; left != 0; --left) {
        threads.emplace_back([&work, seed = random(), mine = start()]() mutable {
            Random own(seed);
            work(own, std::move(mine));
        });
    }
    started();
    for (auto& thread : threads) {
        thread.join();
    }
}

// ---- Values -------------------------------------------------------------------------------------

/// Numbers of one shard, so that a few make its array grow.
std::vector<U64> const& valuesOfOneShard() {
    static std::vector<U64> const values = [] {
        std::vector<U64> found;
        for (U64 value = 0; found.size() < 24; ++value) {
            if (Kel::Placement(Mox::keyedHash(Word::hashOf(value))).place() % 64 == 0) {
                found.push_back(value);
            }
        }
        return found;
    }();
    return values;
}

/// What may happen in a round besides interning and releasing.
struct Events {
    explicit Events(Random& random)
      : isObserved(random() % 3 != 0)
      , observersChange(isObserved && random() % 3 == 0)
      , observerThrows(isObserved && random() % 3 == 0)
      , observerLooksUp(isObserved && random() % 3 == 0)
      , notifiers(random() % 2 == 0)
      , tableDies(random() % 2 == 0)
      , values(random() % 2 == 0 ? 1 + random() % 3 : valuesOfOneShard().size() - 1) {}

    bool const isObserved, observersChange, observerThrows, observerLooksUp, notifiers, tableDies;
    U64 const values;
};

/// The calling thread's reference to the table, if an observer may drop it.
thread_local Table::Ptr* ownTable = nullptr;

class Values {
  public:
    explicit Values(Random& random)
      : events_(random)
      , table_(Mox::makeCounted<Table>(true)) {
        if (events_.isObserved) {
            observer_ = newObserver();
            table_->lifeTimeNotifieeIs(observer_);
        }
    }

    void run(Random& random) {
        runThreads(
            random, [this] { return table_; },
            [this](Random& own, Table::Ptr table) { work(own, std::move(table)); },
            [this] { table_ = events_.tableDies ? nullptr : table_; });
        if (table_) {
            EXPECT_EQ(table_->size(), 0U);
            EXPECT_TRUE(!isAlwaysObserved() || observer_->present.empty());
        }
    }

  private:
    [[nodiscard]] bool isAlwaysObserved() const {
        return events_.isObserved && !events_.observersChange;
    }

    [[nodiscard]] Observer::Ptr newObserver() {
        auto observer = Mox::makeActive<Observer>();
        auto const announced = std::make_shared<std::set<DedupHandle const*>>();
        observer->onInsert = [=, this, &self = *observer](auto const& handle) {
            announced->insert(handle.get());
            U64 const value = valueOf(handle.get());
            if (events_.observerLooksUp && value != valuesOfOneShard().back() && ownTable) {
                EXPECT_EQ(lookupOrNull(value).get(), handle.get());
                internOrNull(valuesOfOneShard().back()); // notifies again, twice
            }
            if (events_.observerThrows && self.inserts % 4 == 0) {
                announced->erase(handle.get());
                self.present.erase(value);
                throw std::runtime_error("observer");
            }
            dropTable(self.inserts);
        };
        observer->onRemove = [=, this, &self = *observer](auto* handle) {
            announced->erase(handle);
            dropTable(self.removes);
        };
        observer->onStop = [=] {
            for (auto const* handle : *announced) {
                EXPECT_NE(static_cast<Word const*>(handle)->word().state(),
                          Mox::CountWord::State::left)
                    << "removed without a notification";
            }
        };
        return observer;
    }

    void dropTable(int notifications) const {
        if (events_.tableDies && ownTable != nullptr && notifications % 2 == 0) {
            *std::exchange(ownTable, nullptr) = nullptr;
        }
    }

    void work(Random& random, Table::Ptr table) {
        ownTable = &table;
        std::vector<Word::PtrConst> held(4);
        std::vector<Mox::Ptr<Notifier>> notifiers;
        for (int step = 0; step < 60; ++step) {
            auto& slot = held[random() % held.size()];
            switch (auto const choice = random() % 8; choice) {
            case 0:
            case 1:
            case 2:
            case 3:
                slot = found(valuesOfOneShard()[random() % events_.values], choice);
                break;
            case 4:
                slot = held[random() % held.size()];
                break;
            case 5:
                if (events_.notifiers && slot && notifiers.size() < 3) {
                    notifiers.push_back(Mox::makeActive<Notifier>(slot));
                } else {
                    notifiers.clear();
                }
                break;
            default:
                slot = nullptr;
            }
            check(held);
            if (events_.tableDies && random() % 64 == 0) {
                ownTable = nullptr;
                table = nullptr;
            }
            if (events_.observersChange && table && random() % 16 == 0) {
                table->lifeTimeNotifieeIs(random() % 2 == 0 ? newObserver() : nullptr);
            }
        }
        ownTable = nullptr;
    }

    Word::PtrConst found(U64 value, U64 choice) const {
        auto const word = choice == 0 ? lookupOrNull(value) : internOrNull(value);
        EXPECT_TRUE(!word || word->value() == value);
        return word;
    }

    /// Null also without a table. Holds the table: a look-up may notify of a removal, and the
    /// observer may then drop the thread's reference.
    static Word::PtrConst lookupOrNull(U64 value) {
        auto const table = ownTable == nullptr ? nullptr : *ownTable;
        return table ? lookup(*table, value) : nullptr;
    }

    /// Null if the observer refuses the value, or without a table.
    Word::PtrConst internOrNull(U64 value) const {
        Kel::DedupMiss miss(Mox::keyedHash(Word::hashOf(value)));
        DedupHandle::PtrConst word;
        if (auto const table = ownTable == nullptr ? nullptr : *ownTable) {
            word = table->find(miss, [value](DedupHandle const& candidate) {
                return valueOf(&candidate) == value;
            });
        }
        if (!word && ownTable != nullptr) {
            try {
                // The observer may drop the last reference to the table.
                word = (*ownTable)->dedup(Mox::makeCounted<Word>(value), miss);
            } catch (std::runtime_error const&) {
                EXPECT_TRUE(events_.observerThrows);
            }
        }
        return Mox::staticPtrCast<Word const>(std::move(word));
    }

    /// While the table exists, equal values are one object, which is found and was announced.
    void check(std::vector<Word::PtrConst> const& held) const {
        for (auto const& one : held) {
            if (one && ownTable != nullptr) {
                EXPECT_TRUE(one->isDeduped());
                EXPECT_TRUE(!isAlwaysObserved() || one->word().isAnnounced());
                EXPECT_EQ(lookupOrNull(one->value()), one);
            }
        }
    }

    Events const events_;
    Table::Ptr table_;
    Observer::Ptr observer_;
};

TEST(Interleavings, ValuesAreInternedOnceAndReleased) {
    PointerMode const mode(true);
    runRounds(30, [](Random& random) {
        Values(random).run(random);
        EXPECT_EQ(Word::alive, 0);
    });
}

// ---- Lists, while stores are written ------------------------------------------------------------

std::string octetsOf(std::initializer_list<U64> communities) {
    std::string octets;
    for (U64 const community : communities) {
        for (int shift = 56; shift >= 0; shift -= 8) {
            octets.push_back(static_cast<char>(community >> shift));
        }
    }
    return octets;
}

/// Values of path attributes that share members and classification lists.
std::vector<std::string> const& attributeValues() {
    constexpr U64 target = 0x0002'fde8'0000'0001, origin = 0x0003'fde8'0000'0001;
    static std::vector<std::string> const values = {
        octetsOf({target}),         octetsOf({target, target + 1}),
        octetsOf({target, origin}), octetsOf({target, target + 1, origin}),
        octetsOf({origin}),
    };
    return values;
}

/// Checks that route targets come and go in turn.
class TargetObserver : public NotifyingRouteTargetList::Notifiee {
  public:
    explicit TargetObserver(CommunityTables const& tables)
      : Notifiee(tables.routeTargets()) {}

    void handleRt(RouteTarget const& target) override {
        auto const text = target.toStrep(false).str();
        EXPECT_TRUE(notifier()->rtHas(target) ? present_.insert(text).second
                                              : present_.erase(text) == 1);
    }

  private:
    std::set<std::string> present_;
};

std::string wireOf(ExtCommList const& list) {
    return list.serialize(ExtCommList::serialization(true, true, true)).str();
}

/// Publishes a list and rebuilds whichever list was published last.
void publishAndRebuild(std::string const& store, ExtCommList const& list) {
    MoxStash::StoreWriter writer;
    auto const* const stored = list.stash(writer);
    writer.rootIs("list", stored);
    writer.rootIs(wireOf(list), stored);
    MoxStash::publishStore(writer, store);
    try {
        MoxStash::StoreManager manager(store);
        auto const rebuilt = ExtCommList::destash(manager.root("list"), &manager);
        auto const* const root = manager.root(wireOf(*rebuilt));
        auto const* const last = manager.root("list");
        manager.validateVersionAnchor(); // the roots may be those of a newer store
        EXPECT_EQ(root, last);
    } catch (MoxStash::StaleStoreException const&) {
        // Other threads have published two stores meanwhile.
    }
}

void internLists(Random& random, CommunityTables const& tables, std::string const& store) {
    std::vector<ExtCommList::PtrConst> held(3);
    for (int step = 0; step < 30; ++step) {
        auto const& octets = attributeValues()[random() % attributeValues().size()];
        auto const value = std::as_bytes(std::span(octets));
        auto& slot = held[random() % held.size()];
        slot = random() % 3 == 0 ? nullptr : tables.extCommList(value).list;
        if (slot) {
            EXPECT_EQ(wireOf(*slot).substr(3), octets);
            EXPECT_EQ(slot, tables.extCommList(value).list);
            if (random() % 64 == 0) {
                publishAndRebuild(store, *slot);
            }
        }
    }
}

TEST(Interleavings, ListsAreInternedOnceAndReleased) {
    PointerMode const mode(true);
    StoreFolder const folder;
    runRounds(30, [&](Random& random) {
        CommunityTables const tables;
        TargetObserver observer(tables);
        runThreads(
            random, [] { return 0; },
            [&](Random& own, int) { internLists(own, tables, folder.store(true)); }, [] {});
        EXPECT_EQ(tables.routeTargets()->rts(), 0U);
        EXPECT_EQ(tables.routeTargetLists()->rtExtCommLists(), 0U);
        EXPECT_EQ(tables.extCommDedupTable()->dedupHashTable()->size(), 0U);
        auto const& lists = *tables.extCommListDedupTable();
        EXPECT_EQ(lists.dedupTable()->size(), 0U);
        EXPECT_EQ(lists.extCommClassificationListDedupTable()->size(), 0U);
        EXPECT_EQ(lists.rtExtCommClassificationListDedupTable()->size(), 0U);
    });
}

} // namespace
