#include "Commands.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "DumpFiles.h"
#include "TargetLog.h"
#include "lists/Agent.h"
#include "lists/RouteTable.h"
#include "text/Output.h"
#include "text/StandardError.h"
#include "text/TextTable.h"
#include "text/TimeText.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view targetsOption = "--targets";

constexpr Option replayOptions[] = {{targetsOption}, addPathOption, {verboseOption}};

constexpr std::string_view replayHelp =
    R"(usage: bgp-communities replay [--targets] [--add-path[=HOW]] [--verbose] FILE...

Applies MRT dumps (RFC 6396, RFC 8050), one after the other, to a table of routes, each of which
holds its interned lists of communities; then prints how many routes, lists and communities there
were, drops all routes, and checks that nothing is left.
A FILE may be compressed (gzip, bzip2, xz, zstd). "-" is standard input, as is no FILE at all if
that is a pipe.

  --targets         a line whenever a route target, or the set of route targets of a list, comes
                    into use or goes out of it: "+" or "-" and what it is, the record and its time;
                    between these a tab
  --add-path[=HOW]  whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                    for each message and family; no; or yes, which HOW may be left out for
  --verbose         name all that is malformed on standard error, not only the first few of each
                    kind

A route is known by peer, family, path identifier, route distinguisher and prefix, not by labels;
routes of families that are not taken apart by the octets of their NLRI. The entries of table dumps
are announcements, but for those whose peer is unknown. An UPDATE withdraws first,
then announces. A peer that leaves the state Established, or enters it anew, loses its routes; if the
record does not tell its address (0.0.0.0), the only peer of its AS that has routes does, and with
several of them none. What was sent to a peer (the local forms of messages) is
counted and left out.

RFC 7606 is followed. Of an attribute that stands there twice the first counts. If an attribute of
communities is malformed, or the attributes cannot be read to their end, the announced routes are
treated as withdrawn. An UPDATE that is too short for its own length fields is left out, of NLRI
that cannot be read to its end the routes before the fault count. An attribute that is well-formed
but that no list can hold (two different link bandwidths or origin validation states) is left out,
and the route stays. All this is named on standard error, and the exit status is 1.

If anything is left in the end, it is named on standard error, and the exit status is 3.

examples:
  bgp-communities replay rib.bz2 updates.*.gz
  bgp-communities replay --targets updates.20240101.0000.gz | grep '^[+-] target 64500:7'
)";

/** What has been done to the table of routes; a plain value. */
struct ReplayCounts {
    std::uint64_t updates = 0;
    std::uint64_t ribEntries = 0;
    std::uint64_t withoutPeer = 0; // RIB entries whose peer is unknown
    std::uint64_t sent = 0;        // UPDATEs that were not received
    std::uint64_t announced = 0;
    std::uint64_t replaced = 0; // of `announced`: the route was there
    std::uint64_t withdrawn = 0;
    std::uint64_t missing = 0;   // of `withdrawn`: there was no such route
    std::uint64_t malformed = 0; // announcements that were treated as withdrawals
    std::uint64_t sessions = 0;  // that ended
    std::uint64_t unknown = 0;   // of `sessions`: of a peer that cannot be told, so it keeps routes
    std::size_t greatest = 0;    // number of routes
};

/** The record says which peer it is of: its address is not all zero. */
bool hasAddress(Peer const& peer) {
    auto const& octets = peer.address.octets;
    return std::any_of(octets.begin(), octets.end(), [](auto octet) { return octet != 0; });
}

/**
 * Applies what the dumps of a run hold to a table of routes.
 *
 * It owns the agent, the table, and the log of route targets if there is to be one; the output is
 * the caller's and outlives it. Reactor thread, as its table.
 */
class Replay final : public DumpHandler {
  public:
    Replay(Arguments const& arguments, Output& output)
      : DumpHandler(arguments.has(verboseOption))
      , output_(output) {
        if (arguments.has(targetsOption)) {
            targetLog_.emplace(agent_, [this](std::string& out) { appendCause(out); });
        }
    }

    void handleUpdate(Update const& update) override {
        if (update.sentByUs) {
            ++counts_.sent;
            return;
        }
        ++counts_.updates;
        cause_ = update.at;
        for (Route const& route : update.withdrawn) {
            ++counts_.withdrawn;
            counts_.missing += table_.withdraw(update.peer, route) ? 0 : 1;
        }
        apply(update, update.announced);
        writeTargets();
    }

    void handleRibEntry(RibEntry const& entry) override {
        if (entry.peer.address.size == 0) {
            ++counts_.withoutPeer;
            return;
        }
        ++counts_.ribEntries;
        cause_ = entry.at;
        apply(entry, {&entry.route, 1});
        writeTargets();
    }

    void handleStateChange(StateChange const& change) override {
        bool const ended = change.oldState == StateChange::established;
        if (ended == (change.newState == StateChange::established)) {
            return;
        }
        counts_.sessions += ended ? 1 : 0;
        cause_ = change.at;
        if (hasAddress(change.peer)) {
            // A session that begins: what is there is of one whose end was not recorded.
            table_.drop(change.peer);
        } else if (ended) {
            endOfUnknown(change);
        }
        writeTargets();
    }

    void dropAll() {
        cause_.reset();
        table_.dropAll();
        writeTargets();
    }

    [[nodiscard]] ReplayCounts const& counts() const { return counts_; }

    [[nodiscard]] std::size_t routes() const { return table_.routes(); }

    [[nodiscard]] Agent const& agent() const { return agent_; }

  private:
    /** Announces the routes of an UPDATE or a RIB entry. */
    template <class Source>
    void apply(Source const& source, std::span<Route const> routes) {
        if (routes.empty()) {
            return;
        }
        if (treatsAsWithdrawn(source)) {
            treatAsWithdrawn(source.peer, routes);
            return;
        }
        RouteLists const lists =
            internLists(agent_, source.communities,
                        [&](std::string const& reason) { refuse(source.at, reason); });
        for (Route const& route : routes) {
            ++counts_.announced;
            counts_.replaced += table_.announce(source.peer, route, lists) ? 1 : 0;
        }
        counts_.greatest = std::max(counts_.greatest, table_.routes());
    }

    /** Some routers record 0.0.0.0 for a peer whose connection has gone: its AS may still tell. */
    void endOfUnknown(StateChange const& change) {
        auto const peers = table_.peersOf(change.peer.as);
        if (peers.size() == 1) {
            table_.drop(peers.front());
        } else if (!peers.empty() && counts_.unknown++ == 0) {
            std::string line(file());
            line += ": record " + std::to_string(change.at.number) + " at octet " +
                    std::to_string(change.at.offset) + ": the session of ";
            appendText(line, change.peer);
            line += " ended, which may be one of " + std::to_string(peers.size()) +
                    " peers: no routes dropped; later cases are only counted";
            complain(line);
        }
    }

    void treatAsWithdrawn(Peer const& peer, std::span<Route const> routes) {
        counts_.malformed += routes.size();
        for (Route const& route : routes) {
            table_.withdraw(peer, route);
        }
    }

    void appendCause(std::string& out) const {
        if (cause_) {
            out.append("record ").append(std::to_string(cause_->number)).append("\t");
            appendTime(out, Microseconds{cause_->seconds} * 1000000);
        } else {
            out += "end";
        }
    }

    void writeTargets() {
        if (targetLog_) {
            targetLog_->writeTo(output_);
        }
    }

    Output& output_;
    Agent agent_;
    std::optional<RecordPosition> cause_; // the record at hand; none at the end
    std::optional<TargetLog> targetLog_;  // hears of what the table lets go of
    RouteTable table_;
    ReplayCounts counts_;
};

void writeCounts(std::string& out, Replay const& replay) {
    struct Row {
        std::string_view words;
        std::uint64_t count;
    };

    ReplayCounts const& counts = replay.counts();
    TextTable table;
    for (Row const& row : std::initializer_list<Row>{
             {"UPDATEs applied", counts.updates},
             {"UPDATEs left out, sent to a peer", counts.sent},
             {"RIB entries applied", counts.ribEntries},
             {"RIB entries left out, of unknown peers", counts.withoutPeer},
             {"announcements", counts.announced},
             {"announcements that replaced a route", counts.replaced},
             {"announcements treated as withdrawals", counts.malformed},
             {"withdrawals", counts.withdrawn},
             {"withdrawals of no route", counts.missing},
             {"sessions that ended", counts.sessions},
             {"sessions that ended, of unknown peers", counts.unknown},
             {"routes, the most at one time", counts.greatest},
             {"routes in the end", replay.routes()},
         }) {
        table.rowIs({std::string(row.words), std::to_string(row.count)});
    }
    for (Agent::Held const& held : replay.agent().held()) {
        table.rowIs({"distinct " + std::string(held.what), std::to_string(held.count)});
    }
    table.appendTo(out);
}

ExitStatus replay(Arguments const& arguments, Output& output) {
    DumpInput const input(arguments);
    Replay replay(arguments, output);
    ExitStatus const status = readDumps(input, replay).status;
    std::string counts;
    writeCounts(counts, replay);
    replay.dropAll();
    output.text() += counts;
    if (!nothingIsLeft(replay.agent())) {
        return worse(status, ExitStatus::unreadable);
    }
    output.text() += "all routes dropped: nothing is left";
    output.endLine();
    return status;
}

} // namespace

Command const replayCommand = {"replay", "apply MRT dumps to a table of routes, and drop it",
                               replayHelp, replayOptions, replay};

} // namespace BgpCommunities
