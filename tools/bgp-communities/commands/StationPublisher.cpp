#include "StationPublisher.h"

#include <algorithm>
#include <exception>
#include <future>
#include <utility>

#include <MoxStash/StoreException.h>

#include "text/StandardError.h"

namespace BgpCommunities {

U64 sum(StationWorkers const& workers, WorkerNumber StationCounts::*number) {
    U64 sum = 0;
    for (auto const& worker : workers) {
        sum += (worker->counts().*number).get();
    }
    return sum;
}

StationPublisher::StationPublisher(std::string store, std::chrono::seconds interval, Agent& agent,
                                   StationWorkers const& workers, std::function<void()> wake)
  : store_(std::move(store))
  , interval_(interval)
  , agent_(agent)
  , workers_(workers)
  , wake_(std::move(wake))
  , thread_([this] { run(); }) {}

StationPublisher::~StationPublisher() {
    end(Next::stop);
    thread_.join();
}

void StationPublisher::finish() {
    end(Next::publishLast);
}

void StationPublisher::end(Next next) {
    {
        std::lock_guard const lock(mutex_);
        next_ = next;
    }
    changed_.notify_one();
}

StationPublisher::Next StationPublisher::waitForInterval() {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, interval_, [this] { return next_ != Next::publish; });
    return next_;
}

void StationPublisher::run() {
    for (Next next = Next::publish; next == Next::publish;) {
        next = waitForInterval();
        if (next != Next::stop) {
            publishIfChanged();
        }
        finished_ = next != Next::publish;
        wake_();
    }
}

void StationPublisher::publishIfChanged() {
    U64 const changes = sum(workers_, &StationCounts::changes);
    if (changes == changesPublished_) {
        return;
    }
    auto const start = std::chrono::steady_clock::now();
    failed_ = !publish();
    if (!failed_) { // otherwise tried again after the next interval
        changesPublished_ = changes;
    }
    ++publications_;
    longest_ = std::max(longest_.load(),
                        std::chrono::duration<double>(std::chrono::steady_clock::now() - start));
}

bool StationPublisher::publish() {
    try {
        countUses().publish(store_, {{"sessions", sum(workers_, &StationCounts::sessions)},
                                     {"peers", sum(workers_, &StationCounts::peers)},
                                     {"routes", sum(workers_, &StationCounts::routes)},
                                     {"announcements", sum(workers_, &StationCounts::announced)},
                                     {"withdrawals", sum(workers_, &StationCounts::withdrawn)},
                                     {"problems", sum(workers_, &StationCounts::problems)},
                                     {"octets", sum(workers_, &StationCounts::octets)}});
        return true;
    } catch (MoxStash::StoreException const& error) {
        complain(error.what());
    } catch (std::exception const& error) { // such as std::bad_alloc
        complain(store_ + ": cannot publish: " + error.what());
    }
    return false;
}

StationUses StationPublisher::countUses() const {
    std::vector<std::future<StationUses>> counted;
    for (auto const& worker : workers_) {
        counted.push_back(worker->countUses());
    }
    StationUses uses(agent_);
    for (auto& each : counted) {
        uses.add(each.get());
    }
    return uses;
}

} // namespace BgpCommunities
