#include "StationSession.h"

#include <algorithm>
#include <span>

#include "lists/RouteLists.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr U64 reportedProblems = 3;

/// The message that the thread is reading.
struct Cause {
    std::string const* router = nullptr;
    Microseconds time = 0;
};

thread_local Cause cause;

/// The arguments of treatsAsWithdrawn().
struct Carrier {
    bool brokenAttributes;
    std::span<CommunityAttribute const> communities;
};

std::string textOf(SocketAddress const& address) {
    std::string text;
    appendText(text, address);
    return text;
}

} // namespace

StationSession::StationSession(SessionContext const& context, SessionLimits const& limits,
                               SocketAddress const& router)
  : context_(context)
  , limits_(limits)
  , address_(textOf(router))
  , stream_(limits.messageOctets) {
    context_.counts.sessions.add(1);
    report("connected");
}

StationSession::~StationSession() {
    context_.counts.changes.add(routes_.routes() != 0 ? 1 : 0);
    cause = {&address_, currentTime()};
    routes_.dropAll();
    cause = {};
    context_.counts.routes.subtract(routesCounted_);
    context_.counts.peers.subtract(peersCounted_);
    context_.counts.sessions.subtract(1);
    context_.counts.ended.add(1);
}

void StationSession::reportEnd() {
    report("session ended: " + endReason_ + "; " + std::to_string(routes_.routes()) +
           " routes withdrawn");
    if (problems_ > reportedProblems && !limits_.verbose) {
        report(std::to_string(problems_ - reportedProblems) + " more problems");
    }
    if (context_.printer != nullptr) {
        context_.printer->setRouter(address_, name_);
        context_.printer->printRouterDown(at_, currentTime(), endReason_);
    }
    record_.end(currentTime());
    saveRecord();
}

void StationSession::appendCause(std::string& out) {
    bool const isMessage = cause.router != nullptr;
    out.append(isMessage ? std::string_view(*cause.router) : "publication").append("\t");
    appendTime(out, isMessage ? cause.time : currentTime());
}

bool StationSession::add(Octets octets) {
    context_.counts.octets.add(octets.size());
    if (context_.printer != nullptr) {
        context_.printer->setRouter(address_, name_);
    }
    bool const continues = stream_.pendingOctets() != 0;
    U64 const before = at_.number;
    if (!stream_.add(octets, [this](BmpMessage const& message) { read(message); })) {
        setEndReason(stream_.fault());
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
        return; // the rest of the received octets
    }
    ++at_.number;
    reader_.read(message);
    cause = {};
}

Deadline StationSession::deadline() const {
    Deadline deadline;
    if (at_.number == 0 || stream_.pendingOctets() != 0) {
        deadline.include(waitingSince_ + limits_.timeout);
    }
    return deadline;
}

void StationSession::setEndReason(std::string_view reason) {
    if (endReason_.empty()) {
        endReason_ = reason;
    }
}

void StationSession::handleMessage(BmpType type) {
    auto const number = std::min(static_cast<std::size_t>(type), StationCounts::unknownType);
    context_.counts.messages[number].add(1);
}

void StationSession::handleSystem(BmpSystem const& system) {
    bool const isFirst = at_.number == 1;
    constexpr std::size_t longestText = 255; // the name is repeated in every message
    name_ = system.name.substr(0, longestText);
    if (isFirst) {
        report(system.description.substr(0, longestText));
    }
    if (context_.printer != nullptr) {
        context_.printer->setRouter(address_, name_);
        context_.printer->printRouterUp(at_, currentTime(), system.description);
    }
}

void StationSession::handleTermination(std::string_view reason) {
    setEndReason("terminated by the router" + (reason.empty() ? "" : ": " + std::string(reason)));
}

void StationSession::handlePeerUp(BmpPeer const& peer, BmpPeerUp const& up) {
    setMessageTime(peer);
    if (context_.recorder != nullptr) {
        record_.peerUp(peer, up, at_.time());
    }
    // Routes of an earlier session whose end was not reported.
    context_.counts.changes.add(routes_.dropView(peer) != 0 ? 1 : 0);
    if (context_.printer != nullptr) {
        context_.printer->printPeerUp(at_, peer);
    }
}

void StationSession::handlePeerDown(BmpPeer const& peer, std::string_view reason) {
    setMessageTime(peer);
    record_.peerDown(peer, at_.time());
    std::size_t const dropped = routes_.dropPeer(peer.id);
    context_.counts.changes.add(dropped != 0 ? 1 : 0);
    if (context_.printer != nullptr) {
        context_.printer->printPeerDown(at_, peer, reason, dropped);
    }
}

void StationSession::handleUpdate(BmpPeer const& peer, BmpUpdate const& update) {
    setMessageTime(peer);
    if (context_.recorder != nullptr) {
        record_.update(peer, update, at_.time());
    }
    withdraw(peer, update.content.withdrawn());
    if (!update.content.announced().empty()) {
        announce(peer, update);
    }
    if (auto const family = update.content.endOfRib()) {
        routes_.endOfRib(peer, *family);
        if (context_.printer != nullptr) {
            context_.printer->printEndOfRib(at_, peer, *family);
        }
    }
    if (routes_.routes() > limits_.routes) {
        setEndReason("more than " + std::to_string(limits_.routes) + " routes");
    }
}

/// Announces the routes, or withdraws them if an attribute is malformed (RFC 7606).
void StationSession::announce(BmpPeer const& peer, BmpUpdate const& update) {
    auto const& routes = update.content.announced();
    AttributeArea const& area = update.content.attributes();
    if (treatsAsWithdrawn(Carrier{!area.fault.empty(), area.communities})) {
        context_.counts.treatedAsWithdrawn.add(routes.size());
        handleProblem(area.fault.empty() ? "malformed attribute of communities: routes withdrawn"
                                         : area.fault + ": routes withdrawn");
        withdraw(peer, routes);
        return;
    }
    RouteLists const lists =
        internLists(context_.agent, area.communities,
                    [this](std::string const& reason) { handleProblem(reason); });
    routes_.announce(peer, routes, lists);
    context_.counts.announced.add(routes.size());
    context_.counts.changes.add(1);
    if (context_.printer != nullptr) {
        context_.printer->printAnnounced(at_, peer, update);
    }
}

void StationSession::withdraw(BmpPeer const& peer, std::vector<Route> const& routes) {
    if (routes.empty()) {
        return;
    }
    context_.counts.changes.add(routes_.withdraw(peer, routes) != 0 ? 1 : 0);
    context_.counts.withdrawn.add(routes.size());
    if (context_.printer != nullptr) {
        context_.printer->printWithdrawn(at_, peer, routes);
    }
}

void StationSession::handleProblem(std::string const& reason) {
    context_.counts.problems.add(1);
    if (++problems_ <= reportedProblems || limits_.verbose) {
        report("message " + std::to_string(at_.number) + ": " + reason);
    }
}

void StationSession::setMessageTime(BmpPeer const& peer) {
    Microseconds time = Microseconds{peer.seconds} * 1000000 + peer.microseconds;
    time = time == 0 ? currentTime() : time;
    at_.seconds = static_cast<U32>(time / 1000000);
    at_.microseconds = static_cast<U32>(time % 1000000);
    cause = {&address_, time};
}

void StationSession::updateGauges() {
    StationCounts& counts = context_.counts;
    counts.routes.add(routes_.routes() - routesCounted_);
    counts.peers.add(reader_.peers() - peersCounted_);
    routesCounted_ = routes_.routes();
    peersCounted_ = reader_.peers();
}

void StationSession::saveRecord() {
    if (context_.recorder != nullptr) {
        if (std::string const records = record_.take(); !records.empty()) {
            context_.recorder->add(records);
        }
    }
}

void StationSession::report(std::string_view event) const {
    std::string text = address_;
    text += name_.empty() ? "" : " (" + name_ + ")";
    complain(text.append(": ").append(event));
}

} // namespace BgpCommunities
