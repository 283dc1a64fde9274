#include <Mox/PtrInterface.h>

#include <Mox/Assert.h>
#include <Mox/SchedulingPoint.h>

namespace Mox {

namespace {

// Static thread-local memory, also if the library is loaded late.
[[gnu::tls_model("initial-exec")]] constinit thread_local ScopedHold* innermostHold = nullptr;

} // namespace

ScopedHold::ScopedHold(PtrInterface const& object) noexcept
  : object_(object)
  , outer_(innermostHold) {
    innermostHold = this;
}

ScopedHold::~ScopedHold() {
    innermostHold = outer_;
    if (ownsReference_) {
        object_.release();
    }
}

bool ScopedHold::takesOver(PtrInterface const& object) noexcept {
    for (auto* hold = innermostHold; hold != nullptr; hold = hold->outer_) {
        if (&hold->object_ == &object) {
            // At its end, it passes the reference to an outer hold on the object, if any.
            hold->ownsReference_ = true;
            return true;
        }
    }
    return false;
}

PtrInterface::~PtrInterface() {
    // One reference remains for an object that was never shared (its constructor threw) or that its
    // last owner is destroying.
    MOX_ASSERT_TEXT(word_.referenceCount() <= 1 && word_.floor() == 0, "no owner is left");
}

void PtrInterface::releaseToFloor() const noexcept {
    MOX_ASSERT_TEXT(word_.floor() == 0, "only an interned object has a floor");
}

void PtrInterface::releaseSlowly() const noexcept {
    do {
        MOX_SCHEDULING_POINT(releaseSlowly);
        if (word_.isSoleReference()) {
            if (ScopedHold::takesOver(*this)) {
                return;
            }
            // No other thread can reach the object now. Keep the reference until the hook has run,
            // so that the hook may create pointers to the object.
            auto* const object = const_cast<PtrInterface*>(this);
            object->onZeroReferences();
            MOX_ASSERT_TEXT(word_.isSoleReference(), "no reference outlives the last");
            delete object;
            return;
        }
        if (word_.floor() != 0) {
            MOX_SCHEDULING_POINT(releaseToFloor);
            releaseToFloor();
            return;
        }
        // Another thread has added a reference, or removed the object from its table.
    } while (!word_.releaseAboveFloor());
}

} // namespace Mox
