#pragma once

#include <Kel/DedupHandle.h>
#include <Kel/DedupTableCore.h>
#include <Kel/DumpContext.h>
#include <Mox/CountWord.h>
#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/Types.h>

#include <cstddef>

namespace Kel {

class DedupHashTable;

/// The observer of an intern table, notified when objects are inserted and removed.
///
/// Owned by the table it is registered with, and by its creator. Called synchronously; in
/// thread-safe mode under a process-wide recursive mutex. An observer may intern and release
/// objects, but must not take a lock that another thread holds while it interns, looks up or
/// releases. It may release references to the table, but not those with which a look-up in progress
/// was called. For each content, insertions and removals alternate strictly. An observer whose
/// notification switch is off when it is registered is never notified.
class VOBGP_EXPORT DedupHashTableLifeTimeNotifiee : public Mox::PtrInterface {
  public:
    MOX_COUNTED(DedupHashTableLifeTimeNotifiee)

    /// Called after an object is inserted; other threads cannot obtain the object until this
    /// returns. If it throws, the object is removed again and the interning call throws the same
    /// exception. An implementation that throws must not have passed the object to another thread,
    /// nor kept a lifetime notifier of it.
    virtual void handleInsert(DedupHandle::Ptr const& handle) = 0;

    /// Called before an announced object is removed, after its last external reference was
    /// released. Must not add a reference to the object or look up its content (another thread that
    /// does waits). Must not throw.
    virtual void handleRemove(DedupHandle* handle) = 0;

    /// Returns the filter for objects to notify about; by default, all. Called once, when the
    /// notifiee is registered. The result of the filter for an object must never change. The filter
    /// may be called by any thread that holds a reference to the object. Insertions and releases of
    /// rejected objects do not take the notification mutex.
    virtual DedupHandleFilter filter() const noexcept;

    /// The last call: the table is being destroyed or has a new observer. Announced objects may
    /// still be interned. Must not keep a pointer to the table; must not throw.
    virtual void handleNotificationStop(Mox::PtrConst<DedupHashTable> const& table) = 0;
};

/// An intern table: at most one object per distinct content.
///
/// Reference-counted. The table's own reference does not keep an object interned: an object is
/// removed when its last external reference is released. Objects that outlive the table become
/// ordinary counted objects. Thread-safe if constructed so, otherwise thread-compatible.
class VOBGP_EXPORT DedupHashTable : public Mox::PtrInterface {
  public:
    MOX_COUNTED(DedupHashTable)

    ~DedupHashTable() override;

    // A look-up in a thread-safe table may hold another object for a moment. If all its other
    // references are released meanwhile, the look-up releases the last one and notifies.

    /// Returns the object with this content, or null. Constructs no object. `hash` is what `hash()`
    /// of such an object returns.
    DedupHandle::PtrConst lookupByContent(DedupContentHandle const& content, U32 hash) const;

    /// Returns the object with this placement hash that `match(DedupHandle const&)` accepts, or
    /// null. Allocates nothing. `match` must read only the object's content.
    template <class Match>
    DedupHandle::PtrConst find(U64 placementHash, Match const& match) const {
        return core_->find(placementHash, match);
    }

    /// The same for the placement hash of `miss`, which then records what dedup() of such an object
    /// need not look up again.
    template <class Match>
    DedupHandle::PtrConst find(DedupMiss& miss, Match const& match) const {
        return core_->find(miss, match);
    }

    // The two steps of find(), for callers that keep the second one off the hot path. takeFast()
    // returns a reference for the caller to adopt; null does not mean that the object is missing.
    template <class Match>
    DedupHandle const* takeFast(U64 placementHash, Match const& match) const {
        return core_->takeFast(placementHash, match);
    }
    template <class Match>
    DedupHandle::PtrConst findSlowly(DedupMiss& miss, Match const& match) const {
        return core_->findSlowly(miss, match);
    }

    /// Interns an object: returns the existing equal object, or inserts this one and returns it.
    /// REQUIRES: an object that is inserted was never interned before (asserted). On
    /// `std::bad_alloc`, or if the observer throws, the table is unchanged and the object can be
    /// interned again.
    DedupHandle::PtrConst dedup(DedupHandle::Ptr const& object) const;

    /// Interns an object that find() has just missed: cheaper, as the table looks it up again
    /// only if it has changed. REQUIRES: `miss` was made with the object's placement hash, and the
    /// match of that look-up would have accepted every equal object.
    DedupHandle::PtrConst dedup(DedupHandle::Ptr object, DedupMiss const& miss) const {
        return core_->dedup(std::move(object), miss);
    }

    /// Registers the observer and stops the previous one. Objects already in the table are not
    /// announced to the new observer.
    void lifeTimeNotifieeIs(DedupHashTableLifeTimeNotifiee::Ptr const& notifiee);
    DedupHashTableLifeTimeNotifiee::Ptr lifeTimeNotifiee() const;

    bool isThreadSafe() const noexcept;

    /// The number of objects in the table. This and the next two are approximate while other
    /// threads use the table.
    std::size_t size() const;
    /// The number of slots.
    std::size_t capacity() const;
    /// The memory of the table in octets, without its objects.
    std::size_t octets() const;

    /// What the table holds, and what was asked of it since it was created.
    struct Counters {
        std::size_t values; // size()
        U64 hits;           // look-ups and dedup() calls that found an object, while counted
        U64 misses;         // objects inserted
        std::size_t octets; // octets()
    };
    Counters counters() const;

    /// Whether hits are counted; off by default. A hit costs more while they are, and nothing
    /// while they are not.
    /// REQUIRES: no other thread uses the table during the change.
    void hitsCountedIs(bool counted) noexcept;
    bool hitsCounted() const noexcept;

    /// Writes one line for the table and one for each object, indented by two more columns. The
    /// table's ends in ` hits N misses N` while hits are counted.
    void dumpState(DumpContext::PtrConst const& context, U32 indent) const;

  protected:
    explicit DedupHashTable(bool threadSafe);
    void onZeroReferences() noexcept final;

  private:
    Mox::Detail::InternTablePresence const presence_;
    DedupTableCore* core_;
};

/// An unordered intern table.
class VOBGP_EXPORT DedupHashTableUnorderedSet : public DedupHashTable {
  public:
    MOX_COUNTED(DedupHashTableUnorderedSet)

    /// Several threads may use a table that is `threadSafe` only while `Mox::threadSafePtrs()` is
    /// on.
    explicit DedupHashTableUnorderedSet(bool threadSafe);
    ~DedupHashTableUnorderedSet() override;
};

} // namespace Kel
