#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "MetricsServer.h"
#include "StationRecorder.h"
#include "StationStore.h"
#include "StationWorker.h"
#include "TargetLog.h"
#include "bmp/TcpSocket.h"
#include "text/ExitStatus.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

/** How a station runs; a plain value. */
struct StationOptions {
    SocketAddress address;
    std::size_t threads = 1;
    std::size_t maxSessions = 1024;
    std::vector<Prefix> allowed; // empty: every address
    SessionLimits limits;
    std::string store; // empty: none is published
    std::chrono::seconds every{10};
    std::optional<SocketAddress> metrics; // where they are served
    RecordOptions record;
    bool printsRoutes = false;
    bool printsTargets = false;
    std::function<Dictionary()> readDictionary;
};

/**
 * A BMP station: accepts sessions, hands each to a worker, publishes the store.
 *
 * Owns the tables, the listener and the workers. REQUIRES: the process is in thread-safe mode, and
 * SIGTERM, SIGINT and SIGHUP are blocked in all threads: run() takes them. Used by one thread.
 */
class Station {
  public:
    /** Listens. Throws std::system_error. */
    Station(StationOptions const& options, Output& output);
    ~Station();
    Station(Station const&) = delete;
    Station& operator=(Station const&) = delete;

    /** The address that it listens on, with its port. */
    [[nodiscard]] SocketAddress address() const { return localAddress(listener_); }

    /** Where it serves its metrics. REQUIRES: it does. */
    [[nodiscard]] SocketAddress metricsAddress() const { return metrics_->address(); }

    /** Runs until SIGTERM or SIGINT, then publishes once more. Throws what a worker could not
        handle. */
    ExitStatus run();

  private:
    using Clock = std::chrono::steady_clock;

    void wait();
    void takeSignals();
    void acceptSessions();
    [[nodiscard]] bool isAllowed(IpAddress const& address) const;
    void refuse(SocketAddress const& router, std::string_view reason);
    void reloadDictionary();
    [[nodiscard]] std::uint64_t sum(WorkerNumber StationCounts::*number) const;
    [[nodiscard]] std::size_t sessions() const;
    void publishIfDue();
    void beginPublication();
    void endPublication();
    [[nodiscard]] std::string metricsText() const;
    ExitStatus finish();

    StationOptions const& options_;
    Output& output_;
    Agent agent_;
    std::optional<TargetLog> targets_;
    std::optional<StationRecorder> recorder_;
    std::optional<MetricsServer> metrics_;
    FileDescriptor listener_;
    FileDescriptor signals_;
    FileDescriptor wake_;
    std::vector<std::unique_ptr<StationWorker>> workers_;
    std::uint64_t refused_ = 0;
    Clock::time_point acceptAgain_; // after the system had no descriptor left
    bool finishing_ = false;
    ExitStatus status_ = ExitStatus::allRead;

    // The publication that is being made.
    bool publishing_ = false;
    bool lastBegun_ = false; // that of the end
    std::mutex gathering_;      // of the next two
    std::size_t uncounted_ = 0; // workers whose lists are missing
    std::unique_ptr<StationUses> gathered_;
    std::uint64_t changesGathered_ = 0;
    Clock::time_point begun_;

    // The last one.
    bool published_ = false;
    std::uint64_t changesPublished_ = 0;
    Clock::time_point nextPublication_;
    std::uint64_t publications_ = 0;
    std::chrono::duration<double> longestPublication_{0};
};

} // namespace BgpCommunities
