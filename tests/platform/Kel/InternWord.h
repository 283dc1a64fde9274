#pragma once

#include "support/PointerMode.h"

#include <Kel/DedupHandleLifeTimeNotifier.h>
#include <Kel/DedupHashTable.h>
#include <Mox/Hash.h>
#include <Mox/Ptr.h>
#include <Mox/Type.h>

#include <atomic>
#include <functional>
#include <set>
#include <thread>
#include <vector>

/// The smallest interned object: a number.
class Word : public Kel::DedupHandle {
  public:
    MOX_COUNTED(Word)

    explicit Word(Mox::U64 value)
      : value_(value) {
        ++alive;
    }
    ~Word() override {
        --alive;
        if (onDestroy) {
            onDestroy(*this);
        }
    }

    Mox::U64 value() const { return value_; }
    Mox::U32 hash() const override { return hashOf(value_); }
    bool compare(DedupHandle const* other) const override {
        return static_cast<Word const*>(other)->value_ == value_;
    }
    bool compareByContent(Kel::DedupContentHandle const& content) const override {
        return content.as<Mox::U64>() == value_;
    }
    Mox::CountWord const& word() const { return countWord(); }
    void makeDestashed() { destashedIs(); }

    /// Few distinct hashes, so that collisions are frequent.
    static Mox::U32 hashOf(Mox::U64 value) {
        return static_cast<Mox::U32>(Mox::hashWord(value / 2));
    }

    inline static std::atomic<int> alive{0};
    inline static std::function<void(Word const&)> onDestroy;

  private:
    Mox::U64 const value_;
};

inline Mox::Type const& Word::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Word", {});
    return type;
}

using Table = Kel::DedupHashTableUnorderedSet;
using Notifier = Kel::DedupHandleLifeTimeNotifier;

inline Word::PtrConst lookup(Table const& table, Mox::U64 value) {
    return Mox::staticPtrCast<Word const>(
        table.lookupByContent(Kel::DedupContentHandle(value), Word::hashOf(value)));
}

inline Word::PtrConst intern(Table const& table, Mox::U64 value) {
    if (auto found = lookup(table, value)) {
        return found;
    }
    return Mox::staticPtrCast<Word const>(table.dedup(Mox::makeCounted<Word>(value)));
}

inline Mox::U64 valueOf(Kel::DedupHandle const* handle) {
    return static_cast<Word const*>(handle)->value();
}

/// Records notifications and checks that insertions and removals of each content alternate and that
/// no two threads notify concurrently.
class Observer : public Kel::DedupHashTableLifeTimeNotifiee {
  public:
    using Ptr = Mox::Ptr<Observer>;
    using Handle = Kel::DedupHandle;

    void handleInsert(Handle::Ptr const& handle) override {
        Turn const turn(*this);
        EXPECT_TRUE(present.insert(valueOf(handle.get())).second) << "notified twice";
        ++inserts;
        if (onInsert) {
            onInsert(handle);
        }
    }

    void handleRemove(Handle* handle) override {
        Turn const turn(*this);
        EXPECT_EQ(handle->dedupState(), Kel::dedupHandleStateBeingDetached());
        EXPECT_EQ(present.erase(valueOf(handle)), 1U) << "not notified";
        ++removes;
        if (onRemove) {
            onRemove(handle);
        }
    }

    void handleNotificationStop(Kel::DedupHashTable::PtrConst const& table) override {
        EXPECT_TRUE(table);
        ++stops;
        if (onStop) {
            onStop();
        }
    }

    std::set<Mox::U64> present;
    int inserts = 0;
    int removes = 0;
    int stops = 0;
    std::function<void(Handle::Ptr const&)> onInsert;
    std::function<void(Handle*)> onRemove;
    std::function<void()> onStop;

  private:
    /// Notifications of one thread may nest.
    struct Turn {
        explicit Turn(Observer& observer)
          : self(observer) {
            EXPECT_TRUE(self.depth_ == 0 || self.thread_ == std::this_thread::get_id());
            self.thread_ = std::this_thread::get_id();
            ++self.depth_;
        }
        ~Turn() { --self.depth_; }
        Observer& self;
    };
    std::thread::id thread_;
    int depth_ = 0;
};

/// A table in one of the two pointer modes. Each test must release everything it interns.
class Intern : public testing::TestWithParam<bool> {
  protected:
    explicit Intern(bool threadSafe = GetParam())
      : mode_(threadSafe)
      , table(Mox::makeCounted<Table>(threadSafe)) {}
    ~Intern() override {
        table = nullptr;
        Word::onDestroy = nullptr;
        EXPECT_EQ(Word::alive, 0) << "an object leaked";
    }

    Observer::Ptr observe() { return observe(*table); }

    static Observer::Ptr observe(Table& observed) {
        auto observer = Mox::makeActive<Observer>();
        observed.lifeTimeNotifieeIs(observer);
        return observer;
    }

    /// Interns the numbers below `bound`.
    static std::vector<Word::PtrConst> internAll(Table const& into, Mox::U64 bound) {
        std::vector<Word::PtrConst> held;
        for (Mox::U64 value = 0; value < bound; ++value) {
            held.push_back(intern(into, value));
        }
        return held;
    }

  private:
    PointerMode mode_;

  public:
    Table::Ptr table;
};
