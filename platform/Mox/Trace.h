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

/// The trace level: 0 (off) to 9 (everything). Initialised from the environment variable
/// VOBGP_TRACE: `8`, or `8:file` to append to a file instead of standard error. Ignored in programs
/// that run with elevated privileges, such as set-user-ID ones. Thread-safe.
inline int traceLevel() noexcept {
    return Detail::traceLevelNow.load(std::memory_order_relaxed);
}

/// Sets the level, clamped to 0 to 9.
VOBGP_EXPORT void traceLevelIs(int level) noexcept;

/// Sets the receiver of trace lines, which have no newline; null selects standard error. The sink
/// is called in the tracing thread, one line at a time, and must not trace. Thread-safe.
using TraceSink = std::function<void(int level, std::string_view line)>;
VOBGP_EXPORT void traceSinkIs(TraceSink sink);

/// A trace line under construction: `FILE:LINE: FUNCTION: ` and the text streamed to it. The
/// destructor writes it.
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

/// Traces `expression` (`a << b << c`) at a level. If the level is off, this costs one branch and
/// evaluates nothing.
#define MOX_TRACE(level, expression)                                                               \
    do {                                                                                           \
        if (__builtin_expect(::Mox::traceLevel() >= (level), 0)) {                                 \
            ::Mox::TraceLine moxTraceLine((level), __FILE__, __LINE__, __func__);                  \
            moxTraceLine.stream() << expression;                                                   \
        }                                                                                          \
    } while (false)
