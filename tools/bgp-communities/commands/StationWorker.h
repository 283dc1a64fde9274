#pragma once

#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include "StationPrinter.h"
#include "StationSession.h"
#include "StationStore.h"
#include "TargetLog.h"
#include "bmp/TcpSocket.h"

namespace BgpCommunities {

/**
 * A thread that reads BMP sessions: each session is read by one worker from its first octet to its
 * last.
 *
 * Owns the thread, and the sessions with their connections and routes. What it shares with other
 * workers is the agent and the log of route targets, not owned. Its public functions are
 * thread-safe.
 */
class StationWorker {
  public:
    struct Shares {
        Agent& agent;
        TargetLog* targets;        // null if route targets are not printed
        StationRecorder* recorder; // null if nothing is recorded
        SessionLimits const& limits;
        bool printsRoutes;
    };

    /** `wake` is called by the worker when it has failed, or has counted its lists. */
    StationWorker(Shares const& shares, std::function<void()> wake);
    /** Stops the thread; the sessions end. */
    ~StationWorker();
    StationWorker(StationWorker const&) = delete;
    StationWorker& operator=(StationWorker const&) = delete;

    /** Takes over a connection. */
    void sessionIs(FileDescriptor connection, SocketAddress const& router);

    /** Sessions that it has been given and that have not ended. */
    [[nodiscard]] std::size_t sessions() const { return sessions_.load(); }

    /** Meanings from now on. */
    void dictionaryIs(std::shared_ptr<Dictionary const> const& dictionary);

    /** Counts the lists of all its routes and passes them to `take`, in its thread. */
    void countUses(std::function<void(StationUses)> take);

    /** Ends all sessions, for this reason, and then the thread. */
    void stop(std::string_view reason);

    /** After it called `wake`: rethrows what ended its thread, if anything. */
    void rethrowFailure();

    [[nodiscard]] StationCounts const& counts() const { return counts_; }

  private:
    struct Connection {
        FileDescriptor socket;
        StationSession session;
    };

    void post(std::function<void()> task);
    void run() noexcept;
    void runLoop();
    void runTasks();
    void adopt(FileDescriptor connection, SocketAddress const& router);
    /** Reads what has arrived. Returns false if the session has ended. */
    bool receive(Connection& connection);
    void end(Connection& connection, std::string_view reason);
    void endOverdue();
    void endIfStillOverdue(Connection& connection);
    void flush();

    Shares const shares_;
    std::function<void()> const wake_;
    StationCounts counts_;
    Output output_;
    std::optional<StationPrinter> printer_;
    FileDescriptor epoll_;
    FileDescriptor mailSignal_; // readable when there are tasks
    std::unordered_map<Connection*, std::unique_ptr<Connection>> connections_;
    std::vector<std::uint8_t> buffer_;
    StationSession::Clock::time_point lastSweep_;
    bool stopping_ = false;

    std::atomic<std::size_t> sessions_{0};
    std::mutex mutex_; // of what follows
    std::vector<std::function<void()>> tasks_;
    std::exception_ptr failure_;

    std::thread thread_; // last: all else is there when it runs
};

} // namespace BgpCommunities
