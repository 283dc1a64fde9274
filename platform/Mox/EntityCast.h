#pragma once

#include <Mox/Type.h>

namespace Mox {

/// The object as a `T`, or null if it is not one; null for null.
///
/// A checked downcast at a fraction of the cost of dynamic_cast: it follows the reflected types.
/// dynamic_cast decides only about types outside this tree, which need not name their base.
template <class T, class U>
T* entityCast(U* object) noexcept {
    if (object == nullptr) {
        return nullptr;
    }
    for (auto const* type = &object->fwkType(); type != nullptr; type = type->base()) {
        if (type == &T::staticType()) {
            return static_cast<T*>(object);
        }
    }
    return dynamic_cast<T*>(object);
}

} // namespace Mox
