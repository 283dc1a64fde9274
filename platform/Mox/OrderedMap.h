#pragma once

#include <Mox/Types.h>

#include <cstddef>
#include <map>
#include <utility>

namespace Mox {

/// An ordered map, ascending by key.
///
/// `forEach` continues from the key visited last: the visitor may remove any item, including the
/// current one, and items it inserts further on are visited. Thread-compatible.
template <class Key, class Value>
class OrderedMap {
  public:
    std::size_t size() const noexcept { return items_.size(); }
    bool empty() const noexcept { return items_.empty(); }
    bool has(Key const& key) const { return items_.contains(key); }

    /// Returns null if not found.
    Value const* get(Key const& key) const {
        auto const place = items_.find(key);
        return place == items_.end() ? nullptr : &place->second;
    }

    /// Inserts or replaces the item. Returns whether the key is new.
    bool is(Key const& key, Value value) {
        return items_.insert_or_assign(key, std::move(value)).second;
    }

    /// Returns whether the key was found.
    bool del(Key const& key) {
        // Extracted before it is destroyed: the destructor may call this map.
        return !items_.extract(key).empty();
    }

    void delAll() noexcept { auto const removed = std::exchange(items_, {}); }
    auto begin() const noexcept { return items_.begin(); }
    auto end() const noexcept { return items_.end(); }

    template <class Visitor>
    void forEach(Visitor visitor) const {
        for (auto place = items_.begin(); place != items_.end();) {
            Key const key = place->first;
            Value const value = place->second;
            visitor(key, value);
            place = items_.upper_bound(key);
        }
    }

  private:
    std::map<Key, Value> items_;
};

/// A queue ordered by a 32-bit index.
template <class Value>
class IndexedQueue : public OrderedMap<U32, Value> {
  public:
    using OrderedMap<U32, Value>::OrderedMap;

    U32 headIndex() const { return this->begin()->first; }
    U32 tailIndex() const { return std::prev(this->end())->first; }
};

} // namespace Mox
