#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Acceptor.h"
#include "MetricsServer.h"
#include "StationPublisher.h"
#include "StationRecorder.h"
#include "StationWorker.h"
#include "TargetLog.h"
#include "bmp/TcpSocket.h"
#include "input/IntegerTypes.h"
#include "text/ExitStatus.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

/// The configuration of a station; a plain value.
struct StationOptions {
    SocketAddress address;
    std::size_t threads = 1;
    std::size_t maxSessions = 1024;
    std::vector<Prefix> allowed; // addresses that may connect; empty: all
    SessionLimits limits;
    std::string store;                    // empty: no store is published
    std::chrono::seconds every{10};       // between publications
    std::optional<SocketAddress> metrics; // where they are served, if at all
    RecordOptions record;
    bool printsRoutes = false;
    bool printsTargets = false;
    std::function<Dictionary()> readDictionary;
};

/// A BMP station: accepts sessions, assigns each to a worker, serves metrics and takes signals.
///
/// Owns the intern tables, the listener, the workers and the publisher. REQUIRES: the process is in
/// thread-safe mode, and SIGTERM, SIGINT and SIGHUP are blocked in all threads; run() receives
/// them. Used by one thread.
class Station {
  public:
    /// Starts to listen. Throws std::system_error.
    Station(StationOptions const& options, Output& output);
    ~Station();
    Station(Station const&) = delete;
    Station& operator=(Station const&) = delete;

    /// The address and port on which it listens.
    [[nodiscard]] SocketAddress address() const { return acceptor_.address(); }

    /// The address at which it serves metrics. REQUIRES: the options have one.
    [[nodiscard]] SocketAddress metricsAddress() const { return metrics_->address(); }

    /// Runs until SIGTERM or SIGINT, then publishes once more. Rethrows what ended a worker.
    ExitStatus run();

  private:
    void wake();
    void wait();
    [[nodiscard]] bool isFinished() const;
    void takeSignals();
    void acceptSessions();
    [[nodiscard]] bool isAllowed(IpAddress const& address) const;
    void refuse(SocketAddress const& router, std::string_view reason);
    void reloadDictionary();
    [[nodiscard]] std::size_t sessions() const;
    [[nodiscard]] std::string metricsText() const;
    ExitStatus finish();

    StationOptions const& options_;
    Output& output_;
    Agent agent_;
    std::optional<TargetLog> targets_;
    std::optional<StationRecorder> recorder_;
    std::optional<MetricsServer> metrics_;
    Acceptor acceptor_;
    FileDescriptor signals_;
    FileDescriptor wake_; // an event that other threads signal
    StationWorkers workers_;
    std::optional<StationPublisher> publisher_;
    U64 refused_ = 0;
    bool finishing_ = false;
};

} // namespace BgpCommunities
