#pragma once

#include <vector>

#include <poll.h>

#include "Deadline.h"
#include "bmp/TcpSocket.h"

namespace BgpCommunities {

/// Listens on an address and accepts connections in an event loop.
///
/// Pauses for a second when the system is out of descriptors or memory, because poll() would
/// otherwise return at once. Owns the listening socket. Thread-compatible.
class Acceptor {
  public:
    /// Starts to listen. Throws std::system_error.
    explicit Acceptor(SocketAddress const& address)
      : socket_(listenOn(address)) {}

    [[nodiscard]] SocketAddress address() const { return localAddress(socket_); }

    /// Appends the descriptor to poll, or includes the end of the pause.
    void appendPolled(std::vector<pollfd>& polled, Deadline& deadline) const;

    /// Accepts a pending connection, see acceptFrom(). Not open if none is pending, during a pause,
    /// and after close().
    FileDescriptor accept(SocketAddress& peer);

    /// Stops listening.
    void close() { socket_.close(); }

  private:
    FileDescriptor socket_;
    Deadline pause_;
};

} // namespace BgpCommunities
