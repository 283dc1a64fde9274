#include "Commands.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "DictionaryOption.h"
#include "DumpFiles.h"
#include "ListStore.h"
#include "ReportPage.h"
#include "lists/Agent.h"
#include "text/NewFile.h"
#include "text/StandardError.h"
#include "text/Utf8.h"

namespace BgpCommunities {

namespace {

constexpr Option reportOptions[] = {{outOption, Takes::file},
                                    {topOption, Takes::value},
                                    dictionaryOption,
                                    addPathOption,
                                    {verboseOption}};
constexpr GroupBy reportGroupings[] = {GroupBy::peer, GroupBy::as, GroupBy::family, GroupBy::hour};

constexpr std::string_view reportHelp =
    R"(usage: bgp-communities report --out FILE.html [OPTION...] FILE...

Writes an HTML page about the communities in MRT dumps (RFC 6396, RFC 8050; plain or compressed; "-"
is standard input): the most used communities, ASes by routes with their communities, use over time,
peers, families, lengths of lists, route targets and the peers that send them, and the savings of
interning, as charts and sortable tables. The page is self-contained and readable without
JavaScript. Its numbers are those of `stats --json` with every --by.

  --out FILE.html   the page
  --top N           the N most used communities of each kind, and the first N ASes, peers, families
                    and route targets; 20 if not given. Hours and lengths of lists are complete
  --dictionary FILE|DIR
                    operators' descriptions of their communities, shown with the most used ones;
                    lines ASN:PATTERN,DESCRIPTION, see the man page
  --add-path[=HOW]  whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                    for each message and family; no; or yes, also without HOW
  --verbose         report all problems on standard error, not only the first few of each kind

The page is written as FILE.html.new and renamed. If a FILE cannot be read or the page cannot be
written, the previous page is unchanged, and the exit status is 3.

examples:
  bgp-communities report --out rib.html rib.bz2
)";

ExitStatus report(Arguments const& arguments, Output& output) {
    constexpr std::size_t defaultTop = 20;
    DumpInput const input(arguments);
    std::string const out = outName(arguments, "FILE.html");
    if (std::find(input.files.begin(), input.files.end(), out) != input.files.end()) {
        throw UsageError(out + " is one of the dumps");
    }
    StatsOptions options;
    options.dictionary = dictionary(arguments);
    options.top = arguments.count(topOption).value_or(defaultTop);
    options.groupings.assign(std::begin(reportGroupings), std::end(reportGroupings));
    Agent agent;
    RouteTally tally(agent, arguments.has(verboseOption), options.groupings);
    DumpResult const result = readDumps(input, tally);
    if (result.status == ExitStatus::unreadable) {
        complain(out + ": not written: some input could not be read");
        return result.status;
    }
    ReportContent content;
    content.files.assign(input.files.begin(), input.files.end());
    content.sections = statsSections(result, tally, options, 0);
    content.hasMeanings = !options.dictionary.empty();
    content.targets = tally.targets();
    content.targets.resize(std::min(content.targets.size(), options.top));
    content.top = options.top;
    replaceFile(out, reportPage(content));
    output.text().append(masked(out)).append(": ");
    output.text().append(std::to_string(tally.routes())).append(" routes");
    output.endLine();
    return result.status;
}

} // namespace

Command const reportCommand = {"report", "write a page of charts and tables about MRT dumps",
                               reportHelp, reportOptions, report};

} // namespace BgpCommunities
