#pragma once

#include <Mox/Hash.h>
#include <Mox/Types.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <concepts>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace Mox {

/// The 64-bit hash of a key: hashWord() for integers, enumerations and pointers, `hash()` for other
/// types.
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

/// A hash map with its own seed, grown and shrunk by linear hashing.
///
/// Places are numbered from 1. Each stores one item and, if there is a bucket with the same number,
/// the head of that bucket's chain. An insertion appends a place and may split one bucket; a
/// removal moves the last item into the hole, drops the last place, and may merge one bucket. So
/// removal leaves no tombstones, and no insertion or removal takes time linear in the size of the
/// map.
///
///     place     1           2           3           4
///           +-----------+-----------+-----------+-----------+     a bucket's chain:
///           | head      | head      | head      |           |       head -> next -> ... -> 0
///           | next      | next      | next      | next      |     head, next: the number of a
///           | key value | key value | key value | key value |       place, 0 at the end
///           +-----------+-----------+-----------+-----------+
///
/// Items are in no particular order. `forEach` visits the items that were present when it began and
/// have not been removed since. The visitor may insert items, remove any item, including the
/// current one, or start another iteration. During an iteration items do not move; removals leave
/// holes, which are closed when the outermost iteration ends. If an allocation fails, the map is
/// unchanged. Thread-compatible.
template <class Key, class Value, class Hash = Hasher<Key>>
class HashMap {
  public:
    explicit HashMap(U64 seed = nextHashSeed()) noexcept
      : seed_(seed) {}

    HashMap(HashMap&& other) noexcept
      : seed_(other.seed_) {
        swap(other);
    }

    HashMap& operator=(HashMap other) noexcept {
        swap(other);
        return *this;
    }

    void swap(HashMap& other) noexcept {
        std::swap(seed_, other.seed_);
        std::swap(segments_, other.segments_);
        std::swap(places_, other.places_);
        std::swap(buckets_, other.buckets_);
        std::swap(size_, other.size_);
        std::swap(visits_, other.visits_);
    }

    std::size_t size() const noexcept { return size_; }
    bool empty() const noexcept { return size_ == 0; }
    bool has(Key const& key) const noexcept { return get(key) != nullptr; }

    /// Returns null if not found.
    Value const* get(Key const& key) const noexcept {
        auto* const link = const_cast<HashMap*>(this)->find(key, hashOf(key));
        return link == nullptr ? nullptr : &place(*link).item().value;
    }

    /// Inserts or replaces the item. Returns whether the key is new.
    bool is(Key const& key, Value value) {
        auto const hash = hashOf(key);
        if (auto* const link = find(key, hash); link != nullptr) {
            place(*link).item().value = std::move(value);
            return false;
        }
        append(Item{key, std::move(value)});
        // Keep at least 7 buckets for 8 places. The slack avoids a split and a merge each time a
        // key is added and removed again.
        if (8 * U64{buckets_} < 7 * U64{places_}) {
            splitBucket();
        }
        link(places_, hash);
        ++size_;
        return true;
    }

    /// Returns whether the key was found.
    bool del(Key const& key) noexcept {
        auto* const link = find(key, hashOf(key));
        if (link == nullptr) {
            return false;
        }
        auto const hole = *link;
        // Destroyed last: the destructor may call this map.
        *link = place(hole).next;
        [[maybe_unused]] auto const removed = place(hole).takeItem();
        --size_;
        if (visits_ == 0) {
            close(hole);
        }
        return true;
    }

    template <class Visitor>
    void forEach(Visitor visitor) const {
        Visit const visit(*this);
        auto const bound = places_;
        for (U32 number = 1; number <= bound; ++number) {
            if (auto const& visited = place(number); !visited.isHole()) {
                // Copies: the visitor may remove the item.
                Key const key = visited.item().key;
                if constexpr (std::invocable<Visitor&, Key const&>) {
                    visitor(key);
                } else {
                    Value const value = visited.item().value;
                    visitor(key, value);
                }
            }
        }
    }

  private:
    struct Item {
        Key key;
        [[no_unique_address]] Value value;
    };

    /// Not more than its words and an item: a map may have millions.
    struct Place {
        static constexpr U32 hole = ~U32{0};

        explicit Place(Item&& item) noexcept { itemIs(std::move(item)); }

        Place(Place&& other) noexcept
          : head(other.head)
          , next(other.next) {
            if (!isHole()) {
                ::new (storage) Item(std::move(other.item()));
            }
        }

        ~Place() {
            if (!isHole()) {
                std::destroy_at(&item());
            }
        }

        bool isHole() const noexcept { return next == hole; }
        Item& item() noexcept { return *std::launder(reinterpret_cast<Item*>(storage)); }
        Item const& item() const noexcept { return const_cast<Place*>(this)->item(); }

        /// REQUIRES: the place is a hole.
        void itemIs(Item&& item) noexcept {
            ::new (storage) Item(std::move(item));
            next = 0;
        }

        /// Leaves a hole.
        Item takeItem() noexcept {
            Item taken(std::move(item()));
            std::destroy_at(&item());
            next = hole;
            return taken;
        }

        /// The first place in the chain of the bucket with this place's number, or 0.
        U32 head = 0;
        /// The next place in the chain that this one is in, or 0; `hole` if there is no item.
        U32 next = hole;
        alignas(Item) std::byte storage[sizeof(Item)];
    };

    /// Counts an iteration in progress; atomic because threads may read a map concurrently.
    class Visit {
      public:
        explicit Visit(HashMap const& map) noexcept
          : map_(map) {
            std::atomic_ref(map_.visits_).fetch_add(1, std::memory_order_relaxed);
        }

        ~Visit() {
            // The map has holes, so the visitor changed it and it is not const.
            if (std::atomic_ref(map_.visits_).fetch_sub(1, std::memory_order_relaxed) == 1 &&
                map_.size_ != map_.places_) {
                const_cast<HashMap&>(map_).closeAll();
            }
        }

        Visit(Visit const&) = delete;
        Visit& operator=(Visit const&) = delete;

      private:
        HashMap const& map_;
    };

    // Places are in segments of 8, 8, 16, 32, ..., 2048, 2048, ... that never move: appending a
    // place copies none, and the places that one change allocates or frees are bounded.

    static constexpr unsigned firstSegmentBits = 3;
    static constexpr unsigned largestSegmentBits = 11;
    static constexpr U32 firstSegment = 1U << firstSegmentBits;
    static constexpr U32 largestSegment = 1U << largestSegmentBits;
    /// The last segment before those of the largest size.
    static constexpr std::size_t lastSmallerSegment = largestSegmentBits - firstSegmentBits;

    static std::size_t segmentOf(U32 index) noexcept {
        return index < largestSegment
                   ? static_cast<std::size_t>(std::bit_width(index >> firstSegmentBits))
                   : lastSmallerSegment + (index >> largestSegmentBits);
    }

    static U32 segmentStart(std::size_t segment) noexcept {
        return segment == 0 ? 0
               : segment <= lastSmallerSegment
                   ? firstSegment << (segment - 1)
                   : static_cast<U32>(segment - lastSmallerSegment) << largestSegmentBits;
    }

    static std::size_t segmentSize(std::size_t segment) noexcept {
        return segment == 0 ? firstSegment : std::min(segmentStart(segment), largestSegment);
    }

    Place const& place(U32 number) const noexcept {
        auto const segment = segmentOf(number - 1);
        return segments_[segment][number - 1 - segmentStart(segment)];
    }

    Place& place(U32 number) noexcept {
        return const_cast<Place&>(static_cast<HashMap const*>(this)->place(number));
    }

    void append(Item&& item) {
        auto const segment = segmentOf(places_);
        if (segment == segments_.size()) {
            std::vector<Place> places;
            places.reserve(segmentSize(segment));
            segments_.push_back(std::move(places));
        }
        segments_[segment].emplace_back(std::move(item));
        ++places_;
    }

    void dropLast() noexcept {
        --places_;
        auto const segment = segmentOf(places_);
        segments_[segment].pop_back();
        // Keep one empty segment until the previous one is half empty, so that a key added and
        // removed at the boundary does not allocate each time.
        if (segment + 2 == segments_.size() &&
            2 * segments_[segment].size() <= segments_[segment].capacity()) {
            segments_.pop_back();
        }
    }

    U32 hashOf(Key const& key) const noexcept {
        return static_cast<U32>(mixHash(Hash()(key) ^ seed_, 0x9e3779b97f4a7c15U));
    }

    /// The bucket of a hash is given by its low bits, one bit fewer if the bucket is not split off
    /// yet.
    U32& head(U32 hash) noexcept {
        auto const mask = std::bit_ceil(buckets_) - 1;
        auto const bucket = hash & mask;
        return place((bucket < buckets_ ? bucket : bucket & mask >> 1) + 1).head;
    }

    /// The bucket from which the last one was split: its number without the highest bit.
    U32& headBeforeLastSplit() noexcept {
        auto const last = buckets_ - 1;
        return place((last ^ std::bit_floor(last)) + 1).head;
    }

    /// Returns the link to the item at the key, or null if not found.
    U32* find(Key const& key, U32 hash) noexcept {
        if (buckets_ == 0) {
            return nullptr;
        }
        auto* link = &head(hash);
        while (*link != 0) {
            auto& linked = place(*link);
            if (linked.item().key == key) {
                return link;
            }
            link = &linked.next;
        }
        return nullptr;
    }

    void link(U32 number, U32 hash) noexcept {
        place(number).next = std::exchange(head(hash), number);
    }

    /// Adds a bucket and moves its items into it.
    void splitBucket() noexcept {
        auto const last = buckets_++;
        if (last == 0) {
            return;
        }
        auto const mask = 2 * std::bit_floor(last) - 1;
        auto* staying = &headBeforeLastSplit();
        auto* moving = &place(buckets_).head;
        while (*staying != 0) {
            auto& linked = place(*staying);
            if ((hashOf(linked.item().key) & mask) == last) {
                *moving = *staying;
                *staying = linked.next;
                moving = &linked.next;
            } else {
                staying = &linked.next;
            }
        }
        *moving = 0;
    }

    /// Removes the last bucket and moves its items back to the bucket it was split from.
    void mergeBucket() noexcept {
        if (buckets_ > 1) {
            auto* end = &headBeforeLastSplit();
            while (*end != 0) {
                end = &place(*end).next;
            }
            *end = place(buckets_).head;
        }
        --buckets_;
    }

    /// Moves the last item into the hole and drops the last place.
    void close(U32 hole) noexcept {
        auto const last = places_;
        if (buckets_ == last) {
            mergeBucket();
        }
        // During an iteration the last item may have become a hole, too.
        if (auto& moving = place(last); hole != last && !moving.isHole()) {
            auto* link = &head(hashOf(moving.item().key));
            while (*link != last) {
                link = &place(*link).next;
            }
            *link = hole;
            auto const next = moving.next;
            place(hole).itemIs(moving.takeItem());
            place(hole).next = next;
        }
        dropLast();
    }

    void closeAll() noexcept {
        for (U32 number = 1; number <= places_;) {
            if (!place(number).isHole()) {
                ++number;
            } else {
                close(number);
            }
        }
    }

    U64 seed_;
    std::vector<std::vector<Place>> segments_;
    /// The number of items and holes.
    U32 places_ = 0;
    U32 buckets_ = 0;
    U32 size_ = 0;
    alignas(std::atomic_ref<U32>::required_alignment) mutable U32 visits_ = 0;
};

/// A hash set. See HashMap.
template <class Key, class Hash = Hasher<Key>>
class HashSet {
  public:
    HashSet() = default;

    explicit HashSet(U64 seed) noexcept
      : map_(seed) {}
    std::size_t size() const noexcept { return map_.size(); }
    bool empty() const noexcept { return map_.empty(); }
    bool has(Key const& key) const noexcept { return map_.has(key); }

    /// Inserts the key. Returns whether it is new.
    bool is(Key const& key) { return map_.is(key, {}); }

    /// Removes the key. Returns whether it was found.
    bool del(Key const& key) noexcept { return map_.del(key); }

    template <class Visitor>
    void forEach(Visitor visitor) const {
        map_.forEach(visitor);
    }

  private:
    struct Empty {};

    HashMap<Key, Empty, Hash> map_;
};

} // namespace Mox
