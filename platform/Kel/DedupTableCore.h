#pragma once

#include <Kel/DedupHandle.h>
#include <Kel/DedupSlots.h>
#include <Mox/CountWord.h>
#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/SchedulingPoint.h>
#include <Mox/Types.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace Kel {

class DedupHashTable;
class DedupHashTableLifeTimeNotifiee;

/// Whether a lifetime notifiee is notified of an object; constant for each object.
using DedupHandleFilter = bool (*)(DedupHandle const& handle) noexcept;

/// A look-up by a placement hash that found nothing. An insertion that follows looks again only if
/// the table has changed meanwhile.
class DedupMiss {
  public:
    /// Before the look-up, or without one.
    explicit DedupMiss(U64 placementHash) noexcept
      : placementHash_(placementHash) {}

  private:
    friend class DedupTableCore;

    /// A number that DedupSlots::unchangedSince() never accepts.
    static constexpr U64 unknown = 1;

    U64 placementHash_;
    U64 changes_ = unknown;
};

/// The part of a table that may outlive it: the slots, their locks, and the notifiee.
///
/// Shared by the table and by every object that outlives it: a release of such an object may still
/// be in progress when the table is destroyed. Objects refer to it by its id, which is part of
/// their count word. Thread-safe if constructed so, otherwise thread-compatible.
///
/// In thread-safe mode the slots are split by placement hash into shards, each with a lock, so that
/// changes of different contents rarely contend. A look-up that succeeds takes no lock. Lock order:
/// the process-wide notification mutex, then one shard. No shard lock is held while foreign code
/// runs.
class VOBGP_EXPORT DedupTableCore {
  public:
    explicit DedupTableCore(bool threadSafe);
    ~DedupTableCore();
    DedupTableCore(DedupTableCore const&) = delete;
    DedupTableCore& operator=(DedupTableCore const&) = delete;
    bool isThreadSafe() const noexcept { return threadSafe_; }

    /// Returns the core with this id. REQUIRES: it exists.
    static DedupTableCore& withId(U32 id) noexcept;

    /// Returns the interned object with this placement hash that `matches(DedupHandle const&)`
    /// accepts, or null.
    template <class Match>
    DedupHandle::PtrConst find(U64 placementHash, Match const& matches) {
        DedupMiss miss(placementHash);
        return find(miss, matches);
    }

    /// The same for the placement hash of `miss`, which records what the insertion of such an
    /// object need not look up again.
    template <class Match>
    DedupHandle::PtrConst find(DedupMiss& miss, Match const& matches) {
        auto* const taken = takeFast(miss.placementHash_, matches);
        return taken != nullptr ? DedupHandle::PtrConst::adopt(taken) : findSlowly(miss, matches);
    }

    /// Adds a reference to the matching object and returns it for the caller to adopt, or returns
    /// null. Null may be wrong: probes only the most likely slots and takes no lock.
    template <class Match>
    DedupHandle* takeFast(U64 placementHash, Match const& matches) {
        Placement const placement(placementHash);
        auto* const candidate = shardOf(placement.place()).slots.candidate(placement);
        if (candidate == nullptr) [[unlikely]] {
            return nullptr;
        }
        if (fast_.plain) {
            if (!matches(*candidate)) [[unlikely]] {
                return nullptr;
            }
            candidate->retain();
            return candidate;
        }
        return probe(*candidate, matches, fast_.settled) == Probe::taken ? candidate : nullptr;
    }

    /// Like find(), for use after takeFast() returned null.
    template <class Match>
    DedupHandle::PtrConst findSlowly(DedupMiss& miss, Match const& matches) {
        return findSlowly(miss, Matcher(matches));
    }

    /// Interns an object: see DedupHashTable.
    DedupHandle::PtrConst dedup(DedupHandle::Ptr object, DedupMiss const& miss);

    /// Releases what may be the last external reference to an object interned here.
    void releaseHandle(DedupHandle& handle) noexcept;

    void notifieeIs(Mox::Ptr<DedupHashTableLifeTimeNotifiee> const& notifiee,
                    Mox::PtrConst<DedupHashTable> const& table);
    Mox::Ptr<DedupHashTableLifeTimeNotifiee> notifiee() const;

    /// Called when the table is destroyed: all objects become ordinary counted objects.
    void abandon() noexcept;

    /// Releases the core's reference from the table, or from an object that outlives it.
    void release() noexcept;

    /// Whether hits are counted. REQUIRES: no other thread uses the table during a change.
    void hitsCountedIs(bool counted) noexcept;
    bool hitsCounted() const noexcept { return hitsCounted_; }

    std::size_t size() const;
    std::size_t capacity() const;
    std::size_t octets() const;
    U64 hits() const noexcept { return hits_.load(std::memory_order_relaxed); }
    U64 misses() const;
    std::vector<DedupHandle::PtrConst> handles();

  private:
    struct Shard {
        DedupSlots slots;
        mutable std::mutex mutex;
        U64 misses = 0; // objects inserted
    };

    /// The parameters of takeFast(). While hits are counted no object passes it, so that
    /// findSlowly() finds them all and counts them: counting costs nothing when it is off.
    struct FastPath {
        bool plain; // compares the content at once
        Mox::CountWord::SettledIn settled;
    };
    class Locks;

    static constexpr std::size_t threadSafeShards = 64;

    /// Selects the shard by the low bits; the high bits select the bucket.
    Shard& shardOf(U32 place) noexcept { return shards_[place & (shardCount_ - 1)]; }

    /// A type-erased reference to a match function.
    class Matcher {
      public:
        template <class Match>
        explicit Matcher(Match const& match) noexcept
          : match_(&match)
          , call_([](void const* context, DedupHandle const& candidate) {
              return (*static_cast<Match const*>(context))(candidate);
          }) {}

        bool operator()(DedupHandle const& candidate) const { return call_(match_, candidate); }

      private:
        void const* match_;
        bool (*call_)(void const* context, DedupHandle const& candidate);
    };

    enum class Probe { taken, another, unsettled };

    /// Without a lock: adds a reference to an object found in a slot, in one atomic step with the
    /// check that it is interned here and settled; then compares its content. On a match, the
    /// caller owns the reference.
    ///
    /// Until the reference is added, the object may be destroyed and its memory reused at any time.
    /// Only its count word is read, which always remains a count word (HandleMemory). The word
    /// contains the table's id, so an object of another table is rejected. A retained object is
    /// interned here and stays so; if its content differs, the memory was reused after the slot was
    /// read.
    template <class Match>
    static Probe probe(DedupHandle& candidate, Match const& matches,
                       Mox::CountWord::SettledIn settled) {
        MOX_SCHEDULING_POINT(probe);
        if (!HandleMemory::countWordOf(&candidate).retainIfSettledIn(settled)) [[unlikely]] {
            return Probe::unsettled;
        }
        MOX_SCHEDULING_POINT(compareProbed);
        if (!matches(candidate)) [[unlikely]] {
            releaseOther(candidate);
            return Probe::another;
        }
        return Probe::taken;
    }

    /// Releases a candidate with another content. Out of line, so that a hit need not save
    /// registers.
    static void releaseOther(DedupHandle const& candidate) noexcept;

    DedupHandle::PtrConst findSlowly(DedupMiss& miss, Matcher matches);
    DedupHandle::PtrConst findUncounted(DedupMiss& miss, Matcher matches);
    DedupHandle::PtrConst counted(DedupHandle::PtrConst found) noexcept;

    template <class Match>
    DedupHandle::PtrConst take(Locks& locks, Shard& shard, Placement placement,
                               Match const& matches);

    void enter(Shard& shard, DedupHandle& handle, Placement placement, bool announce);
    void leave(Shard& shard, DedupHandle& handle) noexcept;
    DedupHandle::PtrConst announceInsertion(Locks& locks, Shard& shard, DedupHandle::Ptr object);
    void forgetAnnouncements() noexcept;

    template <class Visitor>
    void forEachShard(Visitor const& visitor) const;
    template <class Measure>
    std::size_t sumOfShards(Measure const& measure) const;

    bool const threadSafe_;
    U32 const id_;
    FastPath fast_;
    std::size_t const shardCount_;
    std::unique_ptr<Shard[]> const shards_;
    /// The notifiee and its switch are guarded by the notification mutex. The filter may be read
    /// without it; null without an active notifiee.
    Mox::Ptr<DedupHashTableLifeTimeNotifiee> notifiee_;
    bool notifieeActive_ = false;
    std::atomic<DedupHandleFilter> filter_{nullptr};
    std::atomic<U64> holders_{1};
    std::atomic<U64> hits_{0};
    bool hitsCounted_ = false;
};

} // namespace Kel
