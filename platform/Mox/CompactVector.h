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

/// A growable array in sixteen octets: for objects that are many and whose arrays are short.
///
/// It owns its elements, in one piece of heap memory or, with a capacity of 0, in none. An
/// operation that throws leaves it as it was. Pointers to elements are valid until the array moves.
/// Thread-compatible.
template <class T>
class CompactVector {
    static_assert(std::is_nothrow_move_constructible_v<T> && std::is_nothrow_destructible_v<T>,
                  "elements move when the array grows, which must not fail half-way");

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
        deallocate(elements_, capacity_);
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

    friend bool operator==(CompactVector const& a, CompactVector const& b) {
        return a.size_ == b.size_ && std::equal(a.begin(), a.end(), b.begin());
    }

  private:
    /// An empty array of that capacity.
    explicit CompactVector(U32 capacity)
      : elements_(capacity == 0 ? nullptr : std::allocator<T>().allocate(capacity))
      , capacity_(capacity) {}

    static void deallocate(T* elements, U32 capacity) noexcept {
        if (elements != nullptr) {
            std::allocator<T>().deallocate(elements, capacity);
        }
    }

    static U32 checked(std::size_t count) {
        if (count > std::numeric_limits<U32>::max()) {
            throw std::length_error("Mox::CompactVector: 2^32 elements");
        }
        return static_cast<U32>(count);
    }

    /// The capacity to grow to for `more` elements: twice what there is, if that is enough.
    U32 grownFor(std::size_t more) const {
        constexpr std::size_t least = 4;
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
