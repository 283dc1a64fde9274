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
constexpr std::string_view topOption = "--top";
constexpr std::string_view byOption = "--by";
constexpr Option statsOptions[] = {{jsonOption},
                                   {topOption, Takes::value},
                                   {byOption, Takes::value, groupByKeys},
                                   dictionaryOption,
                                   {jobsOption, Takes::value},
                                   addPathOption,
                                   {verboseOption}};

constexpr std::string_view statsHelp =
    R"(usage: bgp-communities stats [OPTION...] FILE...

Counts what MRT dumps hold (RFC 6396, RFC 8050), all of them together.
A FILE may be compressed (gzip, bzip2, xz, zstd). "-" is standard input, as is no FILE at all if
that is a pipe.

  --json            one JSON object
  --top N           the N most used values, lists and groups; 10 if not given
  --by GROUP        also count routes by peer; by as, the AS that communities start with; by family;
                    or by hour (UTC). May be given more than once
  --dictionary FILE|DIR
                    what operators say that their communities mean, printed beside the most used ones;
                    lines ASN:PATTERN,DESCRIPTION, as the man page describes them
  --jobs N          read in N threads, 1 to 256; 1 if not given. What is counted and named is the
                    same for every N. The blocks of one bzip2 dump are decompressed in N
                    threads. Each takes up to 16 MB for reading; records above 256 kB
                    share 32 MB more, and RIB records above 16 MB are not read
  --add-path[=HOW]  whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                    for each message and family; no; or yes, which HOW may be left out for
  --verbose         name all that is malformed on standard error, not only the first few of each
                    kind; files are then read one after the other

The routes are the entries of tables, and those that UPDATEs announce or withdraw. Of each kind of
community attribute:
  attributes       that hold at least one member, and nothing but members
  empty            without a member
  malformed        whose length is no multiple of a member's
  refused          well-formed, but no list can hold them: two different link bandwidths or
                   origin validation states; they count nowhere else
  members          of the attributes, as sent
  unique members   of the attributes, each once in an attribute
  distinct lists   different attributes, if members are sorted and repeats left out
  distinct values  different members

What interning saves, in octets:
  sent             the members as sent
  as objects       the interned lists, and their shares by class, with their arrays of members, and
                   the interned values; not what the allocator adds to each, nor the list of route
                   targets
  as tables        the slots of the intern tables; with more jobs the tables are split, and larger
  held             both

The most used values and lists are printed with the number of attributes that carry them, and how
long lists are, in members, with the distinct lists and the attributes of each range of lengths.

Of each group that --by asks for, without what was sent to a peer (the local forms of messages):
  routes           entries of tables and announced routes; by AS, those with a community that
                   starts with this AS number (no well-known or other reserved community does)
  withdrawn        withdrawn routes
  carrying         routes with communities
  standard, extended, ipv6, large
                   routes with communities of this kind; by AS, of this AS
  distinct         different communities of these routes; by AS, of this AS
Groups with most routes come first. Hours are in order, all those with routes.

On a terminal, lines are cut to its width.

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

StatsOptions optionsOf(Arguments const& arguments) {
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
    writeStatsText(text, sections, columns.value_or(defaultColumns));
    if (columns) {
        appendFitted(output.text(), text, *columns);
    } else {
        output.text() += text;
    }
}

ExitStatus stats(Arguments const& arguments, Output& output) {
    DumpInput const input(arguments);
    StatsOptions const options = optionsOf(arguments);
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

Command const statsCommand = {"stats", "count what MRT dumps hold", statsHelp, statsOptions, stats};

} // namespace BgpCommunities
