#pragma once

#include <Mox/Export.h>

namespace Routing::Bgp {

/// Process-wide settings. Thread-compatible: set them before starting a second thread.
class VOBGP_EXPORT VoBgpGlobals {
  public:
    /// Whether intern tables are created thread-safe. Off by default.
    static bool multiThreaded() noexcept;

    /// Affects tables created afterwards. Turning it on also turns on `Mox::threadSafePtrs()`,
    /// unless an intern table exists; several threads may use a thread-safe table only while that
    /// is on.
    static void multiThreadedIs(bool multiThreaded) noexcept;
};

} // namespace Routing::Bgp
