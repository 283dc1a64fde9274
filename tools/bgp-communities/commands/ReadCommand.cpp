#include "Commands.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "DictionaryOption.h"
#include "DumpFiles.h"
#include "FilterOptions.h"
#include "RouteWriter.h"
#include "lists/Agent.h"
#include "lists/ListMemory.h"
#include "text/Output.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view limitOption = "--limit";
constexpr std::string_view fullOption = "--full";
constexpr std::string_view formatOption = "--format";
constexpr std::string_view formatNames[] = {"text", "json", "tsv"}; // by RouteFormat

constexpr Option readOptions[] = {
    {formatOption, Takes::value, formatNames},
    {jsonOption},
    {fullOption},
    dictionaryOption,
    {sinceOption, Takes::value},
    {untilOption, Takes::value},
    {peerOption, Takes::value},
    {familyOption, Takes::value, familyNames},
    {prefixOption, Takes::value},
    {exactOption, Takes::value},
    {coversOption, Takes::value},
    {originAsOption, Takes::value},
    {asPathOption, Takes::value},
    {announcedOption},
    {withdrawnOption},
    {kindOption, Takes::value, kindNames},
    {communityOption, Takes::value},
    {matchOption, Takes::value},
    {limitOption, Takes::value},
    addPathOption,
    {verboseOption}};

constexpr std::string_view readHelp =
    R"(usage: bgp-communities read [OPTION...] FILE...

Prints a line for each route that is announced or withdrawn in MRT dumps (RFC 6396, RFC 8050).
A FILE may be compressed (gzip, bzip2, xz, zstd). "-" is standard input, as is no FILE at all if
that is a pipe.

output:
  --format FORMAT    the form of the lines: text (the default), tsv or json
    text             tab-separated columns, "-" where there is nothing: time, type (A
                     announced, W withdrawn, B entry of a table dump), peer (address and AS), family,
                     prefix (after its route distinguisher; of families other than unicast,
                     multicast, labelled and VPN the octets of all routes), path identifier, AS path
                     (sets in braces, confederations in parentheses), origin, next hop, MED, local
                     preference; communities, extended, IPv6-address-specific extended and large
                     communities as the library prints them; names and meanings of members
    tsv              the same for other programs: a header line, then time (seconds since 1970),
                     microseconds, type, peer_address, peer_as, family, prefix, path_id, as_path,
                     origin, next_hop, med, local_pref, communities, extended_communities,
                     ipv6_communities, large_communities (members by name, in the order sent, a space
                     between them), meanings (backslashes are doubled), errors, sent (1 if the route
                     was sent to the peer, not received); empty where there is nothing
    json             a JSON object a line: file, record (its number, from 1), time (RFC 3339), type
                     (announced, withdrawn, table), peer (null if the dump does not name it), family,
                     prefix, pathId, asPath, originAs, origin, nextHop, med, localPref, errors, and
                     communities by kind, with the fields of each member
  --json             the same as --format json
  --full             with JSON, each list also as its value in the library's order and as the whole
                     path attribute, as `decode --json` prints them
  --dictionary FILE|DIR
                     what operators say that their communities mean; lines ASN:PATTERN,DESCRIPTION,
                     as the man page describes them

filters, which all must hold; of several peers, families, origins or prefixes one is enough:
  --since TIME       only from this time on: 2024-01-31T12:00:00Z, 2024-01-31 or seconds since 1970
  --until TIME       only before this time
  --peer PEER        only of this peer: an address or an AS number
  --family FAMILY    only of this family: ipv4, ipv6-unicast, ipv4-vpn, l2vpn-evpn, 25/70
  --prefix PREFIX    only of this IPv4 or IPv6 prefix and of those inside it, whatever their labels
                     and route distinguisher
  --exact PREFIX     only of this prefix
  --covers ADDRESS   only prefixes that this address, or prefix, is inside of
  --origin-as AS     only routes that this AS originated
  --as-path REGEX    only routes whose AS path, as it is printed, this POSIX extended regular
                     expression matches; _ stands for the start, the end or what is between two ASes
  --announced        only announced routes
  --withdrawn        only withdrawn routes
  --kind KIND        only lists of this kind, standard, extended, ipv6 or large, and only routes that
                     have one; given more than once, of any of these kinds
  --community VALUE  only routes with this community: 64496:300, 64496:1:2, rt:64496:300,
                     soo:192.0.2.1:7, color:100, rt:2001:db8::1:100, a well-known name in any case,
                     any text that the program prints for it, or its octets in hexadecimal;
                     a * stands for any number, as in 64496:* or rt:64496:*; A:B also selects
                     extended communities with these numbers, unless --kind standard is given
  --match REGEX      only routes with a list that this POSIX extended regular expression matches: a
                     list is there the texts for policy of its members, a space between them, with
                     and without the names of types or well-known communities

  --limit N          stop after N routes have been printed
  --add-path[=HOW]   whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                     for each message and family; no; or yes, which HOW may be left out for
  --verbose          name all that is malformed on standard error, not only the first few of each
                     kind

An attribute that is malformed, or that a list of communities cannot hold, is named on standard
error, and printed as its octets and the reason, !0002 (length 2 is no multiple of 8), in TSV in
the last column. The rest is read, and the exit status is 1. Of repeated attributes only the first is
read (RFC 7606). A withdrawn route has no attributes, so filters for those leave it out. Lists that
--kind leaves out are not decoded, and what follows the last route of --limit is not read.

examples:
  bgp-communities read updates.20240101.0000.gz
  bgp-communities read --covers 192.0.2.1 --peer AS64496 rib.bz2
  bgp-communities read --community 64496:* --as-path '_64497 64498$' rib.bz2
  bgp-communities read --json --community no-export --since 2024-01-01T12:00:00Z updates.*.gz
  bgp-communities read --format tsv rib.bz2 | cut -f 7,14
)";

/** As many routes as were asked for have been printed: no more is to be read. Thrown through the
    reader by the handler that has printed the last one. */
class LimitReached {};

RouteFormat routeFormat(Arguments const& arguments) {
    auto const name = arguments.value(formatOption);
    if (!name) {
        return arguments.has(jsonOption) ? RouteFormat::json : RouteFormat::text;
    }
    auto const found = std::find(std::begin(formatNames), std::end(formatNames), *name);
    if (found != std::end(formatNames)) {
        return static_cast<RouteFormat>(found - std::begin(formatNames));
    }
    throw UsageError(std::string(formatOption) + ": \"" + std::string(*name) +
                     "\": none of text, json and tsv");
}

/**
 * A run of `read`: applies the filter to each route and prints it.
 *
 * Owns the tables and what is remembered of lists; the output is not owned. Reactor thread, as its
 * agent.
 */
class RoutePrinter final : public DumpHandler {
  public:
    RoutePrinter(Arguments const& arguments, Output& output)
      : DumpHandler(arguments.has(verboseOption))
      , filter_(routeFilter(arguments))
      , limit_(arguments.count(limitOption))
      , dictionary_(dictionary(arguments))
      , output_(output)
      , writer_(routeFormat(arguments), output) {
        Detail const detail = arguments.has(fullOption) ? Detail::whole : Detail::lean;
        for (auto& decoder : attributeDecoders(agent_, &dictionary_)) {
            memories_.emplace_back(std::move(decoder), filter_, dictionary_, routeFormat(arguments),
                                   detail);
        }
        writer_.writeHeader();
    }

    void fileIs(std::string const& name) override {
        DumpHandler::fileIs(name);
        writer_.fileIs(name);
    }

    void beforeWait() override { output_.flush(); }

    void handleUpdate(Update const& update) override {
        if (!filter_.admits(update.at, update.peer)) {
            return;
        }
        if (filter_.admitsWithdrawn()) {
            begin({});
            for (Route const& route : update.withdrawn) {
                print(Event::withdrawn, update, route);
            }
        }
        if (!update.announced.empty() && beginAnnounced(update)) {
            for (Route const& route : update.announced) {
                print(Event::announced, update, route);
            }
        }
    }

    void handleRibEntry(RibEntry const& entry) override {
        if (filter_.admits(entry.at, entry.peer) && filter_.admits(entry.route) &&
            beginAnnounced(entry)) {
            print(Event::table, entry, entry.route);
        }
    }

  private:
    using Event = RouteLine::Event;

    /** The routes at hand have these attributes, and no lists so far. */
    void begin(RouteAttributes const& attributes) {
        attributes_ = attributes;
        asPath_.clear();
        if (attributes_.asPath()) {
            appendText(asPath_, *attributes_.asPath());
        }
        lists_ = {};
        met_ = 0;
        hasList_ = false;
    }

    /** Reads the attributes of the announced routes at hand; false if the filter rules them out. */
    template <class Source>
    bool beginAnnounced(Source const& source) {
        if (!filter_.admitsAnnounced()) {
            return false;
        }
        begin(RouteAttributes(source.attributes));
        if (!filter_.admits(attributes_, asPath_)) {
            return false;
        }
        for (CommunityAttribute const& attribute : source.communities) {
            if (attribute.repetition == 0 && filter_.admits(attribute.kind)) {
                take(source.at, attribute);
            }
        }
        return filter_.admits(met_, hasList_);
    }

    void take(RecordPosition const& at, CommunityAttribute const& attribute) {
        auto const kind = static_cast<std::size_t>(attribute.kind);
        ListText const& list = memories_[kind].find(attribute.value);
        lists_[kind] = &list;
        if (list.fault.empty()) {
            met_ |= list.met;
            hasList_ = true;
        } else if (attribute.form() == CommunityAttribute::Form::wellFormed) {
            refuse(at, list.fault); // what is malformed has been reported by the reader
        }
    }

    template <class Source>
    void print(Event event, Source const& source, Route const& route) {
        if (!filter_.admits(route)) {
            return;
        }
        RouteLine line = {event, source.at, source.peer, route, attributes_, asPath_, lists_};
        if constexpr (requires { source.sentByUs; }) {
            line.sentByUs = source.sentByUs;
        } else {
            line.originated = source.originated;
        }
        writer_.write(line);
        if (++printed_ == limit_) {
            throw LimitReached();
        }
    }

    RouteFilter const filter_;
    std::optional<std::uint64_t> const limit_;
    Dictionary const dictionary_;
    Output& output_;
    RouteWriter writer_;
    Agent agent_;
    std::vector<ListMemory> memories_; // by CommunityKind
    std::uint64_t printed_ = 0;
    // Of the routes at hand.
    RouteAttributes attributes_;
    std::string asPath_;
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
