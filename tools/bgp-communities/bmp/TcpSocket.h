#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "wire/IpAddress.h"

namespace BgpCommunities {

/** A descriptor of the system, or none; closed with its owner. Thread-compatible. */
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

/** One end of a TCP connection; a plain value. */
struct SocketAddress {
    IpAddress address;
    std::uint16_t port = 0;
};

/**
 * Reads "192.0.2.1:1790" or "[2001:db8::1]:1790"; of ":1790" and "1790" the address is 127.0.0.1.
 *
 * Returns what is wrong, or nothing.
 */
std::string_view readSocketAddress(std::string_view text, SocketAddress& address);

/** Appends what readSocketAddress() reads. */
void appendText(std::string& out, SocketAddress const& address);

// These throw std::system_error. All descriptors are closed in programs that are started.

/** Accepts connections without blocking; port 0 is any free one. */
FileDescriptor listenOn(SocketAddress const& address);
/** Connects, and then blocks. */
FileDescriptor connectTo(SocketAddress const& address);
/** The local end. */
SocketAddress localAddress(FileDescriptor const& socket);

/** The next connection, which does not block; none, with errno set, if there is none. IPv4 peers of
    an IPv6 socket have IPv4 addresses. */
FileDescriptor acceptFrom(FileDescriptor const& listener, SocketAddress& peer);

/** Ends the connection within two minutes after its other end has gone without a word. */
void detectDeadPeer(FileDescriptor const& socket);

} // namespace BgpCommunities
