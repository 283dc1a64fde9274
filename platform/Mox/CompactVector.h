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

/// A growable array in sixteen octets, for objects that are many and whose arrays are short.
///
/// Owns its elements, in one piece of heap memory or, with a capacity of 0, in none. An operation
/// that throws leaves the array as it was. Pointers to elements are invalidated when the array
/// moves. Thread-compatible.
template <class T>
class CompactVector {
    static_assert(std::is_nothrow_move_constructible_v<T> && std::is_nothrow_destructible_v<T>,
                  "elements move when the array grows, which must not fail half-way");
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

    /// The raw octets that fit() put behind the elements.
    std::byte* tail() noexcept { return reinterpret_cast<std::byte*>(elements_ + capacity_); }
    std::byte const* tail() const noexcept {
        return reinterpret_cast<std::byte const*>(elements_ + capacity_);
    }

    /// Room for `count` elements in all.
    void reserve(std::size_t count) {
        if (count > capacity_) {
            reallocate(checked(count));
        }
    }

    void pushBack(T element) {
        if (size_ == capacity_) [[unlikely]] {
            reallocate(grownFor(1));
        }
        ::new (static_cast<void*>(elements_ + size_)) T(std::move(element));
        ++size_;
    }

    /// Appends copies; they may be of this array's own elements.
    void append(std::span<T const> others) {
        if (others.size() > capacity_ - size_) {
            // Copied before anything moves.
            CompactVector larger(grownFor(others.size()));
            std::uninitialized_copy(others.begin(), others.end(), larger.elements_ + size_);
            moveInto(larger);
        } else {
            std::uninitialized_copy(others.begin(), others.end(), end());
        }
        size_ += static_cast<U32>(others.size());
    }

    /// Shortens the array, or lengthens it by elements of value T().
    void resize(std::size_t count) {
        if (count < size_) {
            eraseFrom(begin() + count);
            return;
        }
        reserve(count);
        std::uninitialized_value_construct_n(end(), count - size_);
        size_ = static_cast<U32>(count);
    }

    /// Removes the elements from that place on.
    void eraseFrom(T* first) noexcept {
        auto const removed = static_cast<std::size_t>(end() - first);
        size_ -= static_cast<U32>(removed);
        std::destroy_n(first, removed);
    }

    void clear() noexcept { eraseFrom(begin()); }

    /// Moves the elements into an array of exactly their number, if this one is larger.
    void shrinkToFit() {
        if (capacity_ > size_) {
            reallocate(size_);
        }
    }

    /// Moves the elements into an array for exactly `capacity` of them, no fewer than there are,
    /// with uninitialised octets behind it in the same piece of memory. These are lost when the
    /// array moves again.
    void fit(U32 capacity, std::size_t tailOctets) {
        CompactVector other(capacity, tailOctets);
        moveInto(other);
    }

    friend bool operator==(CompactVector const& a, CompactVector const& b) {
        return a.size_ == b.size_ && std::equal(a.begin(), a.end(), b.begin());
    }

  private:
    /// An empty array of that capacity.
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

    /// The capacity to grow to for `more` elements: twice what there is, if that is enough. The
    /// first array is large: most are cut to size once they are filled.
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

    /// Becomes the other array, which has no elements of its own, with this one's elements in it.
    void moveInto(CompactVector& other) noexcept {
        std::uninitialized_move_n(elements_, size_, other.elements_);
        std::swap(elements_, other.elements_);
        std::swap(capacity_, other.capacity_);
        // What was moved from goes with the old array.
        other.size_ = size_;
    }

    T* elements_ = nullptr;
    U32 size_ = 0;
    U32 capacity_ = 0;
};

static_assert(sizeof(CompactVector<U32>) == 16);

} // namespace Mox
