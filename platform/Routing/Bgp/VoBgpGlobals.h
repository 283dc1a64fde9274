#pragma once

#include <Mox/Export.h>

namespace Routing::Bgp {

/// What holds for the whole agent. Thread-compatible: set before there is a second thread.
class VOBGP_EXPORT VoBgpGlobals {
  public:
    /// Whether intern tables are created thread-safe. Off at start.
    static bool multiThreaded() noexcept;

    /// Needs `Mox::threadSafePtrs()` by the time a table is created; refused with an assertion
    /// while an intern table is live.
    static void multiThreadedIs(bool multiThreaded) noexcept;
};

} // namespace Routing::Bgp
