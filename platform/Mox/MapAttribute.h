#pragma once

#include <Mox/Notifiee.h>
#include <Mox/OrderedMap.h>
#include <Mox/Ptr.h>
#include <Mox/Types.h>

#include <utility>

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
/// It is a member of its owner, holds its keys and values, and tells the owner's observers the key
/// of every item that comes, goes or changes; what changes nothing is not told. The value of an
/// absent key is Value(). Thread-compatible; reactor thread where there are observers.
template <class Key, class Value>
class MapAttribute {
  public:
    using Entry = MapEntry<Key, Value>;

    MapAttribute(PtrInterface const& owner, AttributeNumber number) noexcept
      : owner_(owner)
      , number_(number) {}
    MapAttribute(MapAttribute const&) = delete;
    MapAttribute& operator=(MapAttribute const&) = delete;

    U32 size() const noexcept { return static_cast<U32>(items_.size()); }
    bool has(Key const& key) const { return items_.has(key); }

    Value get(Key const& key) const {
        auto const* const value = items_.get(key);
        return value == nullptr ? Value() : *value;
    }

    /// Inserts or replaces.
    void is(Key const& key, Value const& value) {
        auto const* const before = items_.get(key);
        if (before == nullptr || !(*before == value)) {
            items_.is(key, value);
            notify(key);
        }
    }

    /// Removes the item at the key and returns its value.
    Value del(Key const& key) {
        auto const* const value = items_.get(key);
        if (value == nullptr) {
            return Value();
        }
        auto removed = *value;
        items_.del(key);
        notify(key);
        return removed;
    }

    /// Removes every item, one at a time through del().
    void delAll() {
        // An observer may let go of the owner.
        Ptr<PtrInterface const> const owner(&owner_);
        items_.forEach([this](Key const& key, Value const& /*value*/) { del(key); });
    }

    /// Calls the visitor with each entry, which it may remove, and others with it.
    template <class Visitor>
    void forEach(Visitor visitor) const {
        items_.forEach(
            [&visitor](Key const& key, Value const& value) { visitor(Entry(key, value)); });
    }

  private:
    void notify(Key const& key) {
        // Last of all: on return the owner may be gone.
        if (auto* const notifiees = owner_.notifieeList(); notifiees != nullptr) {
            notifiees->notify(number_, &key);
        }
    }

    PtrInterface const& owner_;
    AttributeNumber const number_;
    OrderedMap<Key, Value> items_;
};

} // namespace Mox
