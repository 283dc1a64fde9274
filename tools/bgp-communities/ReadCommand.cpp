#include "ReadCommand.h"

#include <algorithm>
#include <string>

#include "Agent.h"
#include "CommunityFormatter.h"
#include "DumpFiles.h"
#include "AttributeVerdict.h"
#include "Output.h"

namespace BgpCommunities {

namespace {

constexpr Option readOptions[] = {{verboseOption}};

constexpr std::string_view readHelp =
    R"(usage: bgp-communities read [--verbose] FILE...

Prints a line for each route that is announced in MRT dumps (RFC 6396, RFC 8050; plain, gzip or
bzip2; "-" is standard input): peer, prefix, and the extended communities of the route, or "-" if
it has none; between the three a tab.

  --verbose  name all that is malformed on standard error, not only the first few of each kind

An attribute that is malformed, or that a list of communities cannot hold, is named on standard
error and left out; the rest is read, and the exit status is 1. Of an attribute that stands there
twice only the first is read (RFC 7606).

examples:
  bgp-communities read updates.20240101.0000.gz
  bgp-communities read rib.bz2 | grep 192.0.2.0/24
)";

/** Writes the routes, as they come. */
class RoutePrinter final : public DumpHandler {
  public:
    RoutePrinter(bool verbose, Output& output)
      : DumpHandler(verbose)
      , output_(output) {}

    void handleUpdate(Update const& update) override {
        if (!update.announced.empty()) {
            read(update.at, update.communities);
        }
        for (Route const& route : update.announced) {
            print(update.peer, route);
        }
    }

    void handleRibEntry(RibEntry const& entry) override {
        read(entry.at, entry.communities);
        print(entry.peer, entry.route);
    }

  private:
    /** Makes `texts_` those of the communities; empty if there are none. */
    void read(RecordPosition const& at, std::span<CommunityAttribute const> communities) {
        texts_.clear();
        auto const found =
            std::find_if(communities.begin(), communities.end(), [](auto const& attribute) {
                return attribute.kind == CommunityKind::extended;
            });
        if (found == communities.end() || found->form() != CommunityAttribute::Form::wellFormed) {
            return;
        }
        if (auto const reason = refusal(found->kind, found->value); !reason.empty()) {
            refuse(at, reason);
            return;
        }
        agent_.intern(found->value, members_);
        for (auto const& member : members_) {
            texts_.append(texts_.empty() ? "" : " ").append(formatter_.text(member));
        }
    }

    void print(Peer const& peer, Route const& route) {
        std::string& out = output_.text();
        appendText(out, peer);
        out += '\t';
        appendText(out, route);
        if (route.hasPathId) {
            out.append(" path ").append(std::to_string(route.pathId));
        }
        out.append("\t").append(texts_.empty() ? "-" : texts_);
        output_.endLine();
    }

    Output& output_;
    Agent agent_;
    Agent::ExtComms members_; // of the route at hand, as `texts_`
    CommunityFormatter formatter_;
    std::string texts_;
};

ExitStatus read(Arguments const& arguments, Output& output) {
    auto const files = dumpFiles(arguments);
    RoutePrinter printer(arguments.has(verboseOption), output);
    return readDumps(files, printer).status;
}

} // namespace

Command const readCommand = {"read", "print the routes of MRT dumps with their communities",
                             readHelp, readOptions, read};

} // namespace BgpCommunities
