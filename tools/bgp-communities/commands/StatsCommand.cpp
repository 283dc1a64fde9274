#include "Commands.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <string>
#include <vector>

#include <unistd.h>

#include <Mox/PtrInterface.h>
#include <Routing/Bgp/VoBgpGlobals.h>

#include "DictionaryOption.h"
#include "DumpFiles.h"
#include "DumpJobs.h"
#include "StatsReport.h"
#include "lists/Agent.h"
#include "lists/RouteTally.h"
#include "text/Output.h"
#include "text/Terminal.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view jobsOption = "--jobs";
constexpr std::size_t maxJobs = 256;
constexpr std::string_view byOption = "--by";
constexpr Option statsOptions[] = {
    {jsonOption},     {topOption, Takes::value},  {byOption, Takes::value, groupByKeys},
    dictionaryOption, {jobsOption, Takes::value}, addPathOption,
    {verboseOption}};

constexpr std::string_view statsHelp =
    R"(usage: bgp-communities stats [OPTION...] FILE...

Counts the content of MRT dumps (RFC 6396, RFC 8050), of all files together.
A FILE may be compressed (gzip, bzip2, xz, zstd). Without FILE, or for "-", reads standard input.

  --json            one JSON object
  --top N           the N most used values, lists and groups (default 10)
  --by GROUP        also count routes by peer; by as, the AS that communities start with; by family;
                    or by hour (UTC). May be repeated
  --dictionary FILE|DIR
                    operators' descriptions of their communities, printed with the most used ones;
                    lines ASN:PATTERN,DESCRIPTION, see the man page
  --jobs N          read in N threads, 1 (the default) to 256. The results are the same for every
                    N. The blocks of one bzip2 dump are decompressed in N threads. Each thread
                    takes up to 16 MB for reading; records above 256 kB share another 32 MB, and
                    RIB records above 16 MB are not read
  --add-path[=HOW]  whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                    for each message and family; no; or yes, also without HOW
  --verbose         report all problems on standard error, not only the first few of each kind;
                    files are then read one after the other

Routes are table entries, and routes announced or withdrawn by UPDATEs. For each kind of community
attribute:
  attributes       well-formed ones with at least one member
  empty            attributes without a member
  malformed        attributes whose length is not a multiple of a member's
  refused          well-formed attributes that the library refuses, with two different link
                   bandwidths or origin validation states; not included in any other count
  members          members of the attributes, as sent
  unique members   distinct members of each attribute
  distinct lists   distinct attributes, after sorting and removing duplicate members
  distinct values  distinct members

Savings by interning, in octets:
  sent             the members as sent
  as objects       the interned lists and classification lists with their arrays, and the interned
                   values; without allocator overhead and the list of route targets
  as tables        the slots of the intern tables, which are larger with several jobs
  held             both

The most used values and lists are printed with the number of attributes that carry them; the
lengths of lists, in members, with the distinct lists and the attributes of each range.

For each group of --by, without messages that were sent to a peer (local subtypes):
  routes           table entries and announced routes; by AS, those with a community of this AS
                   (well-known and other reserved communities belong to none)
  withdrawn        withdrawn routes
  carrying         routes with communities
  standard, extended, ipv6, large
                   routes with communities of this kind; by AS, of this AS
  distinct         distinct communities of these routes; by AS, of this AS
Groups are in descending order of routes; hours are in chronological order, all those with routes.

On a terminal, wide tables are split and long lines truncated to fit its width, and digits are
grouped. Communities are printed by name, as `read --community` takes them.

examples:
  bgp-communities stats updates.*.gz
  bgp-communities stats --by as --top 20 rib.bz2
  bgp-communities stats --json --jobs 2 rib.bz2
)";

std::size_t jobsOf(Arguments const& arguments) {
    auto const jobs = arguments.count(jobsOption).value_or(1);
    if (jobs > maxJobs) {
        throw UsageError(std::string(jobsOption) + ": more than " + std::to_string(maxJobs));
    }
    return jobs;
}

StatsOptions statsOptionsOf(Arguments const& arguments) {
    StatsOptions options;
    options.dictionary = dictionary(arguments);
    options.top = arguments.count(topOption).value_or(StatsOptions::defaultTop);
    for (std::string_view const value : arguments.values(byOption)) {
        auto const found = std::find(groupByKeys.begin(), groupByKeys.end(), value);
        if (found == groupByKeys.end()) {
            throw UsageError(std::string(byOption) + ": \"" + std::string(value) +
                             "\" is not one of peer, as, family and hour");
        }
        auto const by = static_cast<GroupBy>(found - groupByKeys.begin());
        if (std::find(options.groupings.begin(), options.groupings.end(), by) ==
            options.groupings.end()) {
            options.groupings.push_back(by);
        }
    }
    return options;
}

void print(StatsSections const& sections, bool json, Output& output) {
    if (json) {
        writeStatsJson(output.text(), sections);
        output.endLine();
        return;
    }
    auto const columns = terminalColumns(STDOUT_FILENO);
    std::string text;
    writeStatsText(text, sections, columns);
    if (columns) {
        appendFitted(output.text(), text, *columns);
    } else {
        output.text() += text;
    }
}

ExitStatus stats(Arguments const& arguments, Output& output) {
    DumpInput const input(arguments);
    StatsOptions const options = statsOptionsOf(arguments);
    std::size_t const jobs = jobsOf(arguments);
    bool const verbose = arguments.has(verboseOption);
    if (jobs > 1) { // before there is a table or a second thread
        Mox::threadSafePtrsIs(true);
        Routing::Bgp::VoBgpGlobals::multiThreadedIs(true);
    }
    Agent agent;
    std::deque<RouteTally> tallies;
    std::vector<DumpHandler*> handlers;
    for (std::size_t job = 0; job < jobs; ++job) {
        handlers.push_back(&tallies.emplace_back(agent, verbose, options.groupings));
    }
    ProblemLog log(verbose);
    auto const begun = std::chrono::steady_clock::now();
    DumpResult const result = readDumps(input, handlers, log);
    std::chrono::duration<double> const taken = std::chrono::steady_clock::now() - begun;
    for (std::size_t job = 1; job < jobs; ++job) {
        tallies[0].add(tallies[job]);
    }
    print(statsSections(result, tallies[0], options, taken.count()), arguments.has(jsonOption),
          output);
    return result.status;
}

} // namespace

Command const statsCommand = {"stats", "count the content of MRT dumps", statsHelp, statsOptions,
                              stats};

} // namespace BgpCommunities
