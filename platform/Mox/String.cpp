#include <Mox/String.h>

#include <Mox/CountWord.h>
#include <Mox/Hash.h>

#include <atomic>
#include <cstring>
#include <new>
#include <ostream>

namespace Mox {

/// The shared octets: this header, `size` octets and a NUL.
struct String::Rep {
    std::atomic<U64> references{1};
    std::size_t size;

    explicit Rep(std::size_t octets) noexcept
      : size(octets) {}

    char* octets() noexcept { return reinterpret_cast<char*>(this + 1); }

    static Rep* make(std::size_t size) {
        void* const memory = ::operator new(sizeof(Rep) + size + 1);
        auto* const rep = ::new (memory) Rep(size);
        rep->octets()[size] = '\0';
        return rep;
    }

    void retain() noexcept {
        if (threadSafePtrs()) {
            references.fetch_add(1, std::memory_order_relaxed);
        } else {
            references.store(references.load(std::memory_order_relaxed) + 1,
                             std::memory_order_relaxed);
        }
    }

    bool releaseWasLast() noexcept {
        if (threadSafePtrs()) {
            return references.fetch_sub(1, std::memory_order_acq_rel) == 1;
        }
        auto const left = references.load(std::memory_order_relaxed) - 1;
        references.store(left, std::memory_order_relaxed);
        return left == 0;
    }
};

String::String(std::string_view text) {
    if (!text.empty()) {
        std::memcpy(allocate(text.size()), text.data(), text.size());
    }
}

char* String::allocate(std::size_t size) {
    rep_ = Rep::make(size);
    return rep_->octets();
}

String::String(String const& other) noexcept
  : rep_(other.rep_) {
    if (rep_ != nullptr) {
        rep_->retain();
    }
}

String::~String() {
    if (rep_ != nullptr && rep_->releaseWasLast()) {
        rep_->~Rep();
        ::operator delete(rep_);
    }
}

std::size_t String::size() const noexcept {
    return rep_ == nullptr ? 0 : rep_->size;
}

char const* String::c_str() const noexcept {
    return rep_ == nullptr ? "" : rep_->octets();
}

std::ostream& operator<<(std::ostream& os, String const& text) {
    return os.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace Mox

std::size_t std::hash<Mox::String>::operator()(Mox::String const& text) const noexcept {
    return static_cast<std::size_t>(Mox::hashOctets(text));
}
