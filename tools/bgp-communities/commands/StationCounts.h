#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "bmp/BmpMessage.h"

namespace BgpCommunities {

/// A number that one thread may change and any thread may read.
class WorkerNumber {
  public:
    void add(std::uint64_t more) { set(get() + more); }
    void subtract(std::uint64_t less) { set(get() - less); }

    [[nodiscard]] std::uint64_t get() const { return number_.load(std::memory_order_relaxed); }

  private:
    void set(std::uint64_t number) { number_.store(number, std::memory_order_relaxed); }

    std::atomic<std::uint64_t> number_{0};
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
