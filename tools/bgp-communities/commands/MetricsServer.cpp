#include "MetricsServer.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include <sys/socket.h>

namespace BgpCommunities {

namespace {

constexpr std::size_t maxClients = 16;
constexpr std::size_t maxRequestOctets = 8192;
constexpr std::chrono::seconds clientTimeout{5};

/// Returns the response to a complete request.
std::string response(std::string_view request, std::function<std::string()> const& text) {
    std::string_view const target = request.substr(0, request.find(" HTTP/"));
    bool const isKnown = target == "GET /metrics" || target == "GET /";
    std::string const body = isKnown ? text() : "unknown path: GET /metrics\n";
    std::string out = isKnown ? "HTTP/1.0 200 OK\r\n" : "HTTP/1.0 404 Not Found\r\n";
    out += "Content-Type: text/plain; version=0.0.4; charset=utf-8\r\nConnection: close\r\n";
    return out + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

bool wouldBlock(ssize_t result) {
    return result < 0 && (errno == EAGAIN || errno == EINTR);
}

} // namespace

void MetricsServer::appendPolled(std::vector<pollfd>& polled, Deadline& deadline) const {
    if (clients_.size() < maxClients) {
        acceptor_.appendPolled(polled, deadline);
    }
    for (Client const& client : clients_) {
        short const event = client.response.empty() ? POLLIN : POLLOUT;
        polled.push_back({client.socket.get(), event, 0});
        deadline.include(client.deadline);
    }
}

void MetricsServer::serve(std::function<std::string()> const& text) {
    accept();
    auto const now = Clock::now();
    std::erase_if(clients_,
                  [&](Client& client) { return serve(client, text) || now > client.deadline; });
}

void MetricsServer::accept() {
    while (clients_.size() < maxClients) {
        SocketAddress from;
        FileDescriptor socket = acceptor_.accept(from);
        if (!socket.isOpen()) {
            return;
        }
        clients_.push_back({std::move(socket), Clock::now() + clientTimeout, {}, {}});
    }
}

bool MetricsServer::serve(Client& client, std::function<std::string()> const& text) {
    if (client.response.empty()) {
        if (receive(client) || client.request.size() > maxRequestOctets) {
            return true;
        }
        if (client.request.find("\r\n\r\n") == std::string::npos) {
            return false;
        }
        client.response = response(client.request, text);
    }
    ssize_t const sent =
        ::send(client.socket.get(), client.response.data(), client.response.size(), MSG_NOSIGNAL);
    if (sent < 0) {
        return !wouldBlock(sent);
    }
    client.response.erase(0, static_cast<std::size_t>(sent));
    return client.response.empty();
}

bool MetricsServer::receive(Client& client) {
    std::array<char, 2048> octets{};
    ssize_t const got = ::recv(client.socket.get(), octets.data(), octets.size(), 0);
    if (got > 0) {
        client.request.append(octets.data(), static_cast<std::size_t>(got));
    }
    return got == 0 || (got < 0 && !wouldBlock(got));
}

} // namespace BgpCommunities
