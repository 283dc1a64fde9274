#pragma once

#include <Mox/Exception.h>
#include <Mox/Export.h>
#include <Mox/String.h>
#include <Mox/Types.h>

#include <atomic>
#include <optional>
#include <regex.h>

namespace Routing::RouteMap {

/// A pattern that is no regular expression; `what()` is the text that POSIX has for the fault.
class VOBGP_EXPORT PosixRegexException : public Mox::Exception {
  public:
    using Exception::Exception;
    ~PosixRegexException() override;
};

/// What expressions are matched with more than once: a member of an object whose text never
/// changes, by which an expression tells it from every other one, past and present.
///
/// It is given a number when a verdict on it is first remembered, and no number is ever given
/// twice: after 2^31 - 1 of them there are none left, and verdicts on what has none are not
/// remembered. Thread-safe.
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
/// Owned by the policy that holds it; owns what the C library compiled, and its verdicts on the
/// subjects that it was matched with last, 4,096 at most in 16 KB. Thread-safe.
class VOBGP_EXPORT PosixRegex {
  public:
    /// Throws PosixRegexException.
    explicit PosixRegex(Mox::String const& pattern);
    ~PosixRegex();
    PosixRegex(PosixRegex const&) = delete;
    PosixRegex& operator=(PosixRegex const&) = delete;

    /// 0 if the expression matches anywhere in the text, of any length and up to its first NUL.
    int execute(char const* text) const noexcept;
    int execute(Mox::String const& text) const noexcept { return execute(text.c_str()); }

    /// Whether the expression matches anywhere in the text. Throws `std::bad_alloc` if the C
    /// library runs out of memory.
    bool matches(char const* text) const;

    /// The verdict that was remembered for the subject, if it still is.
    std::optional<bool> remembered(RegexSubject const& subject) const noexcept {
        auto const number = subject.number_.load(std::memory_order_relaxed);
        auto const* const verdicts = verdicts_.load(std::memory_order_acquire);
        if (number == 0 || verdicts == nullptr) {
            return std::nullopt;
        }
        auto const verdict = verdicts[number % places].load(std::memory_order_relaxed);
        return verdict >> 1 == number ? std::optional((verdict & 1) != 0) : std::nullopt;
    }

    /// Remembers a verdict, in place of that on another subject. REQUIRES: whatever has the subject
    /// never changes.
    void remember(RegexSubject const& subject, bool verdict) const noexcept;

  private:
    /// A subject's number, shifted left by one, and the verdict on it; 0 for none. It is one word,
    /// and of a subject there is only one: threads cannot see half of it, and it does not matter
    /// which of them writes it.
    using Verdict = std::atomic<Mox::U32>;

    /// How many verdicts there is room for, each in the place that its subject's number selects.
    static constexpr Mox::U32 places = 4096;

    regex_t regex_;
    /// Made when there is a verdict to remember.
    mutable std::atomic<Verdict*> verdicts_{nullptr};
};

} // namespace Routing::RouteMap
