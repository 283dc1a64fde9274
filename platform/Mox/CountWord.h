#pragma once

#include <Mox/Assert.h>
#include <Mox/Export.h>
#include <Mox/SchedulingPoint.h>
#include <Mox/Types.h>

#include <atomic>

namespace Mox {

/// Whether reference counts are atomic. Process-wide; off by default.
VOBGP_EXPORT bool threadSafePtrs() noexcept;

/// Sets whether reference counts are atomic. REQUIRES: there is no second thread yet, and no intern
/// table exists (asserted).
VOBGP_EXPORT void threadSafePtrsIs(bool threadSafe) noexcept;

namespace Detail {

// Exported because every retain and release reads it inline. Only threadSafePtrsIs() and
// InternTablePresence write it.
VOBGP_EXPORT extern std::atomic<bool> threadSafePtrsFlag;

/// A member of every intern table: while one exists, the counting mode cannot change.
class VOBGP_EXPORT InternTablePresence {
  public:
    InternTablePresence() noexcept;
    ~InternTablePresence();
    static bool any() noexcept;
    InternTablePresence(InternTablePresence const&) = delete;
    InternTablePresence& operator=(InternTablePresence const&) = delete;
};

} // namespace Detail

/// The word that controls the lifetime of a counted object: its reference count, the floor below
/// which the count never falls while the object is in an intern table, its intern state and the id
/// of its table.
///
/// All fields are in one word because each step below depends on several of them: no thread may act
/// on one field with a stale view of another. Each transition of the interning protocol is one
/// function here; `Kel/DedupTableCore.cpp` describes when each is used.
///
///      63         48  47      46   45     43 42     37 36                                0
///     +--------------+-------+----+---------+---------+-----------------------------------+
///     |   table id   |announc|pend|  state  |  floor  |               users               |
///     +--------------+-------+----+---------+---------+-----------------------------------+
///
/// - floor: 0 outside a table; 1 for the table's reference, and 1 for each lifetime notifier's.
/// - users: the references above the floor. The reference count is the sum of both.
/// - state: see State.
/// - pend: the insertion is not announced yet.
/// - announc: a lifetime notifiee was notified of the insertion and will be notified of the
///   removal.
/// - table id: the table that holds the object, or held it until the table was destroyed; 0 if
///   none.
///
/// Thread-safe when threadSafePtrs() is on; otherwise every step is a plain load and store without
/// a lock prefix. A lock-free look-up may read the word of a destroyed object: the memory of
/// interned objects always has a count word at the same place (Kel/HandleMemory.h). Therefore every
/// access is atomic, including the constructor's, and the state of a destroyed object is never
/// `interned`.
class CountWord {
  public:
    /// The numbers are part of the public interface: 0 never interned, 1 interned, 4 destashed.
    enum class State : U8 {
        neverInterned = 0,
        interned = 1,
        /// The last external reference was released; the removal is being announced.
        beingDetached = 2,
        /// No longer interned; all references are ordinary.
        left = 3,
        /// Rebuilt from a store. Never in a table.
        destashed = 4,
    };

    /// The maximum number of lifetime notifiers that hold an object at a time (asserted).
    static constexpr U32 maximumNotifiers = 62;
    /// The limit of table ids, exclusive.
    static constexpr U32 tableIds = 1U << 16;

    /// Initialises a new object: one reference, not in a table.
    CountWord() noexcept { store(1); }
    CountWord(CountWord const&) = delete;
    CountWord& operator=(CountWord const&) = delete;
    U64 referenceCount() const noexcept {
        U64 const word = load();
        return usersOf(word) + floorOf(word);
    }
    U32 floor() const noexcept { return floorOf(load()); }
    State state() const noexcept { return stateOf(load()); }
    U32 tableId() const noexcept { return static_cast<U32>(load() >> tableShift); }

    /// Whether the object is interned and not pending, so that it may be returned to any thread.
    /// Acquire: the effects of the announcement on the object are visible.
    bool isSettled() const noexcept {
        U64 const word = ref().load(std::memory_order_acquire);
        return stateOf(word) == State::interned && (word & pendingBit) == 0;
    }

    bool isAnnounced() const noexcept { return (load() & announcedBit) != 0; }

    /// The fields of an object that is interned in a given table and settled.
    struct SettledIn {
        explicit constexpr SettledIn(U32 tableId) noexcept
          : bits(U64{tableId} << tableShift | U64{1} << stateShift) {}
        /// No object's fields.
        static constexpr SettledIn nowhere() noexcept {
            SettledIn none(0);
            none.bits = ~U64{0};
            return none;
        }
        U64 bits;
    };

    /// Adds a reference if the object is interned in that table and settled; returns whether it
    /// did. The caller needs neither a lock nor a reference: the object may be any that was ever in
    /// the table, even a destroyed one. Acquire: the content of the object is visible.
    bool retainIfSettledIn(SettledIn settled) noexcept {
        U64 before = load();
        do {
            if ((before & (tableMask | stateMask | pendingBit)) != settled.bits) {
                return false;
            }
            MOX_SCHEDULING_POINT(retainIfSettledIn);
        } while (!ref().compare_exchange_weak(before, before + 1, std::memory_order_acquire,
                                              std::memory_order_relaxed));
        return true;
    }

    /// Adds a reference.
    /// REQUIRES: the caller already holds one, and the object is not being detached (asserted).
    /// Relaxed: passing the object to another thread must itself synchronize.
    void retain() noexcept {
        U64 before;
        if (atomicMode()) {
            before = ref().fetch_add(1, std::memory_order_relaxed);
        } else {
            before = load();
            store(before + 1);
        }
        MOX_ASSERT_TEXT(stateOf(before) != State::beingDetached,
                        "dedupState() != Kel::dedupHandleStateBeingDetached()");
    }

    /// Releases a reference if the count stays above the floor. Otherwise changes nothing and
    /// returns false.
    bool releaseAboveFloor() noexcept {
        U64 before = load();
        if (!atomicMode()) {
            if (!hasSeveralUsers(before)) {
                return false;
            }
            store(before - 1);
            return true;
        }
        while (hasSeveralUsers(before)) {
            MOX_SCHEDULING_POINT(releaseAboveFloor);
            if (ref().compare_exchange_weak(before, before - 1, std::memory_order_release,
                                            std::memory_order_relaxed)) {
                return true;
            }
        }
        return false;
    }

    /// Whether the caller's reference is the only one and the object is in no table. Acquire: the
    /// writes of previous owners before their releases are visible.
    bool isSoleReference() const noexcept {
        U64 const word = ref().load(std::memory_order_acquire);
        return (word & (usersMask | floorMask)) == 1;
    }

    /// Records the insertion: adds the table's reference and sets the floor to one. `announce`: a
    /// lifetime notifiee must be notified before the object is returned to another thread.
    /// REQUIRES: the caller holds the table's lock.
    void enterTable(U32 tableId, bool announce) noexcept {
        change([tableId, announce](U64 word) {
            return withState(word, State::interned) + floorOne + (U64{tableId} << tableShift) +
                   (announce ? pendingBit | announcedBit : 0);
        });
    }

    /// Records that the insertion is announced: the object may be returned to any thread.
    void insertionAnnounced() noexcept {
        change([](U64 word) { return word & ~pendingBit; });
    }

    /// Cancels the announcement of the removal.
    void forgetAnnouncement() noexcept {
        change([](U64 word) { return word & ~announcedBit; });
    }

    enum class Release { released, detaching, notInTable };

    /// Releases what may be the last external reference. REQUIRES: the caller holds the table's
    /// lock. `detaching`: it was the last; the object is marked as being detached, and later
    /// releases only decrement. `notInTable`: the object has left the table; nothing was changed.
    Release releaseUnderLock() noexcept {
        Release outcome = Release::released;
        change([&outcome](U64 word) {
            if (floorOf(word) == 0) {
                outcome = Release::notInTable;
                return word;
            }
            if (hasSeveralUsers(word)) {
                outcome = Release::released;
                return word - 1;
            }
            outcome = Release::detaching;
            return withState(withoutFloor(word), State::beingDetached) - 1;
        });
        return outcome;
    }

    /// Records the removal. The table's reference becomes an ordinary one, which the caller must
    /// release. REQUIRES: the caller holds the table's lock.
    void leaveTable() noexcept {
        change([](U64 word) {
            return withState(withoutFloor(word) & ~(tableMask | flagBits), State::left);
        });
    }

    /// Like leaveTable(), but for the destruction of the table: the object keeps the table's id and
    /// keeps its core alive.
    void leaveBehind() noexcept {
        change([](U64 word) { return withState(withoutFloor(word) & ~flagBits, State::left); });
    }

    /// Undoes enterTable() after a failed insertion. An object held by a lifetime notifier gets
    /// state `left`.
    void takeBack() noexcept {
        change([](U64 word) {
            State const after = floorOf(word) > 1 ? State::left : State::neverInterned;
            return withState(withoutFloor(word) & ~(tableMask | flagBits), after) - 1;
        });
    }

    /// Records that the object was rebuilt from a store.
    void destash() noexcept {
        change([](U64 word) { return withState(word, State::destashed); });
    }

    /// Adds a lifetime notifier's reference: raises count and floor in one step. Returns false, and
    /// adds an ordinary reference, if the object is not interned. REQUIRES: the caller holds a
    /// reference.
    bool retainForNotifier() noexcept {
        bool raised = false;
        change([&raised](U64 word) {
            MOX_ASSERT_TEXT(stateOf(word) != State::beingDetached,
                            "dedupState() != Kel::dedupHandleStateBeingDetached()");
            raised = stateOf(word) == State::interned;
            MOX_ASSERT_TEXT((word & floorMask) != floorMask, "at most 62 notifiers hold an object");
            return word + (raised ? floorOne : 1);
        });
        return raised;
    }

    /// Releases a reference for which retainForNotifier() returned true, if the object is still in
    /// its table. Otherwise changes nothing and returns false: the reference is now an ordinary
    /// one.
    bool releaseForNotifier() noexcept {
        bool lowered = false;
        change([&lowered](U64 word) {
            lowered = stateOf(word) == State::interned;
            return lowered ? word - floorOne : word;
        });
        return lowered;
    }

  private:
    static constexpr unsigned floorShift = 37;
    static constexpr unsigned stateShift = 43;
    static constexpr unsigned tableShift = 48;
    static constexpr U64 usersMask = (U64{1} << floorShift) - 1;
    static constexpr U64 floorOne = U64{1} << floorShift;
    static constexpr U64 floorMask = U64{maximumNotifiers + 1} << floorShift;
    static constexpr U64 stateMask = U64{7} << stateShift;
    static constexpr U64 pendingBit = U64{1} << 46;
    static constexpr U64 announcedBit = U64{1} << 47;
    static constexpr U64 flagBits = pendingBit | announcedBit;
    static constexpr U64 tableMask = U64{tableIds - 1} << tableShift;

    static bool atomicMode() noexcept {
        return Detail::threadSafePtrsFlag.load(std::memory_order_relaxed);
    }

    static U64 usersOf(U64 word) noexcept { return word & usersMask; }
    static bool hasSeveralUsers(U64 word) noexcept { return (word & (usersMask - 1)) != 0; }

    static U32 floorOf(U64 word) noexcept {
        return static_cast<U32>((word & floorMask) >> floorShift);
    }

    /// The table's and the notifiers' references become ordinary ones.
    static U64 withoutFloor(U64 word) noexcept { return (word & ~floorMask) + floorOf(word); }

    static State stateOf(U64 word) noexcept {
        return static_cast<State>((word & stateMask) >> stateShift);
    }

    static U64 withState(U64 word, State state) noexcept {
        return (word & ~stateMask) | static_cast<U64>(state) << stateShift;
    }

    std::atomic_ref<U64> ref() const noexcept { return std::atomic_ref<U64>(word_); }
    U64 load() const noexcept { return ref().load(std::memory_order_relaxed); }
    void store(U64 word) noexcept { ref().store(word, std::memory_order_relaxed); }

    /// Atomically replaces the word by `step(word)`.
    template <class Step>
    void change(Step step) noexcept {
        U64 before = load();
        if (!atomicMode()) {
            store(step(before));
            return;
        }
        do {
            MOX_SCHEDULING_POINT(change);
        } while (!ref().compare_exchange_weak(before, step(before), std::memory_order_acq_rel,
                                              std::memory_order_relaxed));
    }

    mutable U64 word_;
};

} // namespace Mox
