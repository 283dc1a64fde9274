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

void watch(FileDescriptor const& epoll, FileDescriptor const& watched, void* tag) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = tag;
    if (::epoll_ctl(epoll.get(), EPOLL_CTL_ADD, watched.get(), &event) != 0) {
        throw std::system_error(errno, std::generic_category(), "epoll_ctl");
    }
}

} // namespace

StationWorker::StationWorker(Context const& context, std::function<void()> wake)
  : context_(context)
  , wake_(std::move(wake))
  , epoll_(::epoll_create1(EPOLL_CLOEXEC))
  , taskEvent_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
  , buffer_(readOctets) {
    if (!epoll_.isOpen() || !taskEvent_.isOpen()) {
        throw std::system_error(errno, std::generic_category(), "epoll");
    }
    watch(epoll_, taskEvent_, nullptr);
    if (context_.printsRoutes) {
        printer_.emplace(context_.agent, output_);
    }
    thread_ = std::thread([this] { run(); });
}

StationWorker::~StationWorker() {
    post([this] { stop(); });
    thread_.join();
}

void StationWorker::post(std::function<void()> task) {
    {
        std::lock_guard const lock(mutex_);
        if (failed_) {
            return;
        }
        tasks_.push_back(std::move(task));
    }
    U64 const one = 1;
    [[maybe_unused]] auto const written = ::write(taskEvent_.get(), &one, sizeof one);
}

void StationWorker::add(FileDescriptor connection, SocketAddress const& router) {
    ++sessions_;
    auto shared = std::make_shared<FileDescriptor>(std::move(connection));
    post([this, shared, router] { adopt(std::move(*shared), router); });
}

void StationWorker::setDictionary(std::shared_ptr<Dictionary const> const& dictionary) {
    post([this, dictionary] {
        if (printer_) {
            printer_->setDictionary(dictionary);
        }
    });
}

std::future<StationUses> StationWorker::countUses() {
    auto const counted = std::make_shared<std::promise<StationUses>>();
    post([this, counted] {
        try {
            StationUses uses(context_.agent);
            for (auto const& [key, connection] : connections_) {
                uses.add(connection->session.label(), connection->session.routes());
            }
            counted->set_value(std::move(uses));
        } catch (...) {
            counted->set_exception(std::current_exception());
        }
    });
    return counted->get_future();
}

void StationWorker::stop() {
    stopping_ = true;
    while (!connections_.empty()) {
        end(*connections_.begin()->second, "the station stops");
    }
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
        Tasks dropped; // destroyed without the lock
        {
            std::lock_guard const lock(mutex_);
            failed_ = true;
            failure_ = std::current_exception();
            dropped.swap(tasks_);
        }
        wake_();
    }
}

void StationWorker::runLoop() {
    std::array<epoll_event, 64> events{};
    while (!stopping_) {
        int const count = ::epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()),
                                       deadline_.timeout());
        auto const ready = static_cast<std::size_t>(std::max(count, 0)); // -1: interrupted
        for (epoll_event const& event : std::span(events).first(ready)) {
            if (event.data.ptr != nullptr) {
                receive(*static_cast<Connection*>(event.data.ptr));
            }
        }
        endOverdue();
        runTasks(); // after the events, because a task may end their connections
        flush();
    }
}

void StationWorker::runTasks() {
    U64 posted = 0;
    [[maybe_unused]] auto const got = ::read(taskEvent_.get(), &posted, sizeof posted);
    Tasks tasks;
    {
        std::lock_guard const lock(mutex_);
        tasks.swap(tasks_);
    }
    for (auto const& task : tasks) {
        task();
    }
}

void StationWorker::adopt(FileDescriptor connection, SocketAddress const& router) {
    SessionContext const context = {context_.agent, counts_, printer_ ? &*printer_ : nullptr,
                                    context_.recorder};
    std::unique_ptr<Connection> owned(
        new Connection{std::move(connection), {context, context_.limits, router}});
    watch(epoll_, owned->socket, owned.get());
    deadline_.include(owned->session.deadline());
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
            deadline_.include(connection.session.deadline());
            return true;
        }
        end(connection, "");
    } catch (std::bad_alloc const&) {
        end(connection, "out of memory");
    }
    return false;
}

void StationWorker::end(Connection& connection, std::string_view reason) {
    connection.session.setEndReason(reason);
    connection.session.reportEnd();
    connections_.erase(&connection);
    --sessions_;
}

void StationWorker::endOverdue() {
    auto const now = Deadline::Clock::now();
    if (!deadline_.hasPassed(now)) {
        return;
    }
    deadline_ = {};
    std::vector<Connection*> overdue;
    for (auto const& [key, connection] : connections_) {
        if (Deadline const deadline = connection->session.deadline(); deadline.hasPassed(now)) {
            overdue.push_back(key);
        } else {
            deadline_.include(deadline);
        }
    }
    for (Connection* const connection : overdue) {
        endIfStillOverdue(*connection);
    }
}

/// Octets that arrived while this thread was busy or suspended count: epoll_wait() returns only
/// some of many ready connections.
void StationWorker::endIfStillOverdue(Connection& connection) {
    if (receive(connection) && connection.session.deadline().hasPassed(Deadline::Clock::now())) {
        end(connection, "timed out: no whole message has arrived");
    }
}

void StationWorker::flush() {
    if (!output_.text().empty()) {
        output_.flush();
    }
    if (context_.targets != nullptr) {
        context_.targets->flushTo(output_);
    }
}

} // namespace BgpCommunities
