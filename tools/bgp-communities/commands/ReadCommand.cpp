#include "Commands.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "DumpFiles.h"
#include "FilterOptions.h"
#include "RouteWriter.h"
#include "lists/Agent.h"
#include "lists/ListMemory.h"
#include "text/Output.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view limitOption = "--limit";

constexpr Option readOptions[] = {
    {jsonOption},         {kindOption, true},  {matchOption, true}, {communityOption, true},
    {prefixOption, true}, {limitOption, true}, addPathOption,       {verboseOption}};

constexpr std::string_view readHelp =
    R"(usage: bgp-communities read [OPTION...] FILE...

Prints a line for each route that is announced in MRT dumps (RFC 6396, RFC 8050; plain, gzip or
bzip2; "-" is standard input). Between its columns stands a tab, and "-" where there is nothing:

  1  peer: address and AS number
  2  prefix, behind its route distinguisher if it has one; of a family other than unicast,
     multicast, labelled and VPN, the numbers of the family and the octets of all its routes
  3  path identifier (RFC 7911)
  4  communities (RFC 1997)
  5  extended communities (RFC 4360)
  6  IPv6-address-specific extended communities (RFC 5701)
  7  large communities (RFC 8092)

  --json             a JSON object a line: file, record (its number, from 1), peer
                     (null if the dump does not tell), family, prefix, pathId if there is one, and
                     communities: by kind what `decode --json` prints for the attribute as sent
  --kind KIND        only lists of this kind, standard, extended, ipv6 or large, and only routes
                     that have one; given more than once, of any of these kinds
  --match REGEX      only routes with a list that this POSIX extended regular expression matches:
                     a list is there the texts for policy of its members, a space between them, with
                     and without the names of types or well-known communities
  --community VALUE  only routes with this community: 64496:300, 64496:1:2, rt:64496:300,
                     soo:192.0.2.1:7, color:100, rt:2001:db8::1:100, a well-known name in any case,
                     any text that the program prints for it, or its octets in hexadecimal;
                     a * stands for any number, as in 64496:* or rt:64496:*
  --prefix PREFIX    only routes of this IPv4 or IPv6 prefix and of those inside it, whatever their
                     labels and route distinguisher
  --limit N          stop after N routes have been printed
  --add-path[=HOW]   whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                     for each message and family; no; or yes, which HOW may be left out for
  --verbose          name all that is malformed on standard error, not only the first few of each
                     kind

A route is printed if all that was asked for holds: of several --match and --community each one, for
the same list or another. Of several --prefix or --limit the last one counts.

An attribute that is malformed, or that a list of communities cannot hold, is named on standard
error and left out; the rest is read, and the exit status is 1. Of an attribute that stands there
twice only the first is read (RFC 7606). Lists that --kind leaves out are not looked into, and
what is behind the last route of --limit is not read.

examples:
  bgp-communities read updates.20240101.0000.gz
  bgp-communities read rib.bz2 | cut -f 2,4
  bgp-communities read --json --community no-export --prefix 192.0.2.0/24 rib.bz2
  bgp-communities read --kind large --match '^64496:1:' --limit 10 rib.bz2
)";

/** As many routes as were asked for have been printed: no more is to be read. Thrown through the
    reader by the handler that has printed the last one. */
class LimitReached {};

/**
 * What a run of `read` does: it judges each route and prints it.
 *
 * It owns the tables and what is remembered of lists; the output is the caller's and outlives it.
 * Reactor thread, as its agent.
 */
class RoutePrinter final : public DumpHandler {
  public:
    RoutePrinter(Arguments const& arguments, Output& output)
      : DumpHandler(arguments.has(verboseOption))
      , filter_(routeFilter(arguments))
      , limit_(arguments.count(limitOption))
      , writer_(arguments.has(jsonOption), output) {
        for (auto& decoder : attributeDecoders(agent_)) {
            memories_.emplace_back(std::move(decoder), filter_, arguments.has(jsonOption));
        }
    }

    void fileIs(std::string const& name) override {
        DumpHandler::fileIs(name);
        writer_.fileIs(name);
    }

    void handleUpdate(Update const& update) override {
        if (update.announced.empty()) {
            return;
        }
        take(update.at, update.communities);
        for (Route const& route : update.announced) {
            print(update.at, update.peer, route);
        }
    }

    void handleRibEntry(RibEntry const& entry) override {
        take(entry.at, entry.communities);
        print(entry.at, entry.peer, entry.route);
    }

  private:
    /** Makes the lists at hand those of the routes that come with these attributes. */
    void take(RecordPosition const& at, std::span<CommunityAttribute const> communities) {
        lists_ = {};
        met_ = 0;
        hasList_ = false;
        for (CommunityAttribute const& attribute : communities) {
            bool const isRead = attribute.repetition == 0 && filter_.admits(attribute.kind);
            if (isRead && attribute.form() == CommunityAttribute::Form::wellFormed) {
                take(at, attribute);
            }
        }
    }

    void take(RecordPosition const& at, CommunityAttribute const& attribute) {
        auto const kind = static_cast<std::size_t>(attribute.kind);
        ListText const& list = memories_[kind].find(attribute.value);
        if (!list.fault.empty()) {
            refuse(at, list.fault);
            return;
        }
        lists_[kind] = &list;
        met_ |= list.met;
        hasList_ = true;
    }

    void print(RecordPosition const& at, Peer const& peer, Route const& route) {
        if (!filter_.admits(route, met_, hasList_)) {
            return;
        }
        writer_.write(at, peer, route, lists_);
        if (++printed_ == limit_) {
            throw LimitReached();
        }
    }

    RouteFilter const filter_;
    std::optional<std::uint64_t> const limit_;
    RouteWriter writer_;
    Agent agent_;
    std::vector<ListMemory> memories_; // by CommunityKind
    std::uint64_t printed_ = 0;
    // Of the route at hand.
    RouteTexts lists_{};
    RouteFilter::Conditions met_ = 0;
    bool hasList_ = false;
};

ExitStatus read(Arguments const& arguments, Output& output) {
    DumpInput const input(arguments);
    RoutePrinter printer(arguments, output);
    try {
        return readDumps(input, printer).status;
    } catch (LimitReached const&) {
        printer.log().summarise();
        return printer.log().status();
    }
}

} // namespace

Command const readCommand = {"read", "print the routes of MRT dumps with their communities",
                             readHelp, readOptions, read};

} // namespace BgpCommunities
