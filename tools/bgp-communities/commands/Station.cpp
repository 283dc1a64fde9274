#include "Station.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <MoxStash/StoreException.h>

#include "input/InputSource.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr std::uint64_t namedRefusals = 10;

constexpr std::string_view messageTypeNames[bmpTypes + 1] = {
    "routeMonitoring", "statistics",  "peerDown",       "peerUp",
    "initiation",      "termination", "routeMirroring", "unknown"};

/** A number that all workers add up to. */
struct Metric {
    std::string_view name;
    std::string_view help;
    WorkerNumber StationCounts::*number;
    bool isGauge = false;
};

constexpr Metric workerMetrics[] = {
    {"received_octets_total", "Octets of BMP sessions.", &StationCounts::octets},
    {"announced_total", "Routes announced.", &StationCounts::announced},
    {"withdrawn_total", "Routes withdrawn by UPDATEs.", &StationCounts::withdrawn},
    {"treated_as_withdrawn_total", "Announced routes with malformed attributes (RFC 7606).",
     &StationCounts::treatedAsWithdrawn},
    {"problems_total", "Messages and attributes that are malformed or refused.",
     &StationCounts::problems},
    {"sessions_ended_total", "Sessions that have ended.", &StationCounts::ended},
    {"sessions", "Sessions now.", &StationCounts::sessions, true},
    {"peers", "Peers that are up.", &StationCounts::peers, true},
    {"routes", "Routes in the table.", &StationCounts::routes, true},
};

/** The text of metrics, whose names all begin alike. */
class MetricsText {
  public:
    void begin(std::string_view name, std::string_view type, std::string_view help) {
        name_ = "bgp_communities_" + std::string(name);
        text_.append("# HELP ").append(name_).append(" ").append(help).append("\n");
        text_.append("# TYPE ").append(name_).append(" ").append(type).append("\n");
    }

    template <class Number>
    void row(Number number) {
        text_.append(name_).append(" ").append(std::to_string(number)).append("\n");
    }

    void row(std::string_view label, std::string_view value, std::uint64_t number) {
        text_.append(name_).append("{").append(label).append("=\"").append(value).append("\"} ");
        text_.append(std::to_string(number)).append("\n");
    }

    std::string take() { return std::move(text_); }

  private:
    std::string name_;
    std::string text_;
};

FileDescriptor signalDescriptor() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (int const signal : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaddset(&signals, signal);
    }
    return FileDescriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

} // namespace

Station::Station(StationOptions const& options, Output& output)
  : options_(options)
  , output_(output)
  , listener_(listenOn(options.address))
  , signals_(signalDescriptor())
  , wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!signals_.isOpen() || !wake_.isOpen()) {
        throw std::system_error(errno, std::generic_category(), "station");
    }
    if (options_.printsTargets) {
        targets_.emplace(agent_, StationSession::appendCause);
    }
    if (!options_.record.path.empty()) {
        recorder_.emplace(options_.record);
    }
    if (options_.metrics) {
        metrics_.emplace(*options_.metrics);
    }
    auto const wake = [this] {
        std::uint64_t const one = 1;
        [[maybe_unused]] auto const written = ::write(wake_.get(), &one, sizeof one);
    };
    StationWorker::Shares const shares = {agent_, targets_ ? &*targets_ : nullptr,
                                          recorder_ ? &*recorder_ : nullptr, options_.limits,
                                          options_.printsRoutes};
    for (std::size_t number = 0; number < options_.threads; ++number) {
        workers_.push_back(std::make_unique<StationWorker>(shares, wake));
    }
    reloadDictionary();
    nextPublication_ = Clock::now() + options_.every;
}

Station::~Station() {
    workers_.clear();
}

ExitStatus Station::run() {
    while (!finishing_ || publishing_ || listener_.isOpen()) {
        wait();
        takeSignals();
        for (auto const& worker : workers_) {
            worker->rethrowFailure();
        }
        acceptSessions();
        publishIfDue();
        if (metrics_) {
            metrics_->serve([this] { return metricsText(); });
        }
    }
    return finish();
}

/** Until there is something to do. */
void Station::wait() {
    auto const now = Clock::now();
    bool const accepts = now >= acceptAgain_;
    std::vector<pollfd> polled = {{accepts ? listener_.get() : -1, POLLIN, 0},
                                  {signals_.get(), POLLIN, 0},
                                  {wake_.get(), POLLIN, 0}};
    if (metrics_) {
        metrics_->appendPolled(polled);
    }
    bool const hasTimer = !accepts || !options_.store.empty() || metrics_.has_value();
    ::poll(polled.data(), polled.size(), hasTimer ? 200 : -1);
    std::uint64_t wakes = 0;
    [[maybe_unused]] auto const got = ::read(wake_.get(), &wakes, sizeof wakes);
}

void Station::takeSignals() {
    signalfd_siginfo signal{};
    while (::read(signals_.get(), &signal, sizeof signal) == sizeof signal) {
        if (signal.ssi_signo == SIGHUP) {
            reloadDictionary();
        } else {
            finishing_ = true;
            listener_.close();
        }
    }
}

void Station::reloadDictionary() {
    try {
        auto const read = std::make_shared<Dictionary const>(options_.readDictionary());
        for (auto const& worker : workers_) {
            worker->dictionaryIs(read);
        }
    } catch (InputError const& error) {
        complain(std::string(error.what()) + ": the dictionary stays as it was");
    }
}

bool Station::isAllowed(IpAddress const& address) const {
    auto const& allowed = options_.allowed;
    return allowed.empty() || std::any_of(allowed.begin(), allowed.end(), [&](auto const& prefix) {
               return contains(prefix, address);
           });
}

std::size_t Station::sessions() const {
    std::size_t sessions = 0;
    for (auto const& worker : workers_) {
        sessions += worker->sessions();
    }
    return sessions;
}

void Station::refuse(SocketAddress const& router, std::string_view reason) {
    if (++refused_ <= namedRefusals) {
        std::string text;
        appendText(text, router);
        complain(text.append(": refused: ").append(reason));
    }
}

void Station::acceptSessions() {
    while (listener_.isOpen() && Clock::now() >= acceptAgain_) {
        SocketAddress router;
        FileDescriptor connection = acceptFrom(listener_, router);
        if (!connection.isOpen()) {
            bool const exhausted =
                errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
            acceptAgain_ = exhausted ? Clock::now() + std::chrono::seconds(1) : acceptAgain_;
            return;
        }
        if (!isAllowed(router.address)) {
            refuse(router, "address is not allowed");
        } else if (sessions() >= options_.maxSessions) {
            refuse(router, "too many sessions");
        } else {
            detectDeadPeer(connection);
            auto const least = std::min_element(
                workers_.begin(), workers_.end(),
                [](auto const& a, auto const& b) { return a->sessions() < b->sessions(); });
            (*least)->sessionIs(std::move(connection), router);
        }
    }
}

std::uint64_t Station::sum(WorkerNumber StationCounts::*number) const {
    std::uint64_t sum = 0;
    for (auto const& worker : workers_) {
        sum += (worker->counts().*number).get();
    }
    return sum;
}

void Station::publishIfDue() {
    if (options_.store.empty()) {
        return;
    }
    if (publishing_) {
        std::unique_lock lock(gathering_);
        if (uncounted_ == 0) {
            lock.unlock();
            endPublication();
        }
    }
    bool const changed = !published_ || sum(&StationCounts::changes) != changesPublished_;
    bool const isDue = finishing_ ? !lastBegun_ : Clock::now() >= nextPublication_;
    if (!publishing_ && changed && isDue) {
        beginPublication();
    }
}

void Station::beginPublication() {
    publishing_ = true;
    lastBegun_ = finishing_;
    begun_ = Clock::now();
    changesGathered_ = sum(&StationCounts::changes);
    gathered_ = std::make_unique<StationUses>(agent_);
    uncounted_ = workers_.size();
    for (auto const& worker : workers_) {
        worker->countUses([this](StationUses const& uses) {
            std::lock_guard const lock(gathering_);
            gathered_->add(uses);
            --uncounted_;
        });
    }
}

void Station::endPublication() {
    try {
        gathered_->publish(options_.store, {{"sessions", sum(&StationCounts::sessions)},
                                            {"peers", sum(&StationCounts::peers)},
                                            {"routes", sum(&StationCounts::routes)},
                                            {"announcements", sum(&StationCounts::announced)},
                                            {"withdrawals", sum(&StationCounts::withdrawn)},
                                            {"problems", sum(&StationCounts::problems)},
                                            {"octets", sum(&StationCounts::octets)}});
        status_ = ExitStatus::allRead;
    } catch (MoxStash::StoreException const& error) {
        complain(error.what());
        status_ = ExitStatus::unreadable;
    }
    published_ = true;
    ++publications_;
    longestPublication_ =
        std::max(longestPublication_, std::chrono::duration<double>(Clock::now() - begun_));
    publishing_ = false;
    changesPublished_ = changesGathered_;
    nextPublication_ = Clock::now() + options_.every;
    gathered_.reset();
    if (targets_) {
        targets_->flushTo(output_);
    }
}

/** In the text format of Prometheus. */
std::string Station::metricsText() const {
    MetricsText text;
    std::array<std::uint64_t, bmpTypes + 1> messages{};
    for (auto const& worker : workers_) {
        for (std::size_t type = 0; type < messages.size(); ++type) {
            messages[type] += worker->counts().messages[type].get();
        }
    }
    text.begin("messages_total", "counter", "BMP messages received, by type.");
    for (std::size_t type = 0; type < messages.size(); ++type) {
        text.row("type", messageTypeNames[type], messages[type]);
    }
    for (Metric const& metric : workerMetrics) {
        text.begin(metric.name, metric.isGauge ? "gauge" : "counter", metric.help);
        text.row(sum(metric.number));
    }
    text.begin("refused_total", "counter", "Connections that were refused.");
    text.row(refused_);
    text.begin("distinct", "gauge", "Distinct interned objects in use, by what they are.");
    for (Agent::TableSize const& held : agent_.tableSizes()) {
        text.row("of", held.what, held.count);
    }
    text.begin("publications_total", "counter", "Stores that were published.");
    text.row(publications_);
    text.begin("longest_publication_seconds", "gauge", "The longest time that a store took.");
    text.row(longestPublication_.count());
    return text.take();
}

ExitStatus Station::finish() {
    workers_.clear();
    if (targets_) {
        targets_->writeTo(output_);
    }
    return tablesAreEmpty(agent_) ? status_ : ExitStatus::unreadable;
}

} // namespace BgpCommunities
