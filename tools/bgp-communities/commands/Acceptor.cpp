#include "Acceptor.h"

#include <cerrno>

namespace BgpCommunities {

void Acceptor::appendPolled(std::vector<pollfd>& polled, Deadline& deadline) const {
    deadline.include(pause_);
    if (!pause_.isSet()) {
        polled.push_back({socket_.get(), POLLIN, 0});
    }
}

FileDescriptor Acceptor::accept(SocketAddress& peer) {
    auto const now = Deadline::Clock::now();
    if (!socket_.isOpen() || (pause_.isSet() && !pause_.hasPassed(now))) {
        return FileDescriptor();
    }
    pause_ = {};
    FileDescriptor connection = acceptFrom(socket_, peer);
    bool const isExhausted =
        errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
    if (!connection.isOpen() && isExhausted) {
        pause_.include(now + std::chrono::seconds(1));
    }
    return connection;
}

} // namespace BgpCommunities
