#pragma once

#include <Mox/Assert.h>
#include <Mox/Export.h>
#include <Mox/Types.h>

#include <atomic>

namespace Mox {

/// Whether reference counts are kept with atomic operations. Process-wide, off at start.
VOBGP_EXPORT bool threadSafePtrs() noexcept;

/// Switches the mode of all counts. To be called before there is a second thread; refused with an
/// assertion while an intern table is live.
VOBGP_EXPORT void threadSafePtrsIs(bool threadSafe) noexcept;

namespace Detail {

// Read on every retain and release, so the flag itself is visible; only threadSafePtrsIs() and
// InternTablePresence write.
VOBGP_EXPORT extern std::atomic<bool> threadSafePtrsFlag;

/// Held by every live intern table; while one exists the mode of counting cannot change.
class VOBGP_EXPORT InternTablePresence {
  public:
    InternTablePresence() noexcept;
    ~InternTablePresence();
    static bool any() noexcept;
    InternTablePresence(InternTablePresence const&) = delete;
    InternTablePresence& operator=(InternTablePresence const&) = delete;
};

} // namespace Detail

/// The one word that governs a counted object's life: its reference count, the floor that the
/// count never falls below while the object is in an intern table, its intern state, and which
/// table that is.
///
/// One word, because each step below decides on these together: no thread acts on one with a stale
/// view of another. Every transition of the interning protocol is one function here;
/// `Kel/DedupTableCore.cpp` says when each is taken.
///
///      63         48  47      46   45     43 42     37 36                                0
///     +--------------+-------+----+---------+---------+-----------------------------------+
///     |   table id   |announc|pend|  state  |  floor  |               count               |
///     +--------------+-------+----+---------+---------+-----------------------------------+
///
/// - count: references, including the table's and lifetime notifiers'.
/// - floor: 0 outside a table; 1 for the table's reference, and 1 for each lifetime notifier's.
/// - state: see State.
/// - pend: inserted, but the insertion has not been announced yet.
/// - announc: a lifetime notifiee was told of the insertion and will be told of the removal.
/// - table id: the table that holds the object, or that left it behind; 0 if none.
///
/// Thread-safe when threadSafePtrs() is on; otherwise every step is a plain load and store, without
/// a lock prefix. A look-up without a lock may read the word of an object that has been destroyed:
/// the memory of interned objects keeps a word at the same place for ever (Kel/HandleMemory.h).
/// Therefore every access is atomic, the constructor's included, and a destroyed object's word
/// does not say `interned`.
class CountWord {
  public:
    /// The numbers are published: 0 never interned, 1 interned, 4 destashed.
    enum class State : U8 {
        neverInterned = 0,
        interned = 1,
        /// Its last outside reference has gone and its removal is being announced.
        beingDetached = 2,
        /// Interned before, but not any more; its references are ordinary ones.
        left = 3,
        /// Rebuilt from a store; never in a table.
        destashed = 4,
    };

    /// At most this many lifetime notifiers hold an object at a time (asserted).
    static constexpr U32 maximumNotifiers = 62;
    /// Table ids are below this.
    static constexpr U32 tableIds = 1U << 16;

    /// A new object: one reference, its constructor's, in no table.
    CountWord() noexcept { store(1); }
    CountWord(CountWord const&) = delete;
    CountWord& operator=(CountWord const&) = delete;
    U64 referenceCount() const noexcept { return countOf(load()); }
    U32 floor() const noexcept { return floorOf(load()); }
    State state() const noexcept { return stateOf(load()); }
    U32 tableId() const noexcept { return static_cast<U32>(load() >> tableShift); }

    /// Whether the object is interned, and announced if it has to be: any thread may be handed it.
    /// Acquire: what the announcement did to the object is visible.
    bool isSettled() const noexcept {
        U64 const word = ref().load(std::memory_order_acquire);
        return stateOf(word) == State::interned && (word & pendingBit) == 0;
    }

    bool isAnnounced() const noexcept { return (load() & announcedBit) != 0; }

    /// What the word of an object says that is interned in a table and settled.
    struct SettledIn {
        explicit constexpr SettledIn(U32 tableId) noexcept
          : bits(U64{tableId} << tableShift | U64{1} << stateShift) {}
        U64 bits;
    };

    /// Adds a reference if the object is interned in that table and settled; returns whether it
    /// did. Needs no lock and no reference: the object may be any that ever was in the table,
    /// destroyed ones included. Acquire: the content of the object is visible.
    bool retainIfSettledIn(SettledIn settled) noexcept {
        U64 before = load();
        do {
            if ((before & (tableMask | stateMask | pendingBit)) != settled.bits) {
                return false;
            }
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

    /// Drops a reference if the count stays above the floor without it; otherwise changes nothing
    /// and returns false.
    bool releaseAboveFloor() noexcept {
        U64 before = load();
        if (!atomicMode()) {
            if (countOf(before) - 1 <= floorOf(before)) {
                return false;
            }
            store(before - 1);
            return true;
        }
        while (countOf(before) - 1 > floorOf(before)) {
            if (ref().compare_exchange_weak(before, before - 1, std::memory_order_release,
                                            std::memory_order_relaxed)) {
                return true;
            }
        }
        return false;
    }

    /// Whether the caller's reference is the only one and the object is in no table. Acquire: what
    /// other owners did before they released the object is visible.
    bool isSoleReference() const noexcept {
        U64 const word = ref().load(std::memory_order_acquire);
        return countOf(word) == 1 && floorOf(word) == 0;
    }

    /// Inserted, under the table's lock: one reference and a floor of one for the table.
    /// `announce`: a lifetime notifiee will be told before another thread is handed the object.
    void enterTable(U32 tableId, bool announce) noexcept {
        change([tableId, announce](U64 word) {
            return withState(word, State::interned) + 1 + floorOne + (U64{tableId} << tableShift) +
                   (announce ? pendingBit | announcedBit : 0);
        });
    }

    /// The insertion has been announced: any thread may be handed the object.
    void insertionAnnounced() noexcept {
        change([](U64 word) { return word & ~pendingBit; });
    }

    /// The lifetime notifiee that was told of the insertion will not be told of the removal.
    void forgetAnnouncement() noexcept {
        change([](U64 word) { return word & ~announcedBit; });
    }

    enum class Release { released, detaching, notInTable };

    /// A possibly last release, under the table's lock. `detaching`: the caller's reference was the
    /// last outside one; the object is marked as being detached and only decrements from now on.
    /// `notInTable`: it left the table meanwhile and nothing was changed.
    Release releaseUnderLock() noexcept {
        Release outcome = Release::released;
        change([&outcome](U64 word) {
            if (floorOf(word) == 0) {
                outcome = Release::notInTable;
                return word;
            }
            if (countOf(word) - 1 > floorOf(word)) {
                outcome = Release::released;
                return word - 1;
            }
            outcome = Release::detaching;
            return withState(word & ~floorMask, State::beingDetached) - 1;
        });
        return outcome;
    }

    /// Erased from its table, under the table's lock. The table's reference stays and becomes an
    /// ordinary one, which the caller drops.
    void leaveTable() noexcept {
        change([](U64 word) {
            return withState(word & ~(tableMask | floorMask | flagBits), State::left);
        });
    }

    /// The table is being destroyed: as leaveTable(), but the object still names the table, whose
    /// core it keeps alive.
    void leaveBehind() noexcept {
        change([](U64 word) { return withState(word & ~(floorMask | flagBits), State::left); });
    }

    /// The insertion failed: as before enterTable(). If a lifetime notifier holds the object, it
    /// counts as one that left.
    void takeBack() noexcept {
        change([](U64 word) {
            State const after = floorOf(word) > 1 ? State::left : State::neverInterned;
            return withState(word & ~(tableMask | floorMask | flagBits), after) - 1;
        });
    }

    /// Rebuilt from a store.
    void destash() noexcept {
        change([](U64 word) { return withState(word, State::destashed); });
    }

    /// A lifetime notifier's reference: count and floor rise in one step, while the caller holds a
    /// reference of his own. Returns false, and takes an ordinary reference, if the object is in no
    /// table.
    bool retainForNotifier() noexcept {
        bool raised = false;
        change([&raised](U64 word) {
            MOX_ASSERT_TEXT(stateOf(word) != State::beingDetached,
                            "dedupState() != Kel::dedupHandleStateBeingDetached()");
            raised = stateOf(word) == State::interned;
            MOX_ASSERT_TEXT((word & floorMask) != floorMask, "at most 62 notifiers hold an object");
            return word + 1 + (raised ? floorOne : 0);
        });
        return raised;
    }

    /// Gives back what a true retainForNotifier() took, if the object is still in its table. False,
    /// with nothing changed: it is not, and the reference is an ordinary one.
    bool releaseForNotifier() noexcept {
        bool lowered = false;
        change([&lowered](U64 word) {
            lowered = stateOf(word) == State::interned && floorOf(word) > 1;
            return lowered ? word - 1 - floorOne : word;
        });
        return lowered;
    }

  private:
    static constexpr unsigned floorShift = 37;
    static constexpr unsigned stateShift = 43;
    static constexpr unsigned tableShift = 48;
    static constexpr U64 countMask = (U64{1} << floorShift) - 1;
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

    static U64 countOf(U64 word) noexcept { return word & countMask; }

    static U32 floorOf(U64 word) noexcept {
        return static_cast<U32>((word & floorMask) >> floorShift);
    }

    static State stateOf(U64 word) noexcept {
        return static_cast<State>((word & stateMask) >> stateShift);
    }

    static U64 withState(U64 word, State state) noexcept {
        return (word & ~stateMask) | static_cast<U64>(state) << stateShift;
    }

    std::atomic_ref<U64> ref() const noexcept { return std::atomic_ref<U64>(word_); }
    U64 load() const noexcept { return ref().load(std::memory_order_relaxed); }
    void store(U64 word) noexcept { ref().store(word, std::memory_order_relaxed); }

    /// Replaces the word by a function of it, in one step.
    template <class Step>
    void change(Step step) noexcept {
        U64 before = load();
        if (!atomicMode()) {
            store(step(before));
            return;
        }
        while (!ref().compare_exchange_weak(before, step(before), std::memory_order_acq_rel,
                                            std::memory_order_relaxed)) {
        }
    }

    mutable U64 word_;
};

} // namespace Mox
