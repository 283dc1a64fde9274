#pragma once

#include <functional>
#include <string>
#include <vector>

#include <poll.h>

#include "Acceptor.h"
#include "Deadline.h"
#include "bmp/TcpSocket.h"

namespace BgpCommunities {

/// Serves a text over HTTP to a few clients at a time; never blocks.
///
/// Owns the listener and the connections. A connection is closed after the response or a few
/// seconds. Used by one thread.
class MetricsServer {
  public:
    /// Throws std::system_error.
    explicit MetricsServer(SocketAddress const& address)
      : acceptor_(address) {}

    [[nodiscard]] SocketAddress address() const { return acceptor_.address(); }

    /// Appends the descriptors to poll, and adds the deadline, before the next call of serve().
    void appendPolled(std::vector<pollfd>& polled, Deadline& deadline) const;

    /// Answers complete requests with `text()`; closes overdue connections.
    void serve(std::function<std::string()> const& text);

  private:
    using Clock = Deadline::Clock;

    struct Client {
        FileDescriptor socket;
        Clock::time_point deadline;
        std::string request;
        std::string response; // the part that has not been sent
    };

    void accept();
    /// Returns true if the connection can be closed.
    static bool serve(Client& client, std::function<std::string()> const& text);
    /// Returns true if the client has closed the connection.
    static bool receive(Client& client);

    Acceptor acceptor_;
    std::vector<Client> clients_;
};

} // namespace BgpCommunities
