#include "StationWorker.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <span>
#include <system_error>
#include <utility>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace BgpCommunities {

namespace {

constexpr std::size_t readOctets = 256 * 1024;
constexpr std::chrono::seconds sweepInterval{1};

void watch(FileDescriptor const& epoll, FileDescriptor const& watched, void* tag) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = tag;
    if (::epoll_ctl(epoll.get(), EPOLL_CTL_ADD, watched.get(), &event) != 0) {
        throw std::system_error(errno, std::generic_category(), "epoll_ctl");
    }
}

} // namespace

StationWorker::StationWorker(Shares const& shares, std::function<void()> wake)
  : shares_(shares)
  , wake_(std::move(wake))
  , epoll_(::epoll_create1(EPOLL_CLOEXEC))
  , mailSignal_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
  , buffer_(readOctets) {
    if (!epoll_.isOpen() || !mailSignal_.isOpen()) {
        throw std::system_error(errno, std::generic_category(), "epoll");
    }
    watch(epoll_, mailSignal_, nullptr);
    if (shares_.printsRoutes) {
        printer_.emplace(shares_.agent, output_);
    }
    thread_ = std::thread([this] { run(); });
}

StationWorker::~StationWorker() {
    stop("the station stops");
    thread_.join();
}

void StationWorker::post(std::function<void()> task) {
    {
        std::lock_guard const lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    std::uint64_t const one = 1;
    [[maybe_unused]] auto const written = ::write(mailSignal_.get(), &one, sizeof one);
}

void StationWorker::sessionIs(FileDescriptor connection, SocketAddress const& router) {
    ++sessions_;
    auto shared = std::make_shared<FileDescriptor>(std::move(connection));
    post([this, shared, router] { adopt(std::move(*shared), router); });
}

void StationWorker::dictionaryIs(std::shared_ptr<Dictionary const> const& dictionary) {
    post([this, dictionary] {
        if (printer_) {
            printer_->dictionaryIs(dictionary);
        }
    });
}

void StationWorker::countUses(std::function<void(StationUses)> take) {
    post([this, take = std::move(take)] {
        StationUses uses(shares_.agent);
        for (auto const& [key, connection] : connections_) {
            uses.add(connection->session.label(), connection->session.routes());
        }
        take(std::move(uses));
        wake_();
    });
}

void StationWorker::stop(std::string_view reason) {
    post([this, reason = std::string(reason)] {
        stopping_ = true;
        while (!connections_.empty()) {
            end(*connections_.begin()->second, reason);
        }
    });
}

void StationWorker::rethrowFailure() {
    std::lock_guard const lock(mutex_);
    if (failure_) {
        std::rethrow_exception(std::exchange(failure_, nullptr));
    }
}

void StationWorker::run() noexcept {
    try {
        runLoop();
    } catch (...) {
        connections_.clear();
        {
            std::lock_guard const lock(mutex_);
            failure_ = std::current_exception();
        }
        wake_();
    }
}

void StationWorker::runLoop() {
    std::array<epoll_event, 64> events{};
    while (!stopping_) {
        int const wait = connections_.empty() ? -1 : 1000;
        int const count =
            ::epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), wait);
        auto const happened = static_cast<std::size_t>(std::max(count, 0)); // -1: interrupted
        for (epoll_event const& event : std::span(events).first(happened)) {
            if (event.data.ptr != nullptr) {
                receive(*static_cast<Connection*>(event.data.ptr));
            }
        }
        endOverdue();
        runTasks(); // after the events, whose connections they may end
        flush();
    }
}

void StationWorker::runTasks() {
    std::uint64_t signals = 0;
    [[maybe_unused]] auto const got = ::read(mailSignal_.get(), &signals, sizeof signals);
    std::vector<std::function<void()>> tasks;
    {
        std::lock_guard const lock(mutex_);
        tasks.swap(tasks_);
    }
    for (auto const& task : tasks) {
        task();
    }
}

void StationWorker::adopt(FileDescriptor connection, SocketAddress const& router) {
    SessionShares const shares = {shares_.agent, counts_, printer_ ? &*printer_ : nullptr,
                                  shares_.recorder};
    std::unique_ptr<Connection> owned(
        new Connection{std::move(connection), {shares, shares_.limits, router}});
    watch(epoll_, owned->socket, owned.get());
    auto* const key = owned.get();
    connections_.emplace(key, std::move(owned));
}

bool StationWorker::receive(Connection& connection) {
    ssize_t const got =
        ::recv(connection.socket.get(), buffer_.data(), buffer_.size(), MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
        return true;
    }
    if (got <= 0) {
        end(connection, got == 0 ? "closed by the router" : std::strerror(errno));
        return false;
    }
    try {
        if (connection.session.add(Octets(buffer_).first(static_cast<std::size_t>(got)))) {
            return true;
        }
        end(connection, "");
    } catch (std::bad_alloc const&) {
        end(connection, "out of memory");
    }
    return false;
}

void StationWorker::end(Connection& connection, std::string_view reason) {
    connection.session.endIs(reason);
    connection.session.sayEnd();
    connections_.erase(&connection);
    --sessions_;
}

void StationWorker::endOverdue() {
    auto const now = StationSession::Clock::now();
    if (now - lastSweep_ < sweepInterval) {
        return;
    }
    lastSweep_ = now;
    std::vector<Connection*> overdue;
    for (auto const& [key, connection] : connections_) {
        if (connection->session.isOverdue(now)) {
            overdue.push_back(key);
        }
    }
    for (Connection* const connection : overdue) {
        endIfStillOverdue(*connection);
    }
}

/** Octets that arrived while this thread was busy or suspended count: epoll_wait() returns only some
    of many ready connections. */
void StationWorker::endIfStillOverdue(Connection& connection) {
    if (receive(connection) && connection.session.isOverdue(StationSession::Clock::now())) {
        end(connection, "timed out: no whole message has arrived");
    }
}

void StationWorker::flush() {
    if (!output_.text().empty()) {
        output_.flush();
    }
    if (shares_.targets != nullptr) {
        shares_.targets->flushTo(output_);
    }
}

} // namespace BgpCommunities
