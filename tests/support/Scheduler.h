#pragma once

#include <Mox/Types.h>

/// Delays threads at the scheduling points of a build that has them (Mox/SchedulingPoint.h), so
/// that interleavings that need several threads within a few instructions become frequent.
/// Functions are thread-safe.
class Scheduler {
  public:
    /// From now on threads are delayed at some of the points, which depend on this number; 0: at
    /// none.
    static void roundIs(Mox::U64 round) noexcept;

    /// How often a thread was delayed.
    static Mox::U64 delays() noexcept;
};
