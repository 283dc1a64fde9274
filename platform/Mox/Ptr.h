#pragma once

#include <Mox/Assert.h>
#include <Mox/PtrInterface.h>

#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

namespace Mox {

/// A counted pointer: holds one reference to a counted object, or is null.
///
/// It owns its reference and gives it back when it goes. Copies take one more, moves touch no
/// count. Thread-compatible, as a plain pointer is; the count of the object it refers to is kept as
/// `threadSafePtrs()` says. `Ptr<T const>` is what each class calls `PtrConst`.
template <class T>
class Ptr {
  public:
    constexpr Ptr() noexcept = default;
    constexpr Ptr(std::nullptr_t) noexcept {}

    /// One more reference to an object that the caller holds already.
    explicit Ptr(T* object) noexcept
      : object_(object) {
        retain();
    }

    /// Takes over a reference that is the caller's, such as a new object's first one.
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

    /// The reference becomes the caller's; the pointer is null afterwards.
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

/// A new object and the first pointer to it. Its notification switch is as its constructor left it.
template <class T, class... Args>
Ptr<T> makeCounted(Args&&... args) {
    return Ptr<T>::adopt(new T(std::forward<Args>(args)...));
}

/// What every factory does: a new object with its notifications switched on.
template <class T, class... Args>
Ptr<T> makeActive(Args&&... args) {
    auto object = makeCounted<T>(std::forward<Args>(args)...);
    object->hasNotificationActiveIs(true);
    return object;
}

/// The same reference under a derived type, which the caller knows the object to have.
template <class T, class U>
Ptr<T> staticPtrCast(Ptr<U>&& pointer) noexcept {
    return Ptr<T>::adopt(static_cast<T*>(pointer.detach()));
}

/// The same reference to an object that may be changed still: one that the caller has just made, or
/// had made for him.
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
