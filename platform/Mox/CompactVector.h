#pragma once

#include <Mox/Types.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace Mox {

/// A growable array in sixteen octets, for numerous objects with short arrays.
///
/// Its operations are named like those of `std::vector`. Allocates nothing while its capacity is 0.
/// On an exception the array is unchanged. Reallocation invalidates pointers to elements.
/// Thread-compatible.
template <class T>
class CompactVector {
    static_assert(std::is_nothrow_move_constructible_v<T> && std::is_nothrow_destructible_v<T>,
                  "elements move when the array grows, which must not throw");
    static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);

  public:
    using value_type = T;
    using size_type = U32;
    using iterator = T*;
    using const_iterator = T const*;

    CompactVector() noexcept = default;

    CompactVector(CompactVector const& other)
      : CompactVector() {
        append(other);
    }

    CompactVector(CompactVector&& other) noexcept { swap(other); }

    ~CompactVector() {
        std::destroy_n(elements_, size_);
        ::operator delete(elements_);
    }

    CompactVector& operator=(CompactVector const& other) {
        CompactVector(other).swap(*this);
        return *this;
    }

    CompactVector& operator=(CompactVector&& other) noexcept {
        CompactVector(std::move(other)).swap(*this);
        return *this;
    }

    void swap(CompactVector& other) noexcept {
        std::swap(elements_, other.elements_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

    U32 size() const noexcept { return size_; }
    U32 capacity() const noexcept { return capacity_; }
    bool empty() const noexcept { return size_ == 0; }
    T* data() noexcept { return elements_; }
    T const* data() const noexcept { return elements_; }
    T* begin() noexcept { return elements_; }
    T const* begin() const noexcept { return elements_; }
    T* end() noexcept { return elements_ + size_; }
    T const* end() const noexcept { return elements_ + size_; }
    T& operator[](std::size_t index) noexcept { return elements_[index]; }
    T const& operator[](std::size_t index) const noexcept { return elements_[index]; }

    /// The raw octets that fit() allocated after the elements.
    std::byte* tail() noexcept { return reinterpret_cast<std::byte*>(elements_ + capacity_); }
    std::byte const* tail() const noexcept {
        return reinterpret_cast<std::byte const*>(elements_ + capacity_);
    }

    /// Ensures a capacity of at least `count` elements.
    void reserve(std::size_t count) {
        if (count > capacity_) {
            reallocate(checked(count));
        }
    }

    void push_back(T element) {
        if (size_ == capacity_) [[unlikely]] {
            reallocate(grownFor(1));
        }
        ::new (static_cast<void*>(elements_ + size_)) T(std::move(element));
        ++size_;
    }

    /// Appends copies. `others` may refer to elements of this array.
    void append(std::span<T const> others) {
        if (others.size() > capacity_ - size_) {
            // Copy before moving: `others` may alias this array.
            CompactVector larger(grownFor(others.size()));
            std::uninitialized_copy(others.begin(), others.end(), larger.elements_ + size_);
            moveInto(larger);
        } else {
            std::uninitialized_copy(others.begin(), others.end(), end());
        }
        size_ += static_cast<U32>(others.size());
    }

    /// Shortens the array, or appends value-initialised elements.
    void resize(std::size_t count) {
        if (count < size_) {
            erase(begin() + count, end());
            return;
        }
        reserve(count);
        std::uninitialized_value_construct_n(end(), count - size_);
        size_ = static_cast<U32>(count);
    }

    /// Removes the elements from `first` to before `last`.
    void erase(T* first, T* last) noexcept {
        auto* const oldEnd = end();
        auto* const newEnd = std::move(last, oldEnd, first);
        size_ = static_cast<U32>(newEnd - begin());
        std::destroy(newEnd, oldEnd);
    }

    void clear() noexcept { erase(begin(), end()); }

    /// Reduces the capacity to the size.
    void shrink_to_fit() {
        if (capacity_ > size_) {
            reallocate(size_);
        }
    }

    /// Reallocates to exactly `capacity` elements, followed by `tailOctets` uninitialised octets in
    /// the same allocation. The next reallocation discards these octets. REQUIRES: `capacity` is at
    /// least size().
    void fit(U32 capacity, std::size_t tailOctets) {
        CompactVector other(capacity, tailOctets);
        moveInto(other);
    }

    friend bool operator==(CompactVector const& a, CompactVector const& b) {
        return a.size_ == b.size_ && std::equal(a.begin(), a.end(), b.begin());
    }

  private:
    explicit CompactVector(U32 capacity, std::size_t tailOctets = 0)
      : elements_(capacity == 0 ? nullptr
                                : static_cast<T*>(::operator new (
                                      std::size_t{capacity} * sizeof(T) + tailOctets)))
      , capacity_(capacity) {}

    static U32 checked(std::size_t count) {
        if (count > std::numeric_limits<U32>::max()) {
            throw std::length_error("Mox::CompactVector: 2^32 elements");
        }
        return static_cast<U32>(count);
    }

    /// Returns the capacity to grow to for `more` elements: twice the current one if that is
    /// enough. The first allocation is large, because most arrays are shrunk to fit once they are
    /// filled.
    U32 grownFor(std::size_t more) const {
        constexpr std::size_t least = std::max<std::size_t>(4, 256 / sizeof(T));
        constexpr std::size_t most = std::numeric_limits<U32>::max();
        auto const doubled = std::min(std::max(least, 2 * std::size_t{capacity_}), most);
        return checked(std::max(doubled, size_ + more));
    }

    void reallocate(U32 capacity) {
        CompactVector other(capacity);
        moveInto(other);
    }

    /// Moves the elements to `other`, which is empty and large enough, then swaps the two arrays.
    void moveInto(CompactVector& other) noexcept {
        std::uninitialized_move_n(elements_, size_, other.elements_);
        std::swap(elements_, other.elements_);
        std::swap(capacity_, other.capacity_);
        // Makes the other array destroy the moved-from elements.
        other.size_ = size_;
    }

    T* elements_ = nullptr;
    U32 size_ = 0;
    U32 capacity_ = 0;
};

static_assert(sizeof(CompactVector<U32>) == 16);

} // namespace Mox
