#pragma once

#include <Mox/Export.h>
#include <Mox/Types.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <iterator>
#include <string>
#include <string_view>

namespace Mox {

/// An immutable, reference-counted string of octets, which may include NUL.
///
/// Copies share the octets; their count is atomic if `threadSafePtrs()` is on. The empty string
/// allocates nothing. Octets are immutable; a variable is thread-compatible.
class VOBGP_EXPORT String {
  public:
    class IteratorConst;

    constexpr String() noexcept = default;
    String(std::string_view text);

    String(std::string const& text)
      : String(std::string_view(text)) {}

    String(char const* text)
      : String(std::string_view(text)) {}

    String(String const& other) noexcept;

    String(String&& other) noexcept
      : rep_(other.rep_) {
        other.rep_ = nullptr;
    }

    ~String();

    /// Returns a string of `size` octets, all of which `write(char* octets)` must write.
    template <class Write>
    static String written(std::size_t size, Write&& write) {
        String text;
        if (size != 0) {
            write(text.allocate(size));
        }
        return text;
    }

    String& operator=(String const& other) noexcept {
        String(other).swap(*this);
        return *this;
    }

    String& operator=(String&& other) noexcept {
        String(std::move(other)).swap(*this);
        return *this;
    }

    void swap(String& other) noexcept { std::swap(rep_, other.rep_); }

    std::size_t size() const noexcept;

    bool empty() const noexcept { return rep_ == nullptr; }

    /// The octets, followed by a NUL that is not counted. Valid while a String refers to this text.
    char const* c_str() const noexcept;

    char const* data() const noexcept { return c_str(); }
    operator std::string_view() const noexcept { return view(); }
    std::string str() const { return std::string(data(), size()); }

    IteratorConst begin() const noexcept;
    IteratorConst end() const noexcept;

    /// Whether both strings share the same octets.
    bool isSameObject(String const& other) const noexcept { return rep_ == other.rep_; }

    friend bool operator==(String const& a, String const& b) noexcept {
        return a.rep_ == b.rep_ || a.view() == b.view();
    }

    friend std::strong_ordering operator<=>(String const& a, String const& b) noexcept {
        return a.view() <=> b.view();
    }

    template <class Text>

    requires(!std::same_as<Text, String> &&
             std::convertible_to<Text const&, std::string_view>) friend bool
    operator==(String const& a, Text const& b) noexcept {
        return a.view() == std::string_view(b);
    }

    /// Writes the octets; ignores the stream's width and fill.
    friend VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, String const& text);

  private:
    // Not std::string_view(*this): the C++23 range constructor would require the complete class.
    std::string_view view() const noexcept { return {data(), size()}; }

    /// Allocates uninitialised octets. REQUIRES: the string is empty.
    char* allocate(std::size_t size);

    struct Rep;
    Rep* rep_ = nullptr;
};

/// A position in a String, for the readers of value text. Knows its offset from the start of the
/// text, for error messages. Does not keep the text alive.
class String::IteratorConst {
  public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const*;
    using reference = char const&;

    constexpr IteratorConst() noexcept = default;

    constexpr IteratorConst(char const* start, std::size_t offset) noexcept
      : start_(start)
      , place_(start + offset) {}
    constexpr reference operator*() const noexcept { return *place_; }
    constexpr pointer operator->() const noexcept { return place_; }
    constexpr reference operator[](difference_type n) const noexcept { return place_[n]; }

    /// In octets from the start of the text.
    constexpr std::size_t offset() const noexcept {
        return static_cast<std::size_t>(place_ - start_);
    }

    constexpr IteratorConst& operator++() noexcept {
        ++place_;
        return *this;
    }

    constexpr IteratorConst operator++(int) noexcept {
        auto before = *this;
        ++place_;
        return before;
    }

    constexpr IteratorConst& operator--() noexcept {
        --place_;
        return *this;
    }

    constexpr IteratorConst operator--(int) noexcept {
        auto before = *this;
        --place_;
        return before;
    }

    constexpr IteratorConst& operator+=(difference_type n) noexcept {
        place_ += n;
        return *this;
    }

    constexpr IteratorConst& operator-=(difference_type n) noexcept {
        place_ -= n;
        return *this;
    }

    friend constexpr IteratorConst operator+(IteratorConst it, difference_type n) noexcept {
        return it += n;
    }

    friend constexpr IteratorConst operator+(difference_type n, IteratorConst it) noexcept {
        return it += n;
    }

    friend constexpr IteratorConst operator-(IteratorConst it, difference_type n) noexcept {
        return it -= n;
    }

    friend constexpr difference_type operator-(IteratorConst a, IteratorConst b) noexcept {
        return a.place_ - b.place_;
    }

    friend constexpr bool operator==(IteratorConst a, IteratorConst b) noexcept {
        return a.place_ == b.place_;
    }

    friend constexpr auto operator<=>(IteratorConst a, IteratorConst b) noexcept {
        return a.place_ <=> b.place_;
    }

  private:
    char const* start_ = nullptr;
    char const* place_ = nullptr;
};

inline String::IteratorConst String::begin() const noexcept {
    return {c_str(), 0};
}

inline String::IteratorConst String::end() const noexcept {
    return {c_str(), size()};
}

} // namespace Mox

template <>
struct std::hash<Mox::String> {
    VOBGP_EXPORT std::size_t operator()(Mox::String const& text) const noexcept;
};
