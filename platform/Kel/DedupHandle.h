#pragma once

#include <Kel/HandleMemory.h>
#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/PtrInterface.h>
#include <Mox/Types.h>

#include <iosfwd>
#include <optional>

namespace Kel {

using Mox::U16;
using Mox::U32;
using Mox::U64;

class DedupHandle;
class DedupTableCore;

/// The public numbers of the intern states of an object.
using DedupHandleState = U32;

constexpr DedupHandleState dedupHandleStateNeverDeduped() noexcept {
    return 0;
}

constexpr DedupHandleState dedupHandleStateDeduped() noexcept {
    return 1;
}

constexpr DedupHandleState dedupHandleStateBeingDetached() noexcept {
    return 2;
}

constexpr DedupHandleState dedupHandleStateLeft() noexcept {
    return 3;
}

constexpr DedupHandleState dedupHandleStateDestashed() noexcept {
    return 4;
}

/// A type-erased reference to a content to look up. Not owned. All objects of a table have the same
/// kind and know the type of the content.
class DedupContentHandle {
  public:
    /// Uses `content.placementHash()` if it exists. Otherwise the look-up uses its 32-bit hash,
    /// which is correct for objects that do not override DedupHandle::placementHash().
    template <class Content>
    DedupContentHandle(Content const& content) noexcept
      : content_(&content) {
        if constexpr (requires { content.placementHash(); }) {
            placementHash_ = content.placementHash();
        }
    }

    /// `placementHash` is what an object with that content returns from placementHash().
    template <class Content>
    DedupContentHandle(Content const& content, U64 placementHash) noexcept
      : content_(&content)
      , placementHash_(placementHash) {}

    std::optional<U64> placementHash() const noexcept { return placementHash_; }

    template <class Content>
    Content const& as() const noexcept {
        return *static_cast<Content const*>(content_);
    }

  private:
    void const* content_;
    std::optional<U64> placementHash_;
};

/// Base of every interned object: a table holds one immutable object per content.
///
/// Reference-counted; an interned object is removed from its table when the last external reference
/// is released. Immutable once interned; until then only its creator may use it. Counting is
/// thread-safe if `Mox::threadSafePtrs()` is on. REQUIRES: this class is the first base of a
/// derived class, and objects are created by `new` (see HandleMemory).
class VOBGP_EXPORT DedupHandle : public Mox::PtrInterface {
  public:
    using Ptr = Mox::Ptr<DedupHandle>;
    using PtrConst = Mox::Ptr<DedupHandle const>;
    using RawPtr = DedupHandle*;
    using RawPtrConst = DedupHandle const*;

    ~DedupHandle() override;

    /// Whether the object is in an intern table now.
    virtual bool isDeduped() const noexcept;

    /// Whether the object has ever been in an intern table, or was rebuilt from a store.
    virtual bool everDeduped() const noexcept;

    virtual void assertIsDeduped() const noexcept;

    /// The hash of the content alone; equal contents hash equal.
    virtual U32 hash() const = 0;

    /// The hash of the content that determines the object's place in its table. Equal contents hash
    /// equal. Contents come from untrusted peers, so it must be keyed (Mox/Hash.h). The default, a
    /// keyed hash of hash(), is sufficient only if outsiders cannot predict hash().
    virtual U64 placementHash() const;

    /// Whether the other object, of the same kind, has the same content.
    virtual bool compare(DedupHandle const* other) const = 0;

    /// Whether this object has the content.
    virtual bool compareByContent(DedupContentHandle const& content) const = 0;

    // Interned objects are allocated by HandleMemory.
    static void* operator new(std::size_t octets) { return HandleMemory::allocate(octets); }
    static void operator delete(void* cell, std::size_t octets) noexcept {
        HandleMemory::free(cell, octets);
    }

    DedupHandleState dedupState() const noexcept {
        return static_cast<DedupHandleState>(countWord().state());
    }

    /// Prints the object for dumps and traces; by default, the name of its type.
    virtual void formatHandle(std::ostream& os) const;

  protected:
    DedupHandle() noexcept = default;

    explicit DedupHandle(U16 kindBits) noexcept
      : kindBits_(kindBits) {}

    /// Sixteen bits that a kind may use for a small part of its content: room that is padding
    /// otherwise. Set before the object is shared.
    U16 kindBits() const noexcept { return kindBits_; }
    void kindBitsIs(U16 kindBits) noexcept { kindBits_ = kindBits; }

    void releaseToFloor() const noexcept override;

    /// Marks an object that was rebuilt from a store. It can never be interned.
    void destashedIs() noexcept { countWord().destash(); }

  private:
    friend class DedupTableCore;
    friend class DedupHandleLifeTimeNotifier;

    // In the padding of the base.
    U16 kindBits_ = 0;
    /// The lower half of the placement hash with which the object was interned.
    U32 place_ = 0;
};

} // namespace Kel
