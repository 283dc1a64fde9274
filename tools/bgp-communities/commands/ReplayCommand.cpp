#include "Commands.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include <unistd.h>

#include "DumpFiles.h"
#include "TargetLog.h"
#include "lists/Agent.h"
#include "lists/RouteTable.h"
#include "text/Counts.h"
#include "text/Output.h"
#include "text/StandardError.h"
#include "text/TextTable.h"
#include "text/TimeText.h"

namespace BgpCommunities {

namespace {

constexpr Option replayOptions[] = {{targetsOption}, addPathOption, {verboseOption}};

constexpr std::string_view replayHelp =
    R"(usage: bgp-communities replay [--targets] [--add-path[=HOW]] [--verbose] FILE...

Applies MRT dumps (RFC 6396, RFC 8050), one after the other, to a table of routes with their
interned lists of communities; then prints the numbers of routes, lists and communities, drops all
routes, and checks that the intern tables are empty.
A FILE may be compressed (gzip, bzip2, xz, zstd). Without FILE, or for "-", reads standard input.

  --targets         print a line whenever a route target, or the set of route targets of a list,
                    comes into use or goes out of use: "+" or "-" with the target or the set, the
                    record and its time, separated by tabs
  --add-path[=HOW]  whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                    for each message and family; no; or yes, also without HOW
  --verbose         report all problems on standard error, not only the first few of each kind

A route is identified by peer, family, path identifier, route distinguisher and prefix, not by
labels; in families that are not parsed, by the octets of the NLRI. Entries of table dumps are
applied as announcements, except those of unknown peers. In an UPDATE, withdrawals are applied
before announcements. When a peer enters or leaves the state Established, its routes are dropped; if
the record lacks its address (0.0.0.0), those of the only peer of its AS with routes are, and none
if there are several. Messages sent to a peer (local subtypes) are counted but not applied.

Errors are handled as in RFC 7606. The first of duplicate attributes is used. If a community
attribute is malformed, or the attributes are truncated, the announced routes are treated as
withdrawn. An UPDATE that is too short for its own length fields is skipped. In malformed NLRI, the
routes before the fault are used. A well-formed attribute that the library refuses (two different
link bandwidths or origin validation states) is dropped, and the route is kept. All errors are
reported on standard error, and the exit status is 1.

If an intern table is not empty at the end, this is reported on standard error, and the exit status
is 3.

examples:
  bgp-communities replay rib.bz2 updates.*.gz
  bgp-communities replay --targets updates.20240101.0000.gz | grep '^[+-] target 64500:7'
)";

/// Counts of the changes to the table of routes.
struct ReplayCounts {
    U64 updates = 0;
    U64 ribEntries = 0;
    U64 withoutPeer = 0; // RIB entries whose peer is unknown
    U64 sent = 0;        // UPDATEs sent to the peer
    U64 announced = 0;
    U64 replaced = 0; // of `announced`: the route existed
    U64 withdrawn = 0;
    U64 missing = 0;          // of `withdrawn`: the route did not exist
    U64 malformed = 0;        // announcements treated as withdrawals
    U64 sessions = 0;         // that ended
    U64 unknown = 0;          // of `sessions`: of an unidentified peer, whose routes are kept
    std::size_t greatest = 0; // maximum number of routes
};

/// Whether the record has the address of the peer: not all octets are zero.
bool hasAddress(Peer const& peer) {
    auto const& octets = peer.address.octets;
    return std::any_of(octets.begin(), octets.end(), [](auto octet) { return octet != 0; });
}

/// Applies the records of dumps to a table of routes.
///
/// Owns the agent, the table and an optional log of route targets; does not own the output. Reactor
/// thread, like its table.
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
            // At the start of a session, remaining routes belong to one whose end was not recorded.
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
    /// Announces the routes of an UPDATE or a RIB entry.
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

    /// Some routers record 0.0.0.0 for a peer whose connection is closed. Its AS may still identify
    /// it.
    void endOfUnknown(StateChange const& change) {
        auto const peers = table_.peersOf(change.peer.as);
        if (peers.size() == 1) {
            table_.drop(peers.front());
        } else if (!peers.empty() && counts_.unknown++ == 0) {
            std::string line(file());
            line += ": record " + std::to_string(change.at.number) + " at octet " +
                    std::to_string(change.at.offset) + ": the session of ";
            appendText(line, change.peer);
            line += " ended, one of " + std::to_string(peers.size()) +
                    " possible peers: no routes dropped; later cases are only counted";
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
    std::optional<RecordPosition> cause_; // the current record; none at the end
    std::optional<TargetLog> targetLog_;  // outlives `table_`, whose releases it logs
    RouteTable table_;
    ReplayCounts counts_;
};

void writeCounts(std::string& out, Replay const& replay) {
    struct Row {
        std::string_view words;
        U64 count;
    };

    ReplayCounts const& counts = replay.counts();
    TerminalWidth const width = terminalColumns(STDOUT_FILENO);
    TextTable table;
    for (Row const& row : std::initializer_list<Row>{
             {"UPDATEs applied", counts.updates},
             {"UPDATEs not applied, sent to a peer", counts.sent},
             {"RIB entries applied", counts.ribEntries},
             {"RIB entries not applied, of unknown peers", counts.withoutPeer},
             {"announcements", counts.announced},
             {"announcements that replaced a route", counts.replaced},
             {"announcements treated as withdrawals", counts.malformed},
             {"withdrawals", counts.withdrawn},
             {"withdrawals of missing routes", counts.missing},
             {"sessions that ended", counts.sessions},
             {"sessions that ended, of unknown peers", counts.unknown},
             {"routes, maximum", counts.greatest},
             {"routes at the end", replay.routes()},
         }) {
        table.addRow({std::string(row.words), numberText(row.count, width)});
    }
    for (Agent::TableSize const& size : replay.agent().tableSizes()) {
        table.addRow({"distinct " + std::string(size.what), numberText(size.count, width)});
    }
    table.appendTo(out, width);
}

ExitStatus replay(Arguments const& arguments, Output& output) {
    DumpInput const input(arguments);
    Replay replay(arguments, output);
    ExitStatus const status = readDumps(input, replay).status;
    std::string counts;
    writeCounts(counts, replay);
    replay.dropAll();
    output.text() += counts;
    if (!tablesAreEmpty(replay.agent())) {
        return worse(status, ExitStatus::unreadable);
    }
    output.text() += "all routes dropped: all intern tables are empty";
    output.endLine();
    return status;
}

} // namespace

Command const replayCommand = {"replay", "apply MRT dumps to a table of routes", replayHelp,
                               replayOptions, replay};

} // namespace BgpCommunities
