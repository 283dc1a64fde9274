#pragma once

#include <Mox/Type.h>

namespace Mox {

/// Returns the object as a `T`, or null if it is null or not a `T`.
///
/// Faster than dynamic_cast: it follows the reflected types. dynamic_cast is used only for types
/// outside this tree, which need not declare their base.
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
