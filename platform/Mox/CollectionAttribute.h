#pragma once

#include <Mox/Notifiee.h>
#include <Mox/Ptr.h>
#include <Mox/PtrInterface.h>

namespace Mox {

/// Base of the collection attributes of counted objects. A member of its owner; reports changes to
/// the owner's observers.
///
/// Any observer or visitor may drop the last reference to the owner, which destroys the attribute.
/// An operation that uses the attribute after calling one must hold the owner.
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

    /// Notifies the observers of a change at `key`. The attribute may be destroyed on return unless
    /// the owner is held.
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
