#include <Routing/RouteMap/PosixRegex.h>

#include <new>
#include <regex.h>
#include <string>
#include <string_view>

namespace Routing::RouteMap {

namespace {

[[noreturn]] void fail(int error, regex_t const* regex) {
    // The size returned by regerror() includes a NUL, for which std::string has extra room.
    std::string text(regerror(error, regex, nullptr, 0) - 1, '\0');
    regerror(error, regex, text.data(), text.size() + 1);
    throw PosixRegexException(text);
}

constexpr Mox::U64 maxNumber = 0x7fff'ffff;

/// Wider than a subject number, so that it does not wrap after the maximum.
std::atomic<Mox::U64> lastNumber{0};

} // namespace

PosixRegexException::~PosixRegexException() = default;

/// Not in the header, which every agent includes: the C library's names are its own.
struct PosixRegex::Compiled {
    explicit Compiled(Mox::String const& pattern) {
        // regcomp() would stop at the NUL and compile only part of the pattern.
        if (std::string_view(pattern).find('\0') != std::string_view::npos) {
            fail(REG_BADPAT, nullptr);
        }
        int const error = regcomp(&regex, pattern.c_str(), REG_EXTENDED | REG_NOSUB);
        if (error != 0) {
            fail(error, &regex);
        }
    }
    ~Compiled() { regfree(&regex); }
    Compiled(Compiled const&) = delete;
    Compiled& operator=(Compiled const&) = delete;

    regex_t regex;
};

PosixRegex::PosixRegex(Mox::String const& pattern)
  : compiled_(std::make_unique<Compiled>(pattern)) {}

PosixRegex::~PosixRegex() {
    delete[] verdicts_.load(std::memory_order_relaxed);
}

int PosixRegex::execute(char const* text) const noexcept {
    return regexec(&compiled_->regex, text, 0, nullptr, 0);
}

bool PosixRegex::matches(char const* text) const {
    auto const result = execute(text);
    if (result == REG_ESPACE) {
        throw std::bad_alloc();
    }
    return result == 0;
}

void PosixRegex::remember(RegexSubject const& subject, bool verdict) const noexcept {
    auto number = subject.number_.load(std::memory_order_relaxed);
    if (number == 0) {
        auto const fresh = lastNumber.fetch_add(1, std::memory_order_relaxed) + 1;
        if (fresh > maxNumber) {
            return;
        }
        // If another thread set a number first, use that.
        if (subject.number_.compare_exchange_strong(number, static_cast<Mox::U32>(fresh),
                                                    std::memory_order_relaxed)) {
            number = static_cast<Mox::U32>(fresh);
        }
    }
    auto* verdicts = verdicts_.load(std::memory_order_acquire);
    if (verdicts == nullptr) {
        std::unique_ptr<Verdict[]> made(new (std::nothrow) Verdict[places]());
        if (made == nullptr) {
            return;
        }
        if (verdicts_.compare_exchange_strong(verdicts, made.get(), std::memory_order_acq_rel)) {
            verdicts = made.release();
        }
    }
    verdicts[number % places].store(number << 1 | (verdict ? 1 : 0), std::memory_order_relaxed);
}

} // namespace Routing::RouteMap
