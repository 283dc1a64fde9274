#include "TcpSocket.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "input/Numbers.h"

namespace BgpCommunities {

namespace {

/// An address in the form of the socket API.
struct SystemAddress {
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;

    sockaddr* pointer() { return reinterpret_cast<sockaddr*>(&storage); }
};

SystemAddress systemAddress(SocketAddress const& from) {
    SystemAddress to;
    Octets const octets = Octets(from.address.octets).first(from.address.size);
    if (from.address.size == 4) {
        sockaddr_in in{};
        in.sin_family = AF_INET;
        in.sin_port = htons(from.port);
        std::memcpy(&in.sin_addr, octets.data(), octets.size());
        std::memcpy(&to.storage, &in, sizeof in);
        to.size = sizeof in;
    } else {
        sockaddr_in6 in{};
        in.sin6_family = AF_INET6;
        in.sin6_port = htons(from.port);
        std::memcpy(&in.sin6_addr, octets.data(), octets.size());
        std::memcpy(&to.storage, &in, sizeof in);
        to.size = sizeof in;
    }
    return to;
}

SocketAddress socketAddress(SystemAddress const& from) {
    if (from.storage.ss_family == AF_INET) {
        sockaddr_in in{};
        std::memcpy(&in, &from.storage, sizeof in);
        return {ipAddress({reinterpret_cast<U8 const*>(&in.sin_addr), 4}), ntohs(in.sin_port)};
    }
    sockaddr_in6 in{};
    std::memcpy(&in, &from.storage, sizeof in);
    Octets const octets(reinterpret_cast<U8 const*>(&in.sin6_addr), 16);
    bool const isMapped = IN6_IS_ADDR_V4MAPPED(&in.sin6_addr);
    return {ipAddress(isMapped ? octets.last(4) : octets), ntohs(in.sin6_port)};
}

[[noreturn]] void fail(std::string const& what, SocketAddress const& address) {
    int const error = errno;
    std::string text = what;
    appendText(text, address);
    throw std::system_error(error, std::generic_category(), text);
}

FileDescriptor tcpSocket(SocketAddress const& address, int flags) {
    int const family = address.address.size == 4 ? AF_INET : AF_INET6;
    return FileDescriptor(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

void setSocketOption(FileDescriptor const& socket, int level, int option, int value) {
    ::setsockopt(socket.get(), level, option, &value, sizeof value);
}

} // namespace

void FileDescriptor::close() noexcept {
    if (fd_ >= 0) {
        ::close(std::exchange(fd_, -1));
    }
}

std::string_view readSocketAddress(std::string_view text, SocketAddress& address) {
    std::size_t const colon = text.rfind(':');
    std::string_view host = colon == std::string_view::npos ? "" : text.substr(0, colon);
    std::string_view const port = text.substr(colon == std::string_view::npos ? 0 : colon + 1);
    bool const bracketed = host.starts_with('[') && host.ends_with(']');
    host = bracketed ? host.substr(1, host.size() - 2) : host;
    address.address = readIpAddress(host.empty() ? "127.0.0.1" : host);
    if (address.address.size == 0 || (address.address.size == 16) != bracketed) {
        return "expected ADDRESS:PORT, an IPv6 address in brackets";
    }
    auto const number = readNumber<U16>(port);
    if (!number) {
        return "port is not a number up to 65535";
    }
    address.port = *number;
    return {};
}

void appendText(std::string& out, SocketAddress const& address) {
    bool const isIpv6 = address.address.size == 16;
    out += isIpv6 ? "[" : "";
    appendText(out, address.address);
    out += isIpv6 ? "]:" : ":";
    appendNumber(out, address.port);
}

FileDescriptor listenOn(SocketAddress const& address) {
    FileDescriptor socket = tcpSocket(address, SOCK_NONBLOCK);
    setSocketOption(socket, SOL_SOCKET, SO_REUSEADDR, 1);
    SystemAddress to = systemAddress(address);
    if (!socket.isOpen() || ::bind(socket.get(), to.pointer(), to.size) != 0 ||
        ::listen(socket.get(), SOMAXCONN) != 0) {
        fail("cannot listen on ", address);
    }
    return socket;
}

FileDescriptor connectTo(SocketAddress const& address) {
    FileDescriptor socket = tcpSocket(address, 0);
    SystemAddress to = systemAddress(address);
    if (!socket.isOpen() || ::connect(socket.get(), to.pointer(), to.size) != 0) {
        fail("cannot connect to ", address);
    }
    setSocketOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
    return socket;
}

SocketAddress localAddress(FileDescriptor const& socket) {
    SystemAddress local;
    if (::getsockname(socket.get(), local.pointer(), &local.size) != 0) {
        throw std::system_error(errno, std::generic_category(), "getsockname");
    }
    return socketAddress(local);
}

FileDescriptor acceptFrom(FileDescriptor const& listener, SocketAddress& peer) {
    SystemAddress from;
    FileDescriptor socket(
        ::accept4(listener.get(), from.pointer(), &from.size, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (socket.isOpen()) {
        peer = socketAddress(from);
    }
    return socket;
}

void detectDeadPeer(FileDescriptor const& socket) {
    setSocketOption(socket, SOL_SOCKET, SO_KEEPALIVE, 1);
    setSocketOption(socket, IPPROTO_TCP, TCP_KEEPIDLE, 60);
    setSocketOption(socket, IPPROTO_TCP, TCP_KEEPINTVL, 15);
    setSocketOption(socket, IPPROTO_TCP, TCP_KEEPCNT, 4);
}

} // namespace BgpCommunities
