#include <Mox/CountWord.h>

namespace Mox {

namespace Detail {

std::atomic<bool> threadSafePtrsFlag{false};

namespace {
std::atomic<U64> liveInternTables{0};
} // namespace

InternTablePresence::InternTablePresence() noexcept {
    liveInternTables.fetch_add(1, std::memory_order_relaxed);
}

InternTablePresence::~InternTablePresence() {
    liveInternTables.fetch_sub(1, std::memory_order_relaxed);
}

bool InternTablePresence::any() noexcept {
    return liveInternTables.load(std::memory_order_relaxed) != 0;
}

} // namespace Detail

bool threadSafePtrs() noexcept {
    return Detail::threadSafePtrsFlag.load(std::memory_order_relaxed);
}

void threadSafePtrsIs(bool threadSafe) noexcept {
    if (threadSafe == threadSafePtrs()) {
        return;
    }
    MOX_ASSERT_TEXT(!Detail::InternTablePresence::any(), "no intern table is live");
    Detail::threadSafePtrsFlag.store(threadSafe, std::memory_order_relaxed);
}

} // namespace Mox
