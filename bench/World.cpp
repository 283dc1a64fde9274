#include "World.h"

#include <Mox/CountWord.h>
#include <Routing/Bgp/VoBgpGlobals.h>

namespace Bench {

using namespace Routing::Bgp;

PointerMode::PointerMode(bool threadSafe) {
    Mox::threadSafePtrsIs(threadSafe);
    VoBgpGlobals::multiThreadedIs(threadSafe);
}

PointerMode::~PointerMode() {
    VoBgpGlobals::multiThreadedIs(false);
    Mox::threadSafePtrsIs(false);
}

} // namespace Bench
