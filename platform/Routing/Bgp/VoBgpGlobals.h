#pragma once

#include <Mox/Export.h>

namespace Routing::Bgp {

/// Process-wide settings. Thread-compatible: set them before starting a second thread.
class VOBGP_EXPORT VoBgpGlobals {
  public:
    /// Whether intern tables are created thread-safe. Off by default.
    static bool multiThreaded() noexcept;

    /// Thread-safe tables require `Mox::threadSafePtrs()` when they are created. REQUIRES: no
    /// intern table exists (asserted).
    static void multiThreadedIs(bool multiThreaded) noexcept;
};

} // namespace Routing::Bgp
