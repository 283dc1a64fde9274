#pragma once

#include <Mox/CollectionAttribute.h>
#include <Mox/Hash.h>
#include <Mox/HashMap.h>
#include <Mox/Notifiee.h>
#include <Mox/PtrInterface.h>
#include <Mox/Types.h>

#include <atomic>
#include <cstddef>

namespace Mox {

/// An attribute of a counted object that is a hash set.
///
/// Reports the key of every item that is added or removed to the owner's observers. Observers and
/// visitors may change the set and may drop the last reference to its owner. Thread-compatible;
/// reactor thread if there are observers. Any thread may read size() and empty().
template <class Key, class Hash = Hasher<Key>>
class SetAttribute : private CollectionAttribute {
  public:
    SetAttribute(PtrInterface const& owner, AttributeNumber number,
                 U64 seed = nextHashSeed()) noexcept
      : CollectionAttribute(owner, number)
      , keys_(seed) {}

    std::size_t size() const noexcept { return size_.load(std::memory_order_relaxed); }
    bool empty() const noexcept { return size() == 0; }
    bool has(Key const& key) const noexcept { return keys_.has(key); }

    /// Adds the key. Returns whether it is new.
    bool is(Key const& key) {
        // Copied: an observer may destroy the original.
        auto const added = key;
        bool const isNew = keys_.is(added);
        if (isNew) {
            updateSize();
            notify(&added);
        }
        return isNew;
    }

    /// Removes the key. Returns whether it was present.
    bool del(Key const& key) {
        auto const removed = key;
        bool const wasPresent = keys_.del(removed);
        if (wasPresent) {
            updateSize();
            notify(&removed);
        }
        return wasPresent;
    }

    /// Removes every key present at the call, one at a time through del().
    void delAll() {
        auto const owner = holdOwner();
        keys_.forEach([this](Key const& key) { del(key); });
    }

    /// Calls the visitor with each key, in no particular order.
    template <class Visitor>
    void forEach(Visitor visitor) const {
        auto const owner = holdOwner();
        keys_.forEach(visitor);
    }

  private:
    void updateSize() noexcept { size_.store(keys_.size(), std::memory_order_relaxed); }

    HashSet<Key, Hash> keys_;
    std::atomic<std::size_t> size_{0};
};

} // namespace Mox
