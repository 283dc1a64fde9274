#include <Kel/DedupTableCore.h>

#include <Kel/DedupHashTable.h>
#include <Mox/Assert.h>
#include <Mox/SchedulingPoint.h>

#include <array>
#include <cstddef>
#include <new>
#include <stdexcept>
#include <utility>

namespace Kel {

namespace {

/// Orders all notifications of the process. Held from before an insertion, or a possibly last
/// release, that concerns a notifiee until the entry is announced or erased. Never destroyed,
/// because objects may be released after static destruction, and not allocated, so releases cannot
/// fail.
std::recursive_mutex& notificationMutex() noexcept {
    alignas(std::recursive_mutex) static std::byte storage[sizeof(std::recursive_mutex)];
    static auto* const mutex = ::new (storage) std::recursive_mutex;
    return *mutex;
}

// ---- Ids ----------------------------------------------------------------------------------------

/// The cores of the process by id. A core keeps its id until it is destroyed, after the last object
/// with that id. 0 is not an id.
class CoreIds {
  public:
    U32 add(DedupTableCore& core) {
        std::lock_guard const lock(mutex_);
        for (U32 tried = 1; tried < cores_.size(); ++tried) {
            last_ = last_ % (static_cast<U32>(cores_.size()) - 1) + 1;
            if (cores_[last_].load(std::memory_order_relaxed) == nullptr) {
                cores_[last_].store(&core, std::memory_order_release);
                return last_;
            }
        }
        throw std::length_error("Kel: too many intern tables");
    }

    void remove(U32 id) noexcept {
        std::lock_guard const lock(mutex_);
        cores_[id].store(nullptr, std::memory_order_relaxed);
    }

    DedupTableCore& core(U32 id) const noexcept {
        return *cores_[id].load(std::memory_order_acquire);
    }

  private:
    std::mutex mutex_;
    U32 last_ = 0;
    std::array<std::atomic<DedupTableCore*>, Mox::CountWord::tableIds> cores_{};
};

constinit CoreIds coreIds;

} // namespace

// ---- Locks --------------------------------------------------------------------------------------

/// The locks for one operation on a content: the shard's, and the notification mutex if a
/// notification may be needed. In plain mode takes no lock and reports that it holds both.
class DedupTableCore::Locks {
  public:
    /// Locks the shard.
    Locks(DedupTableCore const& core, Shard const& shard)
      : core_(core) {
        if (core.threadSafe_) {
            notification_ = std::unique_lock(notificationMutex(), std::defer_lock);
            MOX_SCHEDULING_POINT(lockShard);
            shard_ = std::unique_lock(shard.mutex);
        }
    }

    /// Locks the notification mutex if the removal of the object must be announced, then the shard.
    /// A notifiee registered after this check is not notified of the object.
    Locks(DedupTableCore const& core, Shard const& shard, DedupHandle const& handle)
      : core_(core) {
        if (core.threadSafe_) {
            notification_ = std::unique_lock(notificationMutex(), std::defer_lock);
            if (concernsNotifiee(handle)) {
                MOX_SCHEDULING_POINT(lockNotificationMutex);
                notification_.lock();
            }
            MOX_SCHEDULING_POINT(lockShardToRelease);
            shard_ = std::unique_lock(shard.mutex);
        }
    }

    /// Whether no other thread can be announcing an object.
    bool holdsNotificationMutex() const noexcept {
        return !core_.threadSafe_ || notification_.owns_lock();
    }

    /// Whether the notification mutex must be taken before the object is inserted.
    bool needsNotificationMutex(DedupHandle const& handle) const noexcept {
        return !holdsNotificationMutex() && concernsNotifiee(handle);
    }

    /// Whether the insertion or the removal of the object is announced.
    bool announces(DedupHandle const& handle) const noexcept {
        return holdsNotificationMutex() && core_.notifieeActive_ && concernsNotifiee(handle);
    }

    /// Takes the notification mutex. Unlocks the shard meanwhile, so its content may change. On
    /// return, announcements in progress in other threads are complete.
    void lockNotification() {
        shard_.unlock();
        MOX_SCHEDULING_POINT(lockNotification);
        notification_.lock();
        MOX_SCHEDULING_POINT(lockShardAgain);
        shard_.lock();
    }

    void unlockShard() {
        if (core_.threadSafe_) {
            shard_.unlock();
        }
    }

    void lockShard() {
        if (core_.threadSafe_) {
            shard_.lock();
        }
    }

  private:
    bool concernsNotifiee(DedupHandle const& handle) const noexcept {
        auto const filter = core_.filter_.load(std::memory_order_acquire);
        return filter != nullptr && filter(handle);
    }

    DedupTableCore const& core_;
    std::unique_lock<std::recursive_mutex> notification_;
    std::unique_lock<std::mutex> shard_;
};

// ---- DedupTableCore -----------------------------------------------------------------------------

DedupTableCore::DedupTableCore(bool threadSafe)
  : threadSafe_(threadSafe)
  , id_(coreIds.add(*this))
  , fast_{!threadSafe, Mox::CountWord::SettledIn(id_)}
  , shardCount_(threadSafe ? threadSafeShards : 1)
  , shards_(std::make_unique<Shard[]>(shardCount_)) {}

DedupTableCore::~DedupTableCore() {
    coreIds.remove(id_);
}

DedupTableCore& DedupTableCore::withId(U32 id) noexcept {
    return coreIds.core(id);
}

/// Returns a reference to the object that `matches` accepts, or null. Waits for an entry that
/// another thread is inserting or detaching: after that thread has announced it, the entry is
/// settled or gone. A thread that is itself detaching the entry fails the assertion in retain().
/// REQUIRES: the shard is locked.
template <class Match>
DedupHandle::PtrConst DedupTableCore::take(Locks& locks, Shard& shard, Placement placement,
                                           Match const& matches) {
    for (;;) {
        auto* const handle = shard.slots.find(placement, matches);
        if (handle == nullptr) {
            return nullptr;
        }
        if (handle->countWord().isSettled() || locks.holdsNotificationMutex()) {
            return DedupHandle::PtrConst(handle);
        }
        locks.lockNotification();
    }
}

void DedupTableCore::releaseOther(DedupHandle const& candidate) noexcept {
    candidate.release();
}

/// Counts a hit if hits are counted and an object was found; returns the object.
DedupHandle::PtrConst DedupTableCore::counted(DedupHandle::PtrConst found) noexcept {
    if (hitsCounted_ && found) [[unlikely]] {
        hits_.fetch_add(1, std::memory_order_relaxed);
    }
    return found;
}

DedupHandle::PtrConst DedupTableCore::findSlowly(DedupMiss& miss, Matcher matches) {
    return counted(findUncounted(miss, matches));
}

/// Handles all cases other than a hit of the first candidate: another object with the same tag, an
/// entry in the previous array, an unsettled entry, a miss. Takes the lock only if the result
/// without it is uncertain.
DedupHandle::PtrConst DedupTableCore::findUncounted(DedupMiss& miss, Matcher matches) {
    Placement const placement(miss.placementHash_);
    auto& shard = shardOf(placement.place());
    auto const changes = shard.slots.changes();
    if (!threadSafe_) {
        miss.changes_ = changes;
        return DedupHandle::PtrConst(shard.slots.find(placement, matches));
    }
    bool unsettled = false;
    auto* const found = shard.slots.find(placement, [&](DedupHandle& candidate) {
        auto const outcome = probe(candidate, matches, Mox::CountWord::SettledIn(id_));
        unsettled |= outcome == Probe::unsettled;
        return outcome == Probe::taken;
    });
    if (found != nullptr) {
        return DedupHandle::PtrConst::adopt(found);
    }
    if (!unsettled && shard.slots.unchangedSince(changes)) {
        miss.changes_ = changes;
        return nullptr;
    }
    Locks locks(*this, shard);
    auto taken = take(locks, shard, placement, matches);
    miss.changes_ = shard.slots.changes();
    return taken;
}

/// Takes the notification mutex only for an insertion that must be announced. Callers that expect a
/// hit call find() first, which takes no lock. If nothing has changed in the shard since that
/// look-up missed, it is conclusive under the lock as well.
DedupHandle::PtrConst DedupTableCore::dedup(DedupHandle::Ptr object, DedupMiss const& miss) {
    Placement const placement(miss.placementHash_);
    auto& shard = shardOf(placement.place());
    auto const equals = [&](DedupHandle const& candidate) { return object->compare(&candidate); };
    Locks locks(*this, shard);
    auto const takeEqual = [&]() -> DedupHandle::PtrConst {
        return shard.slots.unchangedSince(miss.changes_) ? nullptr
                                                         : take(locks, shard, placement, equals);
    };
    auto existing = takeEqual();
    if (!existing && locks.needsNotificationMutex(*object)) {
        locks.lockNotification();
        existing = takeEqual();
    }
    if (existing) {
        return counted(std::move(existing));
    }
    bool const announce = locks.announces(*object);
    enter(shard, *object, placement, announce);
    MOX_SCHEDULING_POINT(entered);
    return announce ? announceInsertion(locks, shard, object) : std::move(object);
}

void DedupTableCore::enter(Shard& shard, DedupHandle& handle, Placement placement, bool announce) {
    MOX_ASSERT_TEXT(handle.dedupState() == dedupHandleStateNeverDeduped(),
                    "object->dedupState() == Kel::dedupHandleStateNeverDeduped()");
    // Look-ups without a lock rely on this (see HandleMemory).
    MOX_ASSERT_TEXT(dynamic_cast<void const*>(&handle) == &handle,
                    "an interned object begins with its Kel::DedupHandle");
    MOX_ASSERT_TEXT(&HandleMemory::countWordOf(&handle) == &handle.countWord(),
                    "the count word is the second word of an object");
    shard.slots.makeRoomForOne();
    // Cannot fail from here on.
    handle.place_ = placement.place();
    ++shard.misses;
    handle.countWord().enterTable(id_, announce);
    shard.slots.insert(placement, handle);
}

void DedupTableCore::leave(Shard& shard, DedupHandle& handle) noexcept {
    shard.slots.erase(handle, handle.place_);
}

/// Announces an inserted object. The notification mutex is held throughout, so another thread that
/// finds the entry waits until it is announced. `object` is passed by value because the notifiee
/// may reset the caller's pointer.
DedupHandle::PtrConst DedupTableCore::announceInsertion(Locks& locks, Shard& shard,
                                                        DedupHandle::Ptr object) {
    auto const notifiee = notifiee_;
    locks.unlockShard();
    try {
        MOX_SCHEDULING_POINT(handleInsert);
        notifiee->handleInsert(object);
    } catch (...) {
        locks.lockShard();
        // Unless the notifiee destroyed the table.
        if (object->dedupState() == dedupHandleStateDeduped()) {
            leave(shard, *object);
            object->countWord().takeBack();
        }
        locks.unlockShard();
        throw;
    }
    MOX_SCHEDULING_POINT(insertionAnnounced);
    object->countWord().insertionAnnounced();
    return object;
}

/// The race to prevent: a look-up finds an object after its last external reference was released
/// but before it is removed. Therefore the decrement to the floor sets *being detached* in the same
/// atomic step, and a look-up adds a reference only to an object that is not being detached, also
/// in one atomic step. If the look-up comes first, this release is not the last one; if the mark
/// comes first, the look-up waits or misses. For the same reason, two threads never both detach an
/// object.
void DedupTableCore::releaseHandle(DedupHandle& handle) noexcept {
    using Release = Mox::CountWord::Release;
    auto& word = handle.countWord();
    {
        auto& shard = shardOf(handle.place_);
        Locks locks(*this, shard, handle);
        auto const outcome = word.releaseUnderLock();
        if (outcome == Release::released) {
            return;
        }
        if (outcome == Release::detaching) {
            if (word.isAnnounced() && locks.announces(handle)) {
                auto const notifiee = notifiee_;
                locks.unlockShard();
                MOX_SCHEDULING_POINT(handleRemove);
                notifiee->handleRemove(&handle);
                MOX_SCHEDULING_POINT(lockShardToLeave);
                locks.lockShard();
            }
            // Check again: the notifiee may have destroyed the table.
            if (word.state() == Mox::CountWord::State::beingDetached) {
                leave(shard, handle);
                MOX_SCHEDULING_POINT(leaveTable);
                word.leaveTable();
            }
        }
    }
    MOX_SCHEDULING_POINT(releaseOrdinary);
    // Now an ordinary reference: the table's, or the caller's if the table was destroyed during
    // this release. The core may be destroyed with the object.
    handle.release();
}

void DedupTableCore::notifieeIs(Mox::Ptr<DedupHashTableLifeTimeNotifiee> const& notifiee,
                                Mox::PtrConst<DedupHashTable> const& table) {
    Mox::Ptr<DedupHashTableLifeTimeNotifiee> before;
    std::unique_lock<std::recursive_mutex> lock;
    if (threadSafe_) {
        lock = std::unique_lock(notificationMutex());
    }
    if (notifiee == notifiee_) {
        return;
    }
    before = std::exchange(notifiee_, notifiee);
    MOX_SCHEDULING_POINT(notifieeIs);
    notifieeActive_ = notifiee && notifiee->hasNotificationActive();
    // A notifiee is notified of a removal only if it was notified of the insertion.
    forgetAnnouncements();
    MOX_SCHEDULING_POINT(handleNotificationStop);
    if (before) {
        before->handleNotificationStop(table);
    }
    // Not earlier: until the previous notifiee is stopped, objects announced to it must not be
    // removed without the notification mutex. It may also have registered another notifiee
    // meanwhile.
    MOX_SCHEDULING_POINT(storeFilter);
    filter_.store(notifieeActive_ ? notifiee_->filter() : nullptr, std::memory_order_release);
}

Mox::Ptr<DedupHashTableLifeTimeNotifiee> DedupTableCore::notifiee() const {
    std::unique_lock<std::recursive_mutex> lock;
    if (threadSafe_) {
        lock = std::unique_lock(notificationMutex());
    }
    return notifiee_;
}

/// Calls the visitor with each shard, locked.
template <class Visitor>
void DedupTableCore::forEachShard(Visitor const& visitor) const {
    for (std::size_t index = 0; index < shardCount_; ++index) {
        std::unique_lock lock(shards_[index].mutex, std::defer_lock);
        if (threadSafe_) {
            lock.lock();
        }
        visitor(shards_[index]);
    }
}

void DedupTableCore::forgetAnnouncements() noexcept {
    forEachShard([](Shard& shard) {
        shard.slots.forEach([](DedupHandle& handle) { handle.countWord().forgetAnnouncement(); });
    });
}

/// The core may be destroyed with the last object, right after the releasing thread unlocked a
/// shard. This is safe: a mutex may be destroyed once it is unlocked.
void DedupTableCore::abandon() noexcept {
    forEachShard([this](Shard& shard) {
        shard.slots.forEach([this](DedupHandle& handle) {
            holders_.fetch_add(1, std::memory_order_relaxed);
            MOX_SCHEDULING_POINT(leaveBehind);
            // An object that is being detached is released further up in this thread; detaching in
            // other threads is complete.
            bool const detaching = handle.dedupState() == dedupHandleStateBeingDetached();
            handle.countWord().leaveBehind();
            if (detaching) {
                handle.retain();
            }
        });
    });
    // The slots are not used any more: no object refers to this table.
    MOX_SCHEDULING_POINT(releaseAbandoned);
    for (std::size_t index = 0; index < shardCount_; ++index) {
        shards_[index].slots.forEach([](DedupHandle& handle) { handle.release(); });
    }
    release();
}

void DedupTableCore::release() noexcept {
    MOX_SCHEDULING_POINT(releaseCore);
    if (holders_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

template <class Measure>
std::size_t DedupTableCore::sumOfShards(Measure const& measure) const {
    std::size_t sum = 0;
    forEachShard([&](Shard const& shard) { sum += measure(shard.slots); });
    return sum;
}

void DedupTableCore::hitsCountedIs(bool counted) noexcept {
    using SettledIn = Mox::CountWord::SettledIn;
    hitsCounted_ = counted;
    fast_ = {!threadSafe_ && !counted, counted ? SettledIn::nowhere() : SettledIn(id_)};
}

U64 DedupTableCore::misses() const {
    U64 sum = 0;
    forEachShard([&](Shard const& shard) { sum += shard.misses; });
    return sum;
}

std::size_t DedupTableCore::size() const {
    return sumOfShards([](DedupSlots const& slots) { return slots.size(); });
}

std::size_t DedupTableCore::capacity() const {
    return sumOfShards([](DedupSlots const& slots) { return slots.capacity(); });
}

std::size_t DedupTableCore::octets() const {
    return sizeof *this + shardCount_ * sizeof(Shard) +
           sumOfShards([](DedupSlots const& slots) { return slots.octets(); });
}

std::vector<DedupHandle::PtrConst> DedupTableCore::handles() {
    std::vector<DedupHandle::PtrConst> result;
    result.reserve(size());
    forEachShard([&](Shard& shard) {
        shard.slots.forEach([&](DedupHandle& handle) {
            if (handle.countWord().isSettled()) {
                result.emplace_back(&handle);
            }
        });
    });
    return result;
}

} // namespace Kel
