#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "bmp/BmpMessage.h"

namespace BgpCommunities {

/** A number that one thread changes and any thread reads. */
class WorkerNumber {
  public:
    void add(std::uint64_t more) { set(get() + more); }
    void subtract(std::uint64_t less) { set(get() - less); }

    [[nodiscard]] std::uint64_t get() const { return number_.load(std::memory_order_relaxed); }

  private:
    void set(std::uint64_t number) { number_.store(number, std::memory_order_relaxed); }

    std::atomic<std::uint64_t> number_{0};
};

/** What one worker of a station has received, and what it holds. Changed by the worker, read by any
    thread; each number is correct by itself. */
struct alignas(64) StationCounts {
    static constexpr std::size_t unknownType = bmpTypes;

    std::array<WorkerNumber, bmpTypes + 1> messages; // by type
    WorkerNumber octets;
    WorkerNumber announced;
    WorkerNumber withdrawn;
    WorkerNumber treatedAsWithdrawn;
    WorkerNumber problems; // messages or attributes that are malformed or refused
    WorkerNumber ended;    // sessions
    WorkerNumber changes;  // of the table, in any way

    // Now.
    WorkerNumber sessions;
    WorkerNumber peers;
    WorkerNumber routes;
};

} // namespace BgpCommunities
