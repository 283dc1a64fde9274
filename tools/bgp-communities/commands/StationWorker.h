#pragma once

#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include "Deadline.h"
#include "StationPrinter.h"
#include "StationSession.h"
#include "StationStore.h"
#include "TargetLog.h"
#include "bmp/TcpSocket.h"

namespace BgpCommunities {

/// A thread that reads BMP sessions. One worker reads a session from its first octet to its last.
///
/// Owns the thread and its sessions, with their connections and routes. Public functions are
/// thread-safe.
class StationWorker {
  public:
    /// What all workers share. Not owned.
    struct Context {
        Agent& agent;
        TargetLog* targets;        // null if route targets are not printed
        StationRecorder* recorder; // null if nothing is recorded
        SessionLimits const& limits;
        bool printsRoutes;
    };

    /// `wake` is called by the thread if it fails.
    StationWorker(Context const& context, std::function<void()> wake);
    /// Ends all sessions and the thread.
    ~StationWorker();
    StationWorker(StationWorker const&) = delete;
    StationWorker& operator=(StationWorker const&) = delete;

    /// Takes over a connection from a router.
    void add(FileDescriptor connection, SocketAddress const& router);

    /// The number of sessions that were added and have not ended.
    [[nodiscard]] std::size_t sessions() const { return sessions_.load(); }

    /// Replaces the dictionary.
    void setDictionary(std::shared_ptr<Dictionary const> const& dictionary);

    /// Counts the lists of all routes, in the thread. The future holds a std::future_error if the
    /// thread ends first.
    [[nodiscard]] std::future<StationUses> countUses();

    /// Rethrows the exception that ended the thread, if any.
    void rethrowFailure();

    [[nodiscard]] StationCounts const& counts() const { return counts_; }

  private:
    struct Connection {
        FileDescriptor socket;
        StationSession session;
    };

    using Tasks = std::vector<std::function<void()>>;

    void post(std::function<void()> task);
    void run() noexcept;
    void runLoop();
    void runTasks();
    void stop();
    void adopt(FileDescriptor connection, SocketAddress const& router);
    /// Reads the octets that have arrived. Returns false if the session has ended.
    bool receive(Connection& connection);
    void end(Connection& connection, std::string_view reason);
    void endOverdue();
    void endIfStillOverdue(Connection& connection);
    void flush();

    Context const context_;
    std::function<void()> const wake_;
    StationCounts counts_;
    Output output_;
    std::optional<StationPrinter> printer_;
    FileDescriptor epoll_;
    FileDescriptor taskEvent_; // readable if there are tasks
    std::unordered_map<Connection*, std::unique_ptr<Connection>> connections_;
    std::vector<U8> buffer_;
    Deadline deadline_; // no later than that of any session
    bool stopping_ = false;

    std::atomic<std::size_t> sessions_{0};
    std::mutex mutex_; // guards the members below
    Tasks tasks_;
    bool failed_ = false; // no more tasks are accepted
    std::exception_ptr failure_;

    std::thread thread_; // the last member: starts when the others are constructed
};

} // namespace BgpCommunities
