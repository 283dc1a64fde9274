#include <Mox/PtrInterface.h>

#include <Mox/Assert.h>

namespace Mox {

PtrInterface::~PtrInterface() {
    // One reference is whoever constructed the object and never shared it: a constructor that
    // threw, or the last owner, who destroys it now.
    MOX_ASSERT_TEXT(word_.referenceCount() <= 1 && word_.floor() == 0, "no owner is left");
}

void PtrInterface::releaseToFloor() const noexcept {
    MOX_ASSERT_TEXT(word_.floor() == 0, "only an interned object has a floor");
}

void PtrInterface::releaseSlowly() const noexcept {
    // Another thread's release, or the object's leaving its table, may change the case under us:
    // look again until one of them settles it.
    while (!word_.releaseAboveFloor()) {
        if (word_.isSoleReference()) {
            // Nobody else can reach the object: what follows has it alone. The reference is kept
            // until the hook has run, so that pointers made in it come and go.
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
