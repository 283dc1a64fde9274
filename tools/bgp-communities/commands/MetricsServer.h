#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <poll.h>

#include "bmp/TcpSocket.h"

namespace BgpCommunities {

/**
 * Serves one text over HTTP, to a few clients at a time, without ever waiting for one.
 *
 * Owns the listener and the connections, each of which ends after its answer, or after a few
 * seconds. Used by one thread.
 */
class MetricsServer {
  public:
    /** Throws std::system_error. */
    explicit MetricsServer(SocketAddress const& address)
      : listener_(listenOn(address)) {}

    [[nodiscard]] SocketAddress address() const { return localAddress(listener_); }

    /** Appends what to wait for before serve() is called again; also call it every second. */
    void appendPolled(std::vector<pollfd>& polled) const;

    /** Answers requests that have arrived with `text()`. */
    void serve(std::function<std::string()> const& text);

  private:
    using Clock = std::chrono::steady_clock;

    struct Client {
        FileDescriptor socket;
        Clock::time_point deadline;
        std::string request;
        std::string answer; // the part that has not been sent
    };

    void accept();
    /** True if the client is done. */
    static bool serve(Client& client, std::function<std::string()> const& text);
    static bool receive(Client& client);

    FileDescriptor listener_;
    std::vector<Client> clients_;
};

} // namespace BgpCommunities
