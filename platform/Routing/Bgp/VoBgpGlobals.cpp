#include <Routing/Bgp/VoBgpGlobals.h>

#include <Mox/CountWord.h>

#include <atomic>

namespace Routing::Bgp {

namespace {
std::atomic<bool> multiThreadedFlag{false};
} // namespace

bool VoBgpGlobals::multiThreaded() noexcept {
    return multiThreadedFlag.load(std::memory_order_relaxed);
}

void VoBgpGlobals::multiThreadedIs(bool multiThreaded) noexcept {
    if (multiThreaded && !Mox::Detail::InternTablePresence::any()) {
        Mox::threadSafePtrsIs(true);
    }
    multiThreadedFlag.store(multiThreaded, std::memory_order_relaxed);
}

} // namespace Routing::Bgp
