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

/// The one observer of an intern table: hears every object that enters and leaves it.
///
/// Owned by the table it is registered with, and by whoever made it. Its operations are called
/// synchronously, in thread-safe mode by one thread at a time process-wide and under a recursive
/// mutex; an observer may intern and release, but takes no lock that another thread holds while it
/// interns or releases. One content is heard insert, remove, insert, remove, strictly in turn. An
/// observer whose notification switch is off when it is registered is told nothing.
class VOBGP_EXPORT DedupHashTableLifeTimeNotifiee : public Mox::PtrInterface {
  public:
    MOX_COUNTED(DedupHashTableLifeTimeNotifiee)

    /// The object has been inserted; nobody else is handed it before this returns. If this throws,
    /// the object is taken out again and whoever was interning it gets the exception: it must not
    /// have shown the object to another thread by then, nor kept a lifetime notifier of it.
    virtual void handleInsert(DedupHandle::Ptr const& handle) = 0;

    /// The last outside reference to an announced object has gone and it is about to leave. No
    /// reference to it may be taken, nor its content looked up; another thread that looks it up
    /// waits. Does not throw.
    virtual void handleRemove(DedupHandle* handle) = 0;

    /// Which objects the notifiee has to be told of; all, unless it knows better. Asked once, when
    /// it is registered. The filter must always return the same for an object, and may be called
    /// by any thread that has a reference to it. Insertions and releases of other objects do not
    /// take the notification mutex.
    virtual DedupHandleFilter filter() const noexcept;

    /// No more will be heard of the table: it goes, or has another observer now. Objects that were
    /// announced may still be in it. Keeps no pointer to the table; does not throw.
    virtual void handleNotificationStop(Mox::PtrConst<DedupHashTable> const& table) = 0;
};

/// An intern table: holds one object for each distinct content that anybody refers to.
///
/// It is counted itself and holds one reference to each object in it, which does not keep an object
/// interned; objects leave by themselves with their last outside reference. When the table goes,
/// objects still held outside become plain counted ones. Thread-safe or thread-compatible, as it
/// was made.
class VOBGP_EXPORT DedupHashTable : public Mox::PtrInterface {
  public:
    MOX_COUNTED(DedupHashTable)

    ~DedupHashTable() override;

    /// A reference to the object with that content, or null. Builds no object. `hash` is what such
    /// an object's `hash()` is.
    DedupHandle::PtrConst lookupByContent(DedupContentHandle const& content, U32 hash) const;

    /// A reference to the object that `match(DedupHandle const&)` accepts among those with that
    /// placement hash, or null. Allocates nothing. The match reads the object's content only.
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

    // The two steps of find(), for a caller that keeps the second one out of line. takeFast()
    // returns a reference for the caller to adopt; null does not mean that there is no such object.
    template <class Match>
    DedupHandle const* takeFast(U64 placementHash, Match const& match) const {
        return core_->takeFast(placementHash, match);
    }
    template <class Match>
    DedupHandle::PtrConst findSlowly(DedupMiss& miss, Match const& match) const {
        return core_->findSlowly(miss, match);
    }

    /// Interns an object: returns the equal object that is in the table already, or inserts this
    /// one and returns it. An object that is inserted must never have been interned before
    /// (asserted). If memory runs out, or the observer throws, the table is as it was and the
    /// object can be interned again.
    DedupHandle::PtrConst dedup(DedupHandle::Ptr const& object) const;

    /// Interns an object that find() has just missed: cheaper, as the table looks it up again
    /// only if it has changed. REQUIRES: `miss` was made with the object's placement hash, and the
    /// match of that look-up would have accepted every equal object.
    DedupHandle::PtrConst dedup(DedupHandle::Ptr object, DedupMiss const& miss) const {
        return core_->dedup(std::move(object), miss);
    }

    /// Registers the one observer, in place of the one there is, which is told to stop. Objects
    /// that are in the table already are not announced to it.
    void lifeTimeNotifieeIs(DedupHashTableLifeTimeNotifiee::Ptr const& notifiee);
    DedupHashTableLifeTimeNotifiee::Ptr lifeTimeNotifiee() const;

    bool isThreadSafe() const noexcept;

    /// Objects in the table. Exact when no other thread is at work, as are the next two.
    std::size_t size() const;
    /// Slots for objects.
    std::size_t capacity() const;
    /// Octets of memory of the table itself, its objects not included.
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

    /// One line for the table and one for each object in it, the latter two columns deeper. The
    /// table's ends in ` hits N misses N` while hits are counted.
    void dumpState(DumpContext::PtrConst const& context, U32 indent) const;

  protected:
    explicit DedupHashTable(bool threadSafe);
    void onZeroReferences() noexcept final;

  private:
    Mox::Detail::InternTablePresence const presence_;
    DedupTableCore* core_;
};

/// An intern table without an order.
class VOBGP_EXPORT DedupHashTableUnorderedSet : public DedupHashTable {
  public:
    MOX_COUNTED(DedupHashTableUnorderedSet)

    /// A thread-safe table needs thread-safe pointers (asserted).
    explicit DedupHashTableUnorderedSet(bool threadSafe);
    ~DedupHashTableUnorderedSet() override;
};

} // namespace Kel
