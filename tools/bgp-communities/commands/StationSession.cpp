#include "StationSession.h"

#include <algorithm>
#include <span>

#include "lists/RouteLists.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr std::uint64_t namedProblems = 3;

/** The session whose message the thread is reading. */
struct Cause {
    std::string const* router = nullptr;
    Microseconds time = 0;
};

thread_local Cause cause;

/** What decides whether routes are treated as withdrawn. */
struct Carrier {
    bool brokenAttributes;
    std::span<CommunityAttribute const> communities;
};

Microseconds now() {
    using namespace std::chrono;
    return static_cast<Microseconds>(
        duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

std::string textOf(SocketAddress const& address) {
    std::string text;
    appendText(text, address);
    return text;
}

} // namespace

StationSession::StationSession(SessionShares const& shares, SessionLimits const& limits,
                               SocketAddress const& router)
  : shares_(shares)
  , limits_(limits)
  , address_(textOf(router))
  , stream_(limits.messageOctets) {
    shares_.counts.sessions.add(1);
    say("connected");
}

StationSession::~StationSession() {
    shares_.counts.changes.add(routes_.routes() != 0 ? 1 : 0);
    cause = {&address_, now()};
    routes_.dropAll();
    cause = {};
    shares_.counts.routes.subtract(routesCounted_);
    shares_.counts.peers.subtract(peersCounted_);
    shares_.counts.sessions.subtract(1);
    shares_.counts.ended.add(1);
}

void StationSession::sayEnd() {
    say("session ended: " + endReason_ + "; " + std::to_string(routes_.routes()) +
        " routes withdrawn");
    if (problems_ > namedProblems && !limits_.verbose) {
        say(std::to_string(problems_ - namedProblems) + " more problems");
    }
    if (shares_.printer != nullptr) {
        shares_.printer->routerIs(address_, name_);
        shares_.printer->printRouterDown(at_, now(), endReason_);
    }
    record_.end(now());
    saveRecord();
}

void StationSession::appendCause(std::string& out) {
    if (cause.router != nullptr) {
        out.append(*cause.router).append("\t");
        appendTime(out, cause.time);
    }
}

bool StationSession::add(Octets octets) {
    shares_.counts.octets.add(octets.size());
    if (shares_.printer != nullptr) {
        shares_.printer->routerIs(address_, name_);
    }
    bool const continues = stream_.pendingOctets() != 0;
    std::uint64_t const before = at_.number;
    if (!stream_.add(octets, [this](BmpMessage const& message) { read(message); })) {
        endIs(stream_.fault());
    }
    if (!continues || at_.number != before) {
        waitingSince_ = Clock::now();
    }
    updateGauges();
    saveRecord();
    return endReason_.empty();
}

void StationSession::read(BmpMessage const& message) {
    if (!endReason_.empty()) {
        return; // what is left of the octets at hand
    }
    ++at_.number;
    reader_.read(message);
    cause = {};
}

bool StationSession::isOverdue(Clock::time_point now) const {
    bool const waits = at_.number == 0 || stream_.pendingOctets() != 0;
    return waits && now - waitingSince_ > limits_.timeout;
}

void StationSession::endIs(std::string_view reason) {
    if (endReason_.empty()) {
        endReason_ = reason;
    }
}

void StationSession::handleMessage(BmpType type) {
    auto const number = std::min(static_cast<std::size_t>(type), StationCounts::unknownType);
    shares_.counts.messages[number].add(1);
}

void StationSession::handleSystem(BmpSystem const& system) {
    bool const isFirst = at_.number == 1;
    constexpr std::size_t longestText = 255; // is enough, and may be said often
    name_ = system.name.substr(0, longestText);
    if (isFirst) {
        say(system.description.substr(0, longestText));
    }
    if (shares_.printer != nullptr) {
        shares_.printer->routerIs(address_, name_);
        shares_.printer->printRouterUp(at_, now(), system.description);
    }
}

void StationSession::handleTermination(std::string_view reason) {
    endIs("terminated by the router" + (reason.empty() ? "" : ": " + std::string(reason)));
}

void StationSession::handlePeerUp(BmpPeer const& peer, BmpPeerUp const& up) {
    timeIs(peer);
    if (shares_.recorder != nullptr) {
        record_.peerUp(peer, up, at_.time());
    }
    // What is there is of a session whose end was not reported.
    shares_.counts.changes.add(routes_.dropView(peer) != 0 ? 1 : 0);
    if (shares_.printer != nullptr) {
        shares_.printer->printPeerUp(at_, peer);
    }
}

void StationSession::handlePeerDown(BmpPeer const& peer, std::string_view reason) {
    timeIs(peer);
    record_.peerDown(peer, at_.time());
    std::size_t const dropped = routes_.dropPeer(peer.id);
    shares_.counts.changes.add(dropped != 0 ? 1 : 0);
    if (shares_.printer != nullptr) {
        shares_.printer->printPeerDown(at_, peer, reason, dropped);
    }
}

void StationSession::handleUpdate(BmpPeer const& peer, BmpUpdate const& update) {
    timeIs(peer);
    if (shares_.recorder != nullptr) {
        record_.update(peer, update, at_.time());
    }
    withdraw(peer, update.content.withdrawn());
    if (!update.content.announced().empty()) {
        announce(peer, update);
    }
    if (auto const family = update.content.endOfRib()) {
        routes_.endOfRib(peer, *family);
        if (shares_.printer != nullptr) {
            shares_.printer->printEndOfRib(at_, peer, *family);
        }
    }
    if (routes_.routes() > limits_.routes) {
        endIs("more than " + std::to_string(limits_.routes) + " routes");
    }
}

/** Malformed attributes withdraw the routes (RFC 7606). */
void StationSession::announce(BmpPeer const& peer, BmpUpdate const& update) {
    auto const& routes = update.content.announced();
    AttributeArea const& area = update.content.attributes();
    if (treatsAsWithdrawn(Carrier{!area.fault.empty(), area.communities})) {
        shares_.counts.treatedAsWithdrawn.add(routes.size());
        handleProblem(area.fault.empty() ? "malformed attribute of communities: routes withdrawn"
                                         : area.fault + ": routes withdrawn");
        withdraw(peer, routes);
        return;
    }
    RouteLists const lists =
        internLists(shares_.agent, area.communities,
                    [this](std::string const& reason) { handleProblem(reason); });
    routes_.announce(peer, routes, lists);
    shares_.counts.announced.add(routes.size());
    shares_.counts.changes.add(1);
    if (shares_.printer != nullptr) {
        shares_.printer->printAnnounced(at_, peer, update);
    }
}

void StationSession::withdraw(BmpPeer const& peer, std::vector<Route> const& routes) {
    if (routes.empty()) {
        return;
    }
    shares_.counts.changes.add(routes_.withdraw(peer, routes) != 0 ? 1 : 0);
    shares_.counts.withdrawn.add(routes.size());
    if (shares_.printer != nullptr) {
        shares_.printer->printWithdrawn(at_, peer, routes);
    }
}

void StationSession::handleProblem(std::string const& reason) {
    shares_.counts.problems.add(1);
    if (++problems_ <= namedProblems || limits_.verbose) {
        say("message " + std::to_string(at_.number) + ": " + reason);
    }
}

void StationSession::timeIs(BmpPeer const& peer) {
    Microseconds time = Microseconds{peer.seconds} * 1000000 + peer.microseconds;
    time = time == 0 ? now() : time;
    at_.seconds = static_cast<std::uint32_t>(time / 1000000);
    at_.microseconds = static_cast<std::uint32_t>(time % 1000000);
    cause = {&address_, time};
}

void StationSession::updateGauges() {
    StationCounts& counts = shares_.counts;
    counts.routes.add(routes_.routes() - routesCounted_);
    counts.peers.add(reader_.peers() - peersCounted_);
    routesCounted_ = routes_.routes();
    peersCounted_ = reader_.peers();
}

void StationSession::saveRecord() {
    if (shares_.recorder != nullptr) {
        if (std::string const records = record_.take(); !records.empty()) {
            shares_.recorder->add(records);
        }
    }
}

void StationSession::say(std::string_view what) const {
    std::string text = address_;
    text += name_.empty() ? "" : " (" + name_ + ")";
    complain(text.append(": ").append(what));
}

} // namespace BgpCommunities
