#pragma once

#include <Mox/Exception.h>
#include <Mox/Export.h>
#include <Mox/String.h>
#include <Mox/Types.h>

#include <atomic>
#include <memory>
#include <optional>

namespace Routing::RouteMap {

/// Thrown for an invalid regular expression. `what()` is the error text of POSIX.
class VOBGP_EXPORT PosixRegexException : public Mox::Exception {
  public:
    using Exception::Exception;
    ~PosixRegexException() override;
};

/// Identifies an object with immutable text to expressions, which remember their verdict on it. A
/// member of that object.
///
/// It gets a number when a verdict on it is first remembered. Numbers are never reused: after 2^31
/// - 1 of them, verdicts on new subjects are not remembered. Thread-safe.
class VOBGP_EXPORT RegexSubject {
  public:
    RegexSubject() noexcept = default;
    RegexSubject(RegexSubject const&) = delete;
    RegexSubject& operator=(RegexSubject const&) = delete;

  private:
    friend class PosixRegex;

    mutable std::atomic<Mox::U32> number_{0};
};

/// A compiled POSIX extended regular expression.
///
/// Owns the compiled expression and a cache of verdicts on the subjects matched last: at most 4,096
/// in 16 KB. Thread-safe.
class VOBGP_EXPORT PosixRegex {
  public:
    /// Throws PosixRegexException.
    explicit PosixRegex(Mox::String const& pattern);
    ~PosixRegex();
    PosixRegex(PosixRegex const&) = delete;
    PosixRegex& operator=(PosixRegex const&) = delete;

    /// Returns 0 if the expression matches anywhere in the text, which may have any length and ends
    /// at its first NUL.
    int execute(char const* text) const noexcept;
    int execute(Mox::String const& text) const noexcept { return execute(text.c_str()); }

    /// Whether the expression matches anywhere in the text. Throws `std::bad_alloc` if the C
    /// library runs out of memory.
    bool matches(char const* text) const;

    /// Returns the cached verdict on the subject, or none.
    std::optional<bool> remembered(RegexSubject const& subject) const noexcept {
        auto const number = subject.number_.load(std::memory_order_relaxed);
        auto const* const verdicts = verdicts_.load(std::memory_order_acquire);
        if (number == 0 || verdicts == nullptr) {
            return std::nullopt;
        }
        auto const verdict = verdicts[number % places].load(std::memory_order_relaxed);
        return verdict >> 1 == number ? std::optional((verdict & 1) != 0) : std::nullopt;
    }

    /// Caches a verdict; may evict that on another subject. REQUIRES: the object that contains the
    /// subject is immutable.
    void remember(RegexSubject const& subject, bool verdict) const noexcept;

  private:
    /// A subject's number, shifted left by one, and the verdict in the lowest bit; 0 if empty. One
    /// word, so that threads never see a partial update; concurrent writers for one subject write
    /// the same word.
    using Verdict = std::atomic<Mox::U32>;

    /// The number of cache entries. A subject's number selects its entry.
    static constexpr Mox::U32 places = 4096;

    struct Compiled;
    std::unique_ptr<Compiled const> const compiled_;
    /// Allocated with the first verdict.
    mutable std::atomic<Verdict*> verdicts_{nullptr};
};

} // namespace Routing::RouteMap
