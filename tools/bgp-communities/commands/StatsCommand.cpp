#include "Commands.h"

#include <chrono>
#include <deque>
#include <string>
#include <vector>

#include <Mox/PtrInterface.h>
#include <Routing/Bgp/VoBgpGlobals.h>

#include "DumpFiles.h"
#include "DumpJobs.h"
#include "StatsReport.h"
#include "lists/Agent.h"
#include "lists/ListCounter.h"
#include "text/Output.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view jobsOption = "--jobs";
constexpr std::size_t maxJobs = 256;
constexpr Option statsOptions[] = {
    {jsonOption}, {jobsOption, true}, addPathOption, {verboseOption}};

constexpr std::string_view statsHelp =
    R"(usage: bgp-communities stats [--json] [--jobs N] [--add-path[=HOW]] [--verbose] FILE...

Counts what MRT dumps hold (RFC 6396, RFC 8050), all of them together.
A FILE may be compressed (gzip, bzip2, xz, zstd). "-" is standard input, as is no FILE at all if
that is a pipe.

  --json            one JSON object
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

The most used values and lists are told with the number of attributes that carry them.

examples:
  bgp-communities stats updates.*.gz
  bgp-communities stats --json --jobs 2 rib.bz2
)";

std::size_t jobsOf(Arguments const& arguments) {
    auto const jobs = arguments.count(jobsOption).value_or(1);
    if (jobs > maxJobs) {
        throw UsageError(std::string(jobsOption) + ": more than " + std::to_string(maxJobs));
    }
    return jobs;
}

ExitStatus stats(Arguments const& arguments, Output& output) {
    DumpInput const input(arguments);
    std::size_t const jobs = jobsOf(arguments);
    bool const verbose = arguments.has(verboseOption);
    if (jobs > 1) { // before there is a table or a second thread
        Mox::threadSafePtrsIs(true);
        Routing::Bgp::VoBgpGlobals::multiThreadedIs(true);
    }
    Agent agent;
    std::deque<ListCounter> counters;
    std::vector<DumpHandler*> handlers;
    for (std::size_t job = 0; job < jobs; ++job) {
        handlers.push_back(&counters.emplace_back(agent, verbose));
    }
    ProblemLog log(verbose);
    auto const begun = std::chrono::steady_clock::now();
    DumpResult const result = readDumps(input, handlers, log);
    std::chrono::duration<double> const taken = std::chrono::steady_clock::now() - begun;
    for (std::size_t job = 1; job < jobs; ++job) {
        counters[0].add(counters[job]);
    }
    StatsReport const report = {result, counters[0], taken.count()};
    if (arguments.has(jsonOption)) {
        report.writeJson(output.text());
        output.endLine();
    } else {
        report.writeText(output.text());
    }
    return result.status;
}

} // namespace

Command const statsCommand = {"stats", "count what MRT dumps hold", statsHelp, statsOptions, stats};

} // namespace BgpCommunities
