#include <Routing/Bgp/VoBgpGlobals.h>

#include <Mox/Assert.h>
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
    if (multiThreaded != VoBgpGlobals::multiThreaded()) {
        MOX_ASSERT_TEXT(!Mox::Detail::InternTablePresence::any(), "no intern table is live");
        multiThreadedFlag.store(multiThreaded, std::memory_order_relaxed);
    }
}

} // namespace Routing::Bgp
