#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "StationStore.h"
#include "StationWorker.h"
#include "input/IntegerTypes.h"

namespace BgpCommunities {

/// The workers of a station.
using StationWorkers = std::vector<std::unique_ptr<StationWorker>>;

/// The sum of one number over all workers.
U64 sum(StationWorkers const& workers, WorkerNumber StationCounts::*number);

/// Publishes the store of a station once in every interval in which the routes have changed.
///
/// Owns a thread, in which stores are built and written: a large store does not delay the station.
/// An existing store is not touched before the first change. Agent and workers are not owned and
/// must outlive the publisher. Thread-safe.
class StationPublisher {
  public:
    /// `wake` is called by the thread after each publication and at its end.
    StationPublisher(std::string store, std::chrono::seconds interval, Agent& agent,
                     StationWorkers const& workers, std::function<void()> wake);
    /// Waits for a publication in progress.
    ~StationPublisher();
    StationPublisher(StationPublisher const&) = delete;
    StationPublisher& operator=(StationPublisher const&) = delete;

    /// Starts the last publication, if anything has changed, and returns; see isFinished().
    void finish();

    /// Whether the last publication is over.
    [[nodiscard]] bool isFinished() const { return finished_.load(); }

    /// Whether the most recent publication failed; the reason is on standard error.
    [[nodiscard]] bool failed() const { return failed_.load(); }

    [[nodiscard]] U64 publications() const { return publications_.load(); }
    [[nodiscard]] std::chrono::duration<double> longest() const { return longest_.load(); }

  private:
    enum class Next { publish, publishLast, stop };

    void run();
    [[nodiscard]] Next waitForInterval();
    void publishIfChanged();
    /// Reports a failure; returns false then.
    bool publish();
    [[nodiscard]] StationUses countUses() const;
    void end(Next next);

    std::string const store_;
    std::chrono::seconds const interval_;
    Agent& agent_;
    StationWorkers const& workers_;
    std::function<void()> const wake_;
    U64 changesPublished_ = 0; // used by the thread only

    std::atomic<bool> finished_{false};
    std::atomic<bool> failed_{false};
    std::atomic<U64> publications_{0};
    std::atomic<std::chrono::duration<double>> longest_{};

    std::mutex mutex_; // guards `next_`
    std::condition_variable changed_;
    Next next_ = Next::publish;

    std::thread thread_; // the last member: starts when the others are constructed
};

} // namespace BgpCommunities
