#include "Commands.h"

#include <algorithm>
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
#include "input/IntegerTypes.h"
#include "lists/Agent.h"
#include "lists/ListTextCache.h"
#include "text/Output.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view limitOption = "--limit";
constexpr std::string_view fullOption = "--full";
constexpr std::string_view formatOption = "--format";
constexpr std::string_view formatNames[] = {"text", "json", "tsv"}; // by RouteFormat

constexpr Option readOptions[] = {{formatOption, Takes::value, formatNames},
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

Prints a line for each announced, withdrawn or table route in MRT dumps (RFC 6396, RFC 8050).
A FILE may be compressed (gzip, bzip2, xz, zstd). Without FILE, or for "-", reads standard input.

output:
  --format FORMAT    the format of the lines: text (the default), tsv or json
    text             tab-separated columns, "-" if empty: time, type (A announced, W withdrawn, B
                     table dump), peer (address and AS), family, prefix (after its route
                     distinguisher; for families other than unicast, multicast, labelled and VPN
                     the octets of all routes), path identifier, AS path (sets in braces,
                     confederations in parentheses), origin, next hop, MED, local preference;
                     communities, extended, IPv6-address-specific extended and large communities as
                     the library prints them; names and meanings of members
    tsv              the same for other programs: a header line, then time (seconds since 1970),
                     microseconds, type, peer_address, peer_as, family, prefix, path_id, as_path,
                     origin, next_hop, med, local_pref, communities, extended_communities,
                     ipv6_communities, large_communities (members by name, in the order sent,
                     separated by spaces), meanings (backslashes are doubled), errors, sent (1 if the
                     route was sent to the peer, not received); empty if unknown
     json             a JSON object per line: file, record (number, from 1), time (RFC 3339), type
                     (announced, withdrawn, table), peer (null if unknown), family, prefix, pathId,
                     asPath, originAs, origin, nextHop, med, localPref, errors, and
                     communities by kind, with the fields of each member
  --json             the same as --format json
  --full             with JSON, also each list's value in the library's order and its path
                     attribute, as in `decode --json`
  --dictionary FILE|DIR
                     operators' descriptions of their communities; lines ASN:PATTERN,DESCRIPTION,
                     see the man page

filters (all must match; of several peers, families, origins or prefixes, any):
  --since TIME       only at or after this time: 2024-01-31T12:00:00Z, 2024-01-31, or seconds since
                     1970
  --until TIME       only before this time
  --peer PEER        only of this peer: an address or an AS number
  --family FAMILY    only of this family: ipv4, ipv6-unicast, ipv4-vpn, l2vpn-evpn, 25/70
  --prefix PREFIX    only this IPv4 or IPv6 prefix and those inside it, regardless of labels and
                     route distinguisher
  --exact PREFIX     only this prefix
  --covers ADDRESS   only prefixes that contain this address or prefix
  --origin-as AS     only routes originated by this AS
  --as-path REGEX    only routes whose AS path, as printed, matches this POSIX extended regular
                     expression; _ matches the start, the end or a delimiter
  --announced        only announced routes
  --withdrawn        only withdrawn routes
  --kind KIND        only lists of this kind (standard, extended, ipv6 or large), and only routes
                     with one; if repeated, of any of these kinds
  --community VALUE  only routes with this community: 64496:300, 64496:1:2, rt:64496:300,
                     soo:192.0.2.1:7, color:100, rt:2001:db8::1:100, a well-known name in any case,
                     any text printed for it, or its octets in hexadecimal;
                     * matches any number, as in 64496:* or rt:64496:*; A:B also selects
                     extended communities with these numbers, unless --kind standard is given
  --match REGEX      only routes with a list that matches this POSIX extended regular expression:
                     the texts for policy of its members, separated by spaces, with or without
                     the names of types or well-known communities

  --limit N          stop after printing N routes
  --add-path[=HOW]   whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                     for each message and family; no; or yes, also without HOW
  --verbose          report all problems on standard error, not only the first few of each kind

A malformed, truncated or refused attribute is reported on standard error and printed as its octets
and the reason, !0002 (length 2 is not a multiple of 8), in its column, or in the last one after its
type; in TSV, in the column errors. The rest is read, and the exit status is 1. The first of
duplicate attributes is used (RFC 7606). A withdrawn route has no attributes, so any filter on
attributes excludes it. Lists excluded by --kind are not decoded, and nothing is read after the last
route of --limit.

examples:
  bgp-communities read updates.20240101.0000.gz
  bgp-communities read --covers 192.0.2.1 --peer AS64496 rib.bz2
  bgp-communities read --community 64496:* --as-path '_64497 64498$' rib.bz2
  bgp-communities read --json --community no-export --since 2024-01-01T12:00:00Z updates.*.gz
  bgp-communities read --format tsv rib.bz2 | cut -f 7,14
)";

/// Thrown by the handler through the reader when --limit routes have been printed.
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
                     "\": expected text, json or tsv");
}

/// A run of `read`: applies the filter to each route and prints it.
///
/// Owns the tables and the caches; does not own the output. Reactor thread, like its agent.
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
            caches_.emplace_back(std::move(decoder), filter_, dictionary_, routeFormat(arguments),
                                 detail);
        }
        writer_.writeHeader();
    }

    void startFile(std::string const& name) override {
        DumpHandler::startFile(name);
        writer_.startFile(name);
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

    /// Starts routes with these attributes and no lists.
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

    /// Starts announced routes with their attributes; returns false if the filter rejects them.
    template <class Source>
    bool beginAnnounced(Source const& source) {
        if (!filter_.admitsAnnounced()) {
            return false;
        }
        begin(RouteAttributes(source.attributes));
        reportFaults(source.at, attributes_);
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
        ListText const& list = caches_[kind].find(attribute.value);
        lists_[kind] = &list;
        if (list.fault.empty()) {
            met_ |= list.met;
            hasList_ = true;
        } else if (attribute.form() == CommunityAttribute::Form::wellFormed) {
            refuse(at, list.fault); // the reader has reported malformed attributes
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
    std::optional<U64> const limit_;
    Dictionary const dictionary_;
    Output& output_;
    RouteWriter writer_;
    Agent agent_;
    std::vector<ListTextCache> caches_; // by CommunityKind
    U64 printed_ = 0;
    // Of the current routes.
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
