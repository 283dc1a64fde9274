#pragma once

#include <Mox/Assert.h>
#include <Mox/PtrInterface.h>

#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

namespace Mox {

/// A reference-counting pointer to a counted object, or null.
///
/// Copying adds a reference; moving does not change the count. Thread-compatible, like a plain
/// pointer; counts are atomic if `threadSafePtrs()` is on. `Ptr<T const>` is the `PtrConst` of each
/// class.
template <class T>
class Ptr {
  public:
    constexpr Ptr() noexcept = default;
    constexpr Ptr(std::nullptr_t) noexcept {}

    /// Adds a reference. REQUIRES: the caller holds one.
    explicit Ptr(T* object) noexcept
      : object_(object) {
        retain();
    }

    /// Takes ownership of a reference of the caller, such as the first one of a new object.
    static Ptr adopt(T* object) noexcept {
        Ptr result;
        result.object_ = object;
        return result;
    }

    Ptr(Ptr const& other) noexcept
      : object_(other.object_) {
        retain();
    }

    Ptr(Ptr&& other) noexcept
      : object_(std::exchange(other.object_, nullptr)) {}

    template <class U>
    requires std::convertible_to<U*, T*> Ptr(Ptr<U> const& other)
    noexcept
      : object_(other.get()) {
        retain();
    }

    template <class U>
    requires std::convertible_to<U*, T*> Ptr(Ptr<U>&& other)
    noexcept
      : object_(other.detach()) {}

    ~Ptr() {
        if (object_ != nullptr) {
            object_->release();
        }
    }

    Ptr& operator=(Ptr const& other) noexcept {
        Ptr(other).swap(*this);
        return *this;
    }

    Ptr& operator=(Ptr&& other) noexcept {
        Ptr(std::move(other)).swap(*this);
        return *this;
    }

    void swap(Ptr& other) noexcept { std::swap(object_, other.object_); }
    T* get() const noexcept { return object_; }

    /// Passes ownership of the reference to the caller; the pointer becomes null.
    [[nodiscard]] T* detach() noexcept { return std::exchange(object_, nullptr); }
    T* operator->() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }
    friend bool operator==(Ptr const& a, Ptr const& b) noexcept { return a.object_ == b.object_; }
    friend bool operator==(Ptr const& a, T const* b) noexcept { return a.object_ == b; }
    friend bool operator==(Ptr const& a, std::nullptr_t) noexcept { return a.object_ == nullptr; }

  private:
    void retain() const noexcept {
        if (object_ != nullptr) {
            object_->retain();
        }
    }

    T* object_ = nullptr;
};

template <class T>
using PtrConst = Ptr<T const>;

/// Creates an object and returns the first pointer to it. The notification switch is as the
/// constructor left it.
template <class T, class... Args>
Ptr<T> makeCounted(Args&&... args) {
    return Ptr<T>::adopt(new T(std::forward<Args>(args)...));
}

/// Creates an object with notifications switched on. All factories use it.
template <class T, class... Args>
Ptr<T> makeActive(Args&&... args) {
    auto object = makeCounted<T>(std::forward<Args>(args)...);
    object->hasNotificationActiveIs(true);
    return object;
}

/// Casts to a derived type and keeps the reference. REQUIRES: the object has that type.
template <class T, class U>
Ptr<T> staticPtrCast(Ptr<U>&& pointer) noexcept {
    return Ptr<T>::adopt(static_cast<T*>(pointer.detach()));
}

/// Casts away const and keeps the reference. REQUIRES: the object is not shared yet.
template <class T>
Ptr<T> constPtrCast(Ptr<T const>&& pointer) noexcept {
    return Ptr<T>::adopt(const_cast<T*>(pointer.detach()));
}

} // namespace Mox

template <class T>
struct std::hash<Mox::Ptr<T>> {
    std::size_t operator()(Mox::Ptr<T> const& pointer) const noexcept {
        return std::hash<T*>()(pointer.get());
    }
};
