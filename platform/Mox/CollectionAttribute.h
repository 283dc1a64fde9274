#pragma once

#include <Mox/Notifiee.h>
#include <Mox/Ptr.h>
#include <Mox/PtrInterface.h>

namespace Mox {

/// Base of an attribute of a counted object that is a collection: knows the owner, of which it is a
/// member, and reports changes to the owner's observers.
///
/// Any observer or visitor may drop the last reference to the owner, and so the attribute itself.
/// An operation that touches the attribute after it has called one holds the owner meanwhile.
class CollectionAttribute {
  public:
    CollectionAttribute(CollectionAttribute const&) = delete;
    CollectionAttribute& operator=(CollectionAttribute const&) = delete;

  protected:
    CollectionAttribute(PtrInterface const& owner, AttributeNumber number) noexcept
      : owner_(owner)
      , number_(number) {}
    ~CollectionAttribute() = default;

    [[nodiscard]] Ptr<PtrInterface const> holdOwner() const noexcept {
        return Ptr<PtrInterface const>(&owner_);
    }

    /// Reports a change at the key. On return the attribute may be gone, unless the owner is held.
    void notify(void const* key) const {
        if (auto* const notifiees = owner_.notifieeList(); notifiees != nullptr) {
            notifiees->notify(number_, key);
        }
    }

  private:
    PtrInterface const& owner_;
    AttributeNumber const number_;
};

} // namespace Mox
