#pragma once

#include <Mox/CountWord.h>
#include <Mox/Export.h>
#include <Mox/Types.h>

namespace Mox {

class NotifieeList;
class Type;

/// Base of all reference-counted objects: count, notification switch and reflected type.
///
/// Owned by the counted pointers (`Mox::Ptr`) that refer to it and destroyed with the last one. A
/// new object has one reference, which `Mox::makeCounted` passes to the first pointer. Counting is
/// thread-safe if `threadSafePtrs()` is on; everything else is thread-compatible.
class VOBGP_EXPORT PtrInterface {
  public:
    PtrInterface(PtrInterface const&) = delete;
    PtrInterface& operator=(PtrInterface const&) = delete;

    /// The reflected type of the object.
    virtual Type const& fwkType() const noexcept = 0;

    /// REQUIRES: no other reference is left (asserted).
    virtual ~PtrInterface();

    /// The observers of the object, or null if its class is not observable. Unobservable objects
    /// have no overhead.
    virtual NotifieeList* notifieeList() const noexcept { return nullptr; }
    bool hasNotificationActive() const noexcept { return notificationActive_; }

    /// The notification switch: while it is off, a notifier notifies no observer, and an observer
    /// is not notified. Off in a new object; factories switch it on. REQUIRES: no other thread can
    /// reach the object.
    virtual void hasNotificationActiveIs(bool active) { notificationActive_ = active; }

    /// For tests and dumps: the count may change at any time if other threads hold references.
    U64 referenceCount() const noexcept { return word_.referenceCount(); }

    /// Adds a reference. REQUIRES: the caller holds one.
    void retain() const noexcept { word_.retain(); }

    /// Releases a reference. The last release destroys the object or removes it from its intern
    /// table. Guaranteed not to throw.
    void release() const noexcept {
        if (!word_.releaseAboveFloor()) [[unlikely]] {
            releaseSlowly();
        }
    }

  protected:
    PtrInterface() noexcept = default;

    /// Called when the last reference is released, before any destructor. References taken here
    /// must be released before it returns.
    virtual void onZeroReferences() noexcept {}

    /// Called for a release that may bring the count of an interned object to its floor.
    virtual void releaseToFloor() const noexcept;

    CountWord& countWord() const noexcept { return word_; }

  private:
    void releaseSlowly() const noexcept;

    mutable CountWord word_;
    bool notificationActive_ = false;
};

/// Keeps an object alive until the end of a scope, even if this thread releases the last reference
/// to it in the scope, without writing to the object's count: threads that share the object do not
/// share a cache line that all of them write.
///
/// A local variable. REQUIRES: the caller holds a reference, which no other thread releases in the
/// scope.
class VOBGP_EXPORT ScopedHold {
  public:
    explicit ScopedHold(PtrInterface const& object) noexcept;
    ~ScopedHold();
    ScopedHold(ScopedHold const&) = delete;
    ScopedHold& operator=(ScopedHold const&) = delete;

  private:
    friend class PtrInterface;

    /// Passes the last reference to the innermost hold of this thread on the object. Returns
    /// whether there is one.
    static bool takesOver(PtrInterface const& object) noexcept;

    PtrInterface const& object_;
    ScopedHold* const outer_;
    bool ownsReference_ = false;
};

} // namespace Mox

/// Declares the nested pointer types and the reflected type of a counted class; use it in the
/// public part. The class's source defines staticType() with `Mox::Type`.
#define MOX_COUNTED(Class)                                                                         \
    using Ptr = ::Mox::Ptr<Class>;                                                                 \
    using PtrConst = ::Mox::Ptr<Class const>;                                                      \
    using RawPtr = Class*;                                                                         \
    using RawPtrConst = Class const*;                                                              \
    static ::Mox::Type const& staticType() noexcept;                                               \
    ::Mox::Type const& fwkType() const noexcept override {                                         \
        return staticType();                                                                       \
    }
