#include <Kel/DedupTableCore.h>

#include <Mox/Assert.h>
#include <Mox/CountWord.h>
#include <Mox/Hash.h>

#include <cstddef>
#include <new>
#include <utility>

namespace Kel {

namespace {

/// Orders all notifications of the process: it is held from before an insertion or a possibly last
/// release in a watched table until the entry is announced or erased. Never destroyed, for objects
/// that are released after every static has gone, and in need of no memory: a release never fails.
std::recursive_mutex& notificationMutex() noexcept {
    alignas(std::recursive_mutex) static std::byte storage[sizeof(std::recursive_mutex)];
    static auto* const mutex = ::new (storage) std::recursive_mutex;
    return *mutex;
}

constexpr std::size_t threadSafeShards = 64;

/// The part of a placement hash that an object keeps.
U32 placementOf(U64 placementHash) noexcept {
    return static_cast<U32>(placementHash ^ placementHash >> 32);
}

} // namespace

// ---- DedupSlots ---------------------------------------------------------------------------------

void DedupSlots::put(U64 slot, U64 placed) noexcept {
    auto place = placed & mask_;
    while (slots_[place] != 0) {
        place = (place + 1) & mask_;
    }
    slots_[place] = slot;
}

void DedupSlots::insert(U64 placed, DedupHandle& handle) noexcept {
    auto const address = reinterpret_cast<U64>(&handle);
    MOX_ASSERT_TEXT(fragmentOf(address) == 0, "an object's address fits 48 bits");
    put(address | fragmentOf(placed) << fragmentShift, placed);
    ++size_;
}

template <class PlacedOf>
void DedupSlots::moveTo(std::unique_ptr<U64[]> slots, std::size_t capacity,
                        PlacedOf const& placedOf) noexcept {
    auto const before = std::exchange(slots_, std::move(slots));
    auto const slotsBefore = before == nullptr ? 0 : mask_ + 1;
    mask_ = capacity - 1;
    for (std::size_t i = 0; i < slotsBefore; ++i) {
        if (before[i] != 0) {
            put(before[i], placedOf(*handleOf(before[i])));
        }
    }
}

template <class PlacedOf>
void DedupSlots::erase(U64 placed, DedupHandle const& handle, PlacedOf const& placedOf) noexcept {
    auto hole = placed & mask_;
    while (handleOf(slots_[hole]) != &handle) {
        MOX_ASSERT_TEXT(slots_[hole] != 0, "an interned object is in its table");
        hole = (hole + 1) & mask_;
    }
    // Whatever stands behind the hole moves up unless that would take it before its own place: a
    // probe never meets an empty slot on the way to what it looks for.
    for (auto next = (hole + 1) & mask_; slots_[next] != 0; next = (next + 1) & mask_) {
        auto const home = placedOf(*handleOf(slots_[next])) & mask_;
        if (((next - home) & mask_) >= ((next - hole) & mask_)) {
            slots_[hole] = slots_[next];
            hole = next;
        }
    }
    slots_[hole] = 0;
    --size_;
    if (capacity() > leastCapacity && 8 * size_ < capacity()) {
        // A release never fails: without memory for a smaller array the larger one stays.
        auto const smaller = capacity() / 2;
        if (std::unique_ptr<U64[]> slots(new (std::nothrow) U64[smaller]()); slots != nullptr) {
            moveTo(std::move(slots), smaller, placedOf);
        }
    }
}

// ---- Locks --------------------------------------------------------------------------------------

/// The locks that one step on a content needs: the shard's, and the notification mutex where
/// something may have to be announced. In plain mode it holds nothing and says that it holds all.
class DedupTableCore::Locks {
  public:
    /// `mayHaveToAnnounce`: take the notification mutex as well, if the table is watched. A
    /// notifiee that comes after this look has no claim to the entry.
    Locks(DedupTableCore const& core, Shard const& shard, bool mayHaveToAnnounce)
      : core_(core) {
        if (!core.threadSafe_) {
            return;
        }
        notification_ = std::unique_lock(notificationMutex(), std::defer_lock);
        shard_ = std::unique_lock(shard.mutex, std::defer_lock);
        if (mayHaveToAnnounce && core.watched_.load(std::memory_order_acquire)) {
            notification_.lock();
        }
        shard_.lock();
    }

    /// Whether no other thread can be announcing anything.
    bool holdNotification() const noexcept {
        return !core_.threadSafe_ || notification_.owns_lock();
    }

    /// Whether an insertion has to wait for the notification mutex first.
    bool lackNotification() const noexcept {
        return !holdNotification() && core_.watched_.load(std::memory_order_acquire);
    }

    /// Whether an insertion or a removal is to be announced, and may be.
    bool mayAnnounce() const noexcept { return holdNotification() && core_.telling_; }

    /// Takes the notification mutex, for which the shard has to be let go: what was seen in it
    /// must be looked at afresh. What another thread is announcing has then been announced.
    void lockNotification() {
        shard_.unlock();
        notification_.lock();
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
    DedupTableCore const& core_;
    std::unique_lock<std::recursive_mutex> notification_;
    std::unique_lock<std::mutex> shard_;
};

// ---- DedupTableCore -----------------------------------------------------------------------------

DedupTableCore::DedupTableCore(bool threadSafe)
  : threadSafe_(threadSafe)
  , shards_(threadSafe ? threadSafeShards : 1) {}

DedupTableCore::~DedupTableCore() = default;

/// Low bits choose the place in an array, bits 42 to 47 the shard, bits 48 to 63 stand in the slot.
U64 DedupTableCore::placedHash(U32 placement) noexcept {
    return Mox::mixHash(placement ^ 0x9e3779b97f4a7c15U, 0xd6e8feb86659fd93U);
}

DedupTableCore::Shard& DedupTableCore::shardOf(U64 placed) noexcept {
    return shards_[threadSafe_ ? (placed >> 42) % threadSafeShards : 0];
}

/// A reference to the object that the predicate accepts, or null. An entry that is being inserted
/// or detached by another thread is waited for: it is there, or gone, when that thread has
/// announced it. The thread that is itself detaching the entry meets the assertion of retain().
template <class Predicate>
DedupHandle::PtrConst DedupTableCore::take(Locks& locks, Shard& shard, U64 placed,
                                           Predicate const& matches) {
    for (;;) {
        auto* const handle = shard.slots.find(placed, matches);
        if (handle == nullptr) {
            return nullptr;
        }
        if (handle->countWord().isSettled() || locks.holdNotification()) {
            return DedupHandle::PtrConst(handle);
        }
        locks.lockNotification();
    }
}

DedupHandle::PtrConst DedupTableCore::find(U64 placementHash,
                                           bool (*matches)(void const*, DedupHandle const&),
                                           void const* context) {
    auto const placement = placementOf(placementHash);
    auto const placed = placedHash(placement);
    auto& shard = shardOf(placed);
    Locks locks(*this, shard, false);
    return take(locks, shard, placed, [&](DedupHandle const& candidate) {
        return candidate.placement_ == placement && matches(context, candidate);
    });
}

/// A hit takes the shard's lock only; the notification mutex is for those who insert.
DedupHandle::PtrConst DedupTableCore::dedup(DedupHandle::Ptr const& object) {
    auto const placement = placementOf(object->placementHash());
    auto const placed = placedHash(placement);
    auto& shard = shardOf(placed);
    auto const equals = [&](DedupHandle const& candidate) {
        return candidate.placement_ == placement && object->compare(&candidate);
    };
    Locks locks(*this, shard, false);
    auto existing = take(locks, shard, placed, equals);
    if (!existing && locks.lackNotification()) {
        locks.lockNotification();
        existing = take(locks, shard, placed, equals);
    }
    if (existing) {
        return existing;
    }
    bool const announce = locks.mayAnnounce();
    enter(shard, *object, placement, announce);
    return announce ? announceInsertion(locks, shard, object) : object;
}

void DedupTableCore::enter(Shard& shard, DedupHandle& handle, U32 placement, bool announce) {
    MOX_ASSERT_TEXT(handle.dedupState() == dedupHandleStateNeverDeduped(),
                    "object->dedupState() == Kel::dedupHandleStateNeverDeduped()");
    shard.slots.makeRoomForOne(placedHashOf);
    // Nothing fails from here on.
    handle.placement_ = placement;
    handle.core_ = this;
    handle.countWord().enterTable(announce);
    shard.slots.insert(placedHash(placement), handle);
}

void DedupTableCore::leave(Shard& shard, DedupHandle& handle) noexcept {
    shard.slots.erase(placedHashOf(handle), handle, placedHashOf);
    handle.core_ = nullptr;
}

/// Tells the notifiee of an object just inserted. The notification mutex is held throughout, so
/// another thread that finds the entry waits, and is handed it only once it has been announced.
/// The object is passed by value: the notifiee may reset the pointer that the caller interned by.
DedupHandle::PtrConst DedupTableCore::announceInsertion(Locks& locks, Shard& shard,
                                                        DedupHandle::Ptr object) {
    auto const notifiee = notifiee_;
    locks.unlockShard();
    try {
        notifiee->handleInsert(object);
    } catch (...) {
        locks.lockShard();
        // Unless the notifiee made the table go, which left nothing to take back.
        if (object->dedupState() == dedupHandleStateDeduped()) {
            leave(shard, *object);
            object->countWord().takeBack();
        }
        locks.unlockShard();
        throw;
    }
    object->countWord().insertionAnnounced();
    return object;
}

/// The race that interning has to win: another thread may find the object between its last release
/// and its removal. It cannot, because the decrement that takes the count to the floor is made
/// under the lock that a look-up takes, and marks the object as being detached in the same step. A
/// look-up that came before raised the count, so this release is not the last; one that comes after
/// finds the mark, and waits or misses. For the same reason two threads never both detach: only one
/// decrement reaches the floor.
void DedupTableCore::releaseHandle(DedupHandle& handle) noexcept {
    using Release = Mox::CountWord::Release;
    auto& word = handle.countWord();
    Mox::Ptr<DedupHashTableLifeTimeNotifiee> notifiee;
    {
        auto& shard = shardOf(placedHashOf(handle));
        Locks locks(*this, shard, true);
        auto const outcome = word.releaseUnderLock();
        if (outcome == Release::released) {
            return;
        }
        if (outcome == Release::detaching) {
            if (word.isAnnounced() && locks.mayAnnounce()) {
                notifiee = notifiee_;
                locks.unlockShard();
                notifiee->handleRemove(&handle);
                locks.lockShard();
            }
            // Looked at afresh: the notifiee may have made the table go.
            if (word.state() == Mox::CountWord::State::beingDetached) {
                leave(shard, handle);
                word.leaveTable();
            }
        }
    }
    // An ordinary reference by now: the table's, or, of an object whose table went while this
    // release was on its way, the caller's. The core may go with the object.
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
    telling_ = notifiee && notifiee->hasNotificationActive();
    // A notifiee hears the removal only of what it was given.
    forgetAnnouncements();
    if (before) {
        before->handleNotificationStop(table);
    }
    // Not before: until the one that goes has been told, what it was given may not leave behind its
    // back. What it did may have changed the notifiee once more; this is how things stand now.
    watched_.store(telling_, std::memory_order_release);
}

Mox::Ptr<DedupHashTableLifeTimeNotifiee> DedupTableCore::notifiee() const {
    std::unique_lock<std::recursive_mutex> lock;
    if (threadSafe_) {
        lock = std::unique_lock(notificationMutex());
    }
    return notifiee_;
}

void DedupTableCore::forgetAnnouncements() noexcept {
    for (auto& shard : shards_) {
        std::unique_lock lock(shard.mutex, std::defer_lock);
        if (threadSafe_) {
            lock.lock();
        }
        shard.slots.forEach([](DedupHandle& handle) { handle.countWord().forgetAnnouncement(); });
    }
}

/// The core may go as soon as the last object has, while the thread that let that object go has
/// only just unlocked a shard: a mutex may be destroyed once it has been unlocked.
void DedupTableCore::abandon() noexcept {
    for (auto& shard : shards_) {
        DedupSlots slots;
        {
            std::unique_lock lock(shard.mutex, std::defer_lock);
            if (threadSafe_) {
                lock.lock();
            }
            slots = std::exchange(shard.slots, {});
            slots.forEach([this](DedupHandle& handle) {
                holders_.fetch_add(1, std::memory_order_relaxed);
                // One that is being detached is let go of by whoever detaches it, which is this
                // thread, further up: others were waited for.
                bool const detaching = handle.dedupState() == dedupHandleStateBeingDetached();
                handle.countWord().leaveTable();
                if (detaching) {
                    handle.retain();
                }
            });
        }
        slots.forEach([](DedupHandle& handle) { handle.release(); });
    }
    release();
}

void DedupTableCore::release() noexcept {
    if (holders_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

namespace {

template <class Shards, class Measure>
std::size_t sumOver(Shards const& shards, bool threadSafe, Measure const& measure) {
    std::size_t sum = 0;
    for (auto const& shard : shards) {
        std::unique_lock lock(shard.mutex, std::defer_lock);
        if (threadSafe) {
            lock.lock();
        }
        sum += measure(shard.slots);
    }
    return sum;
}

} // namespace

std::size_t DedupTableCore::size() const {
    return sumOver(shards_, threadSafe_, [](auto const& slots) { return slots.size(); });
}

std::size_t DedupTableCore::capacity() const {
    return sumOver(shards_, threadSafe_, [](auto const& slots) { return slots.capacity(); });
}

std::size_t DedupTableCore::octets() const {
    return sizeof *this + shards_.size() * sizeof(Shard) +
           sumOver(shards_, threadSafe_, [](auto const& slots) { return slots.octets(); });
}

std::vector<DedupHandle::PtrConst> DedupTableCore::handles() {
    std::vector<DedupHandle::PtrConst> result;
    result.reserve(size());
    for (auto& shard : shards_) {
        std::unique_lock lock(shard.mutex, std::defer_lock);
        if (threadSafe_) {
            lock.lock();
        }
        shard.slots.forEach([&](DedupHandle& handle) {
            if (handle.countWord().isSettled()) {
                result.emplace_back(&handle);
            }
        });
    }
    return result;
}

} // namespace Kel
