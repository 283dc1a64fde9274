#pragma once

#include <Mox/CollectionAttribute.h>
#include <Mox/Notifiee.h>
#include <Mox/OrderedMap.h>
#include <Mox/PtrInterface.h>
#include <Mox/Types.h>

namespace Mox {

/// One item of a MapAttribute. Immutable.
template <class Key, class Value>
class MapEntry {
  public:
    MapEntry(Key const& key, Value const& value)
      : key_(key)
      , value_(value) {}
    Key const& key() const noexcept { return key_; }
    Value const& value() const noexcept { return value_; }

  private:
    Key key_;
    Value value_;
};

/// An attribute of a counted object that is an ordered map, ascending by key.
///
/// Reports the key of every item that is added, removed or changed to the owner's observers. The
/// value of an absent key is Value(). Observers and visitors may change the map and may drop the
/// last reference to its owner. Thread-compatible; reactor thread if there are observers.
template <class Key, class Value>
class MapAttribute : private CollectionAttribute {
  public:
    using Entry = MapEntry<Key, Value>;

    MapAttribute(PtrInterface const& owner, AttributeNumber number) noexcept
      : CollectionAttribute(owner, number) {}

    U32 size() const noexcept { return static_cast<U32>(items_.size()); }
    bool has(Key const& key) const { return items_.has(key); }

    Value get(Key const& key) const {
        auto const* const value = items_.get(key);
        return value == nullptr ? Value() : *value;
    }

    /// Inserts or replaces the item.
    void is(Key const& key, Value const& value) {
        auto const* const before = items_.get(key);
        if (before != nullptr && *before == value) {
            return;
        }
        // The replaced value may hold the last reference to the owner.
        auto const owner = holdOwner();
        auto const changed = key;
        items_.is(changed, value);
        notify(&changed);
    }

    /// Removes the item and returns its value.
    Value del(Key const& key) {
        auto const* const value = items_.get(key);
        if (value == nullptr) {
            return Value();
        }
        auto removed = *value;
        auto const removedKey = key;
        items_.del(removedKey);
        notify(&removedKey);
        return removed;
    }

    /// Removes every item, one at a time through del().
    void delAll() {
        auto const owner = holdOwner();
        items_.forEach([this](Key const& key, Value const& /*value*/) { del(key); });
    }

    /// Calls the visitor with each entry in key order.
    template <class Visitor>
    void forEach(Visitor visitor) const {
        auto const owner = holdOwner();
        items_.forEach(
            [&visitor](Key const& key, Value const& value) { visitor(Entry(key, value)); });
    }

  private:
    OrderedMap<Key, Value> items_;
};

} // namespace Mox
