#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "input/IntegerTypes.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

/// Owns a file descriptor, or none; the destructor closes it. Thread-compatible.
class FileDescriptor {
  public:
    explicit FileDescriptor(int fd = -1)
      : fd_(fd) {}
    ~FileDescriptor() { close(); }
    FileDescriptor(FileDescriptor&& other) noexcept
      : fd_(std::exchange(other.fd_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        close();
        fd_ = std::exchange(other.fd_, -1);
        return *this;
    }

    [[nodiscard]] int get() const { return fd_; }
    [[nodiscard]] bool isOpen() const { return fd_ >= 0; }
    void close() noexcept;

  private:
    int fd_;
};

/// An IP address and a TCP port; a plain value.
struct SocketAddress {
    IpAddress address;
    U16 port = 0;
};

/// Parses "192.0.2.1:1790" or "[2001:db8::1]:1790"; the address of ":1790" and "1790" is 127.0.0.1.
///
/// Returns an error message, empty on success.
std::string_view readSocketAddress(std::string_view text, SocketAddress& address);

/// Appends the format of readSocketAddress().
void appendText(std::string& out, SocketAddress const& address);

// Descriptors are created close-on-exec. The first three functions throw std::system_error.

/// Returns a non-blocking socket that listens; port 0 selects any free port.
FileDescriptor listenOn(SocketAddress const& address);
/// Returns a connected, blocking socket.
FileDescriptor connectTo(SocketAddress const& address);
/// Returns the local address of a socket.
SocketAddress localAddress(FileDescriptor const& socket);

/// Accepts a pending connection as a non-blocking socket. Not open, with errno set, if no
/// connection is pending or accept() fails. `peer` is an IPv4 address for an IPv4 peer of an IPv6
/// socket.
FileDescriptor acceptFrom(FileDescriptor const& listener, SocketAddress& peer);

/// Enables TCP keepalive: the connection fails two minutes after its peer becomes unreachable.
void detectDeadPeer(FileDescriptor const& socket);

} // namespace BgpCommunities
