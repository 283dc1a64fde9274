#pragma once

#include <Mox/Export.h>

#include <atomic>
#include <functional>
#include <sstream>
#include <string_view>

namespace Mox {

namespace Detail {
VOBGP_EXPORT extern std::atomic<int> traceLevelNow;
} // namespace Detail

/// The trace level, 0 (off) to 9 (everything). Initialised from the environment variable
/// VOBGP_TRACE: `8`, or `8:file` to append to a file instead of standard error. A program that runs
/// with more rights than its caller, such as a set-user-ID one, ignores the variable. Thread-safe.
inline int traceLevel() noexcept {
    return Detail::traceLevelNow.load(std::memory_order_relaxed);
}

/// Sets the level, clamped to 0 to 9.
VOBGP_EXPORT void traceLevelIs(int level) noexcept;

/// Where trace lines go, without their newline; null for standard error. Called by the tracing
/// thread, one line at a time; it must not trace. Thread-safe.
using TraceSink = std::function<void(int level, std::string_view line)>;
VOBGP_EXPORT void traceSinkIs(TraceSink sink);

/// One trace line under construction: `FILE:LINE: FUNCTION: ` and what is streamed to it. Written
/// as a whole when it goes.
class VOBGP_EXPORT TraceLine {
  public:
    TraceLine(int level, char const* file, int line, char const* function);
    ~TraceLine();
    TraceLine(TraceLine const&) = delete;
    TraceLine& operator=(TraceLine const&) = delete;
    std::ostream& stream() noexcept { return text_; }

  private:
    int level_;
    std::ostringstream text_;
};

} // namespace Mox

/// Traces `expression` (`a << b << c`) at a level. When the level is off this is one branch, and
/// nothing of the expression is evaluated.
#define MOX_TRACE(level, expression)                                                               \
    do {                                                                                           \
        if (__builtin_expect(::Mox::traceLevel() >= (level), 0)) {                                 \
            ::Mox::TraceLine moxTraceLine((level), __FILE__, __LINE__, __func__);                  \
            moxTraceLine.stream() << expression;                                                   \
        }                                                                                          \
    } while (false)
