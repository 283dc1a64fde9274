#include <Mox/PtrInterface.h>

#include <Mox/Assert.h>

namespace Mox {

PtrInterface::~PtrInterface() {
    // One reference remains for an object that was never shared (its constructor threw) or that its
    // last owner is destroying.
    MOX_ASSERT_TEXT(word_.referenceCount() <= 1 && word_.floor() == 0, "no owner is left");
}

void PtrInterface::releaseToFloor() const noexcept {
    MOX_ASSERT_TEXT(word_.floor() == 0, "only an interned object has a floor");
}

void PtrInterface::releaseSlowly() const noexcept {
    // A release by another thread, or the removal from the table, may change the outcome
    // concurrently, so retry.
    while (!word_.releaseAboveFloor()) {
        if (word_.isSoleReference()) {
            // No other thread can reach the object now. Keep the reference until the hook has run,
            // so that the hook may create pointers to the object.
            auto* const object = const_cast<PtrInterface*>(this);
            object->onZeroReferences();
            MOX_ASSERT_TEXT(word_.isSoleReference(), "no reference outlives the last");
            delete object;
            return;
        }
        if (word_.floor() != 0) {
            releaseToFloor();
            return;
        }
    }
}

} // namespace Mox
