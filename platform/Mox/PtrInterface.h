#pragma once

#include <Mox/CountWord.h>
#include <Mox/Export.h>
#include <Mox/Types.h>

namespace Mox {

class NotifieeList;
class Type;

/// Base of every counted object of the framework.
///
/// It stands for the object's identity and life: count, notification switch, type. It is owned by
/// the counted pointers (`Mox::Ptr`) that refer to it and is destroyed with the last of them; a new
/// object has one reference, its constructor's, which `Mox::makeCounted` turns into the first
/// pointer. Counting is thread-safe when `threadSafePtrs()` is on; all else here is
/// thread-compatible. The type never changes.
class VOBGP_EXPORT PtrInterface {
  public:
    PtrInterface(PtrInterface const&) = delete;
    PtrInterface& operator=(PtrInterface const&) = delete;

    /// The reflected type of the object: its qualified name, its attributes.
    virtual Type const& fwkType() const noexcept = 0;

    /// Asserts that nobody but whoever constructed the object refers to it still.
    virtual ~PtrInterface();

    /// The observers of the object, or null for one that cannot be observed. Such an object pays
    /// nothing for them.
    virtual NotifieeList* notifieeList() const noexcept { return nullptr; }
    bool hasNotificationActive() const noexcept { return notificationActive_; }

    /// The notification switch: an object whose switch is off tells nobody, one that observes is
    /// told nothing. Off in a new object; factories switch it on. Not for objects that other
    /// threads can reach already.
    virtual void hasNotificationActiveIs(bool active) { notificationActive_ = active; }

    /// For tests and dumps: out of date as soon as it is read where other threads hold references.
    U64 referenceCount() const noexcept { return word_.referenceCount(); }

    /// One more reference to an object that the caller holds already.
    void retain() const noexcept { word_.retain(); }

    /// Gives back one reference; destroys the object, or takes it out of its intern table, with the
    /// last one. Never throws.
    void release() const noexcept {
        if (!word_.releaseAboveFloor()) [[unlikely]] {
            releaseSlowly();
        }
    }

  protected:
    PtrInterface() noexcept = default;

    /// Runs when the last reference has gone, before any destructor, with the whole object still
    /// there. References taken here must be given back before it returns.
    virtual void onZeroReferences() noexcept {}

    /// A release that may take the count to a floor above 0: the object is interned.
    virtual void releaseToFloor() const noexcept;

    CountWord& countWord() const noexcept { return word_; }

  private:
    void releaseSlowly() const noexcept;

    mutable CountWord word_;
    bool notificationActive_ = false;
};

} // namespace Mox

/// Declares, in the public part of a counted class, the nested names that every one has, and its
/// reflected type (defined with `Mox::Type` in the class's source).
#define MOX_COUNTED(Class)                                                                         \
    using Ptr = ::Mox::Ptr<Class>;                                                                 \
    using PtrConst = ::Mox::Ptr<Class const>;                                                      \
    using RawPtr = Class*;                                                                         \
    using RawPtrConst = Class const*;                                                              \
    static ::Mox::Type const& staticType() noexcept;                                               \
    ::Mox::Type const& fwkType() const noexcept override {                                         \
        return staticType();                                                                       \
    }
