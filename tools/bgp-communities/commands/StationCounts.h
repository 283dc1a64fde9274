#pragma once

#include <array>
#include <atomic>

#include "bmp/BmpMessage.h"
#include "input/IntegerTypes.h"

namespace BgpCommunities {

/// A number that one thread may change and any thread may read.
class WorkerNumber {
  public:
    void add(U64 more) { set(get() + more); }
    void subtract(U64 less) { set(get() - less); }

    [[nodiscard]] U64 get() const { return number_.load(std::memory_order_relaxed); }

  private:
    void set(U64 number) { number_.store(number, std::memory_order_relaxed); }

    std::atomic<U64> number_{0};
};

/// Counters and gauges of one worker of a station. Changed by the worker, read by any thread; the
/// numbers are not read as one consistent set.
struct alignas(64) StationCounts {
    static constexpr std::size_t unknownType = bmpTypes;

    std::array<WorkerNumber, bmpTypes + 1> messages; // by type
    WorkerNumber octets;
    WorkerNumber announced;
    WorkerNumber withdrawn;
    WorkerNumber treatedAsWithdrawn;
    WorkerNumber problems; // malformed or refused messages and attributes
    WorkerNumber ended;    // sessions
    WorkerNumber changes;  // of the routes held

    // Gauges.
    WorkerNumber sessions;
    WorkerNumber peers;
    WorkerNumber routes;
};

} // namespace BgpCommunities
