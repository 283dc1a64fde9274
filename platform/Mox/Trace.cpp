#include <Mox/Trace.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib> // secure_getenv
#include <locale>
#include <mutex>
#include <utility>

namespace Mox {

namespace Detail {
// Zero before dynamic initialisation, which reads the environment below.
constinit std::atomic<int> traceLevelNow{0};
} // namespace Detail

namespace {

/// Never destroyed: objects that trace may be destroyed after every static of this library.
struct Facility {
    std::mutex mutex;
    TraceSink sink;
    std::FILE* file = stderr;
};

Facility& facility() {
    static auto* const instance = new Facility;
    return *instance;
}

struct ReadEnvironment {
    ReadEnvironment() {
        char const* const setting = ::secure_getenv("VOBGP_TRACE");
        if (setting == nullptr) {
            return;
        }
        char* rest = nullptr;
        auto const level = std::strtol(setting, &rest, 10);
        if (rest == setting) {
            return;
        }
        if (*rest == ':') {
            if (auto* const file = std::fopen(rest + 1, "ae"); file != nullptr) {
                facility().file = file;
            }
        }
        traceLevelIs(static_cast<int>(std::clamp(level, 0L, 9L)));
    }
} const readEnvironment;

} // namespace

void traceLevelIs(int level) noexcept {
    Detail::traceLevelNow.store(std::clamp(level, 0, 9), std::memory_order_relaxed);
}

void traceSinkIs(TraceSink sink) {
    auto& trace = facility();
    std::scoped_lock const lock(trace.mutex);
    trace.sink = std::move(sink);
}

TraceLine::TraceLine(int level, char const* file, int line, char const* function)
  : level_(level) {
    text_.imbue(std::locale::classic());
    text_ << file << ':' << line << ": " << function << ": ";
}

TraceLine::~TraceLine() {
    auto const line = text_.view();
    auto& trace = facility();
    std::scoped_lock const lock(trace.mutex);
    if (!trace.sink) {
        std::fwrite(line.data(), 1, line.size(), trace.file);
        std::fputc('\n', trace.file);
        std::fflush(trace.file);
        return;
    }
    try {
        trace.sink(level_, line);
    } catch (...) {
        // Drop the line: a failed allocation must not affect the traced code.
    }
}

} // namespace Mox
