#pragma once

#include <Mox/Hash.h>
#include <Mox/Types.h>

#include <concepts>
#include <cstddef>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace Mox {

/// The 64-bit hash of a collection's key: integers, enumerations and pointers by their word, other
/// types by their `hash()`.
template <class Key>
struct Hasher {
    U64 operator()(Key const& key) const noexcept {
        if constexpr (std::is_integral_v<Key> || std::is_enum_v<Key>) {
            return hashWord(static_cast<U64>(key));
        } else if constexpr (std::is_pointer_v<Key>) {
            return hashWord(reinterpret_cast<U64>(key));
        } else {
            return key.hash();
        }
    }
};

/// A hash map with a seed of its own.
///
/// Items lie in one array in the order of their insertion; a flat table of numbers finds them. It
/// owns its keys and values. Iteration (`forEach`) visits what was there when it began and is still
/// there when its turn comes: the visitor may remove any item, the current one too, insert, or
/// start another iteration. An allocation that fails leaves the map as it was. Thread-compatible.
template <class Key, class Value, class Hash = Hasher<Key>>
class HashMap {
  public:
    explicit HashMap(U64 seed = nextHashSeed()) noexcept
      : seed_(seed) {}
    std::size_t size() const noexcept { return live_; }
    bool empty() const noexcept { return live_ == 0; }
    bool has(Key const& key) const noexcept { return findItem(key, hashOf(key)) != nullptr; }

    /// The value at the key, or null.
    Value const* get(Key const& key) const noexcept {
        auto const* const item = findItem(key, hashOf(key));
        return item == nullptr ? nullptr : &item->value;
    }

    /// Inserts or replaces; returns whether the key is new.
    bool is(Key const& key, Value value) {
        auto const hash = hashOf(key);
        if (auto* const item = findItem(key, hash); item != nullptr) {
            item->value = std::move(value);
            return false;
        }
        makeRoomForOne();
        items_.emplace_back(Item{key, std::move(value), hash});
        *freeSlot(hash) = static_cast<U32>(items_.size());
        ++live_;
        return true;
    }

    /// Removes the item at the key; returns whether there was one.
    bool del(Key const& key) noexcept {
        auto* const slot = findSlot(key, hashOf(key));
        if (slot == nullptr) {
            return false;
        }
        auto& item = items_[*slot - 1];
        *slot = deletedSlot;
        --live_;
        // The item goes last: its destructor may come back to this map.
        [[maybe_unused]] auto const removed = std::move(item);
        item.reset();
        if (live_ == 0 && visits_ == 0) {
            items_.clear();
            slots_.clear();
        }
        return true;
    }

    template <class Visitor>
    void forEach(Visitor visitor) const {
        struct Visit {
            std::size_t& count;

            explicit Visit(std::size_t& visits)
              : count(visits) {
                ++count;
            }

            ~Visit() { --count; }
        } const visit(visits_);

        auto const bound = items_.size();
        for (std::size_t i = 0; i < bound; ++i) {
            if (items_[i].has_value()) {
                // Copies: the visitor may remove the item, or make the array move.
                Key const key = items_[i]->key;
                if constexpr (std::invocable<Visitor&, Key const&>) {
                    visitor(key);
                } else {
                    Value const value = items_[i]->value;
                    visitor(key, value);
                }
            }
        }
    }

  private:
    struct Item {
        Key key;
        Value value;
        U64 hash;
    };

    static constexpr U32 emptySlot = 0;
    static constexpr U32 deletedSlot = ~U32{0};

    U64 hashOf(Key const& key) const noexcept {
        return mixHash(Hash()(key) ^ seed_, 0x9e3779b97f4a7c15U);
    }

    U32* findSlot(Key const& key, U64 hash) noexcept {
        if (slots_.empty()) {
            return nullptr;
        }
        auto const mask = slots_.size() - 1;
        for (auto place = hash & mask;; place = (place + 1) & mask) {
            auto const slot = slots_[place];
            if (slot == emptySlot) {
                return nullptr;
            }
            if (slot != deletedSlot && items_[slot - 1]->hash == hash &&
                items_[slot - 1]->key == key) {
                return &slots_[place];
            }
        }
    }

    Item* findItem(Key const& key, U64 hash) const noexcept {
        auto* const self = const_cast<HashMap*>(this);
        auto const* const slot = self->findSlot(key, hash);
        return slot == nullptr ? nullptr : &*self->items_[*slot - 1];
    }

    U32* freeSlot(U64 hash) noexcept {
        auto const mask = slots_.size() - 1;
        auto place = hash & mask;
        while (slots_[place] != emptySlot) {
            place = (place + 1) & mask;
        }
        return &slots_[place];
    }

    /// Room for one more item and its slot, so that nothing after this can fail. Every item ever
    /// appended took one slot that was empty, so the items bound the slots in use.
    void makeRoomForOne() {
        if (visits_ == 0 && items_.size() > 2 * live_ + 8) {
            std::erase_if(items_, [](auto const& item) { return !item.has_value(); });
            fillSlots(slots_);
        }
        if (items_.size() == items_.capacity()) {
            items_.reserve(items_.empty() ? 4 : 2 * items_.size());
        }
        if (4 * (items_.size() + 1) > 3 * slots_.size()) {
            std::vector<U32> larger(slots_.empty() ? 8 : 2 * slots_.size());
            slots_.swap(larger);
            fillSlots(slots_);
        }
    }

    void fillSlots(std::vector<U32>& slots) noexcept {
        std::fill(slots.begin(), slots.end(), emptySlot);
        for (std::size_t i = 0; i < items_.size(); ++i) {
            if (items_[i].has_value()) {
                *freeSlot(items_[i]->hash) = static_cast<U32>(i + 1);
            }
        }
    }

    U64 seed_;
    std::vector<std::optional<Item>> items_;
    /// The number of an item plus one; a power of two of them.
    std::vector<U32> slots_;
    std::size_t live_ = 0;
    mutable std::size_t visits_ = 0;
};

/// A hash set with a seed of its own; all else as HashMap.
template <class Key, class Hash = Hasher<Key>>
class HashSet {
  public:
    HashSet() = default;

    explicit HashSet(U64 seed) noexcept
      : map_(seed) {}
    std::size_t size() const noexcept { return map_.size(); }
    bool empty() const noexcept { return map_.empty(); }
    bool has(Key const& key) const noexcept { return map_.has(key); }

    /// Returns whether the key is new.
    bool is(Key const& key) { return map_.is(key, {}); }

    /// Returns whether the key was there.
    bool del(Key const& key) noexcept { return map_.del(key); }

    template <class Visitor>
    void forEach(Visitor visitor) const {
        map_.forEach(visitor);
    }

  private:
    struct Nothing {};

    HashMap<Key, Nothing, Hash> map_;
};

} // namespace Mox
