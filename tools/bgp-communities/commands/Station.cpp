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

#include "input/InputSource.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr U64 reportedRefusals = 10;

constexpr std::string_view messageTypeNames[bmpTypes + 1] = {
    "routeMonitoring", "statistics",  "peerDown",       "peerUp",
    "initiation",      "termination", "routeMirroring", "unknown"};

/// A number that is summed over all workers.
struct Metric {
    std::string_view name;
    std::string_view help;
    WorkerNumber StationCounts::*number;
    bool isGauge = false;
};

constexpr Metric workerMetrics[] = {
    {"received_octets_total", "Octets received in BMP sessions.", &StationCounts::octets},
    {"announced_total", "Routes announced.", &StationCounts::announced},
    {"withdrawn_total", "Routes withdrawn by UPDATEs.", &StationCounts::withdrawn},
    {"treated_as_withdrawn_total", "Routes withdrawn for malformed attributes (RFC 7606).",
     &StationCounts::treatedAsWithdrawn},
    {"problems_total", "Malformed or refused messages and attributes.", &StationCounts::problems},
    {"sessions_ended_total", "Ended sessions.", &StationCounts::ended},
    {"sessions", "Open sessions.", &StationCounts::sessions, true},
    {"peers", "Peers that are up.", &StationCounts::peers, true},
    {"routes", "Routes held.", &StationCounts::routes, true},
};

/// Builds the text of metrics, with a common prefix of their names.
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

    void row(std::string_view label, std::string_view value, U64 number) {
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
  , acceptor_(options.address)
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
    StationWorker::Context const context = {agent_, targets_ ? &*targets_ : nullptr,
                                            recorder_ ? &*recorder_ : nullptr, options_.limits,
                                            options_.printsRoutes};
    for (std::size_t number = 0; number < options_.threads; ++number) {
        workers_.push_back(std::make_unique<StationWorker>(context, [this] { wake(); }));
    }
    reloadDictionary();
    if (!options_.store.empty()) {
        publisher_.emplace(options_.store, options_.every, agent_, workers_, [this] { wake(); });
    }
}

Station::~Station() {
    publisher_.reset(); // while the workers can still answer it
    workers_.clear();
}

bool Station::isFinished() const {
    return finishing_ && (!publisher_ || publisher_->isFinished());
}

ExitStatus Station::run() {
    while (!isFinished()) {
        wait();
        takeSignals();
        for (auto const& worker : workers_) {
            worker->rethrowFailure();
        }
        acceptSessions();
        if (metrics_) {
            metrics_->serve([this] { return metricsText(); });
        }
        if (targets_) { // the publisher may have released the last reference to a list
            targets_->flushTo(output_);
        }
    }
    return finish();
}

/// Interrupts wait(). Called by any thread.
void Station::wake() {
    U64 const one = 1;
    [[maybe_unused]] auto const written = ::write(wake_.get(), &one, sizeof one);
}

/// Waits for an event or a deadline.
void Station::wait() {
    Deadline deadline;
    std::vector<pollfd> polled = {{signals_.get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
    acceptor_.appendPolled(polled, deadline);
    if (metrics_) {
        metrics_->appendPolled(polled, deadline);
    }
    ::poll(polled.data(), polled.size(), deadline.timeout());
    U64 wakes = 0;
    [[maybe_unused]] auto const got = ::read(wake_.get(), &wakes, sizeof wakes);
}

void Station::takeSignals() {
    signalfd_siginfo signal{};
    while (::read(signals_.get(), &signal, sizeof signal) == sizeof signal) {
        if (signal.ssi_signo == SIGHUP) {
            reloadDictionary();
        } else if (!std::exchange(finishing_, true)) {
            acceptor_.close();
            if (publisher_) {
                publisher_->finish();
            }
        }
    }
}

void Station::reloadDictionary() {
    try {
        auto const dictionary = std::make_shared<Dictionary const>(options_.readDictionary());
        for (auto const& worker : workers_) {
            worker->setDictionary(dictionary);
        }
    } catch (InputError const& error) {
        complain(std::string(error.what()) + ": the dictionary is unchanged");
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
    if (++refused_ <= reportedRefusals) {
        std::string text;
        appendText(text, router);
        complain(text.append(": refused: ").append(reason));
    }
}

void Station::acceptSessions() {
    SocketAddress router;
    for (FileDescriptor connection = acceptor_.accept(router); connection.isOpen();
         connection = acceptor_.accept(router)) {
        if (!isAllowed(router.address)) {
            refuse(router, "address is not allowed");
        } else if (sessions() >= options_.maxSessions) {
            refuse(router, "too many sessions");
        } else {
            detectDeadPeer(connection);
            auto const least = std::min_element(
                workers_.begin(), workers_.end(),
                [](auto const& a, auto const& b) { return a->sessions() < b->sessions(); });
            (*least)->add(std::move(connection), router);
        }
    }
}

/// Returns all metrics in the text format of Prometheus.
std::string Station::metricsText() const {
    MetricsText text;
    std::array<U64, bmpTypes + 1> messages{};
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
        text.row(sum(workers_, metric.number));
    }
    text.begin("refused_total", "counter", "Refused connections.");
    text.row(refused_);
    text.begin("distinct", "gauge", "Distinct interned objects in use, by type.");
    for (Agent::TableSize const& held : agent_.tableSizes()) {
        text.row("of", held.what, held.count);
    }
    if (publisher_) {
        text.begin("publications_total", "counter", "Attempts to publish the store.");
        text.row(publisher_->publications());
        text.begin("longest_publication_seconds", "gauge",
                   "The longest time to build and publish a store.");
        text.row(publisher_->longest().count());
    }
    return text.take();
}

ExitStatus Station::finish() {
    workers_.clear();
    if (targets_) {
        targets_->writeTo(output_);
    }
    bool const isWritten =
        !(publisher_ && publisher_->failed()) && !(recorder_ && recorder_->hasLostRecords());
    return isWritten && tablesAreEmpty(agent_) ? ExitStatus::allRead : ExitStatus::unreadable;
}

} // namespace BgpCommunities
