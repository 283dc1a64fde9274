#include "Commands.h"

#include <string>

#include "DumpFiles.h"
#include "ListStore.h"
#include "lists/Agent.h"
#include "lists/ListCounter.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr Option stashOptions[] = {{outOption, Takes::file}, addPathOption, {verboseOption}};

constexpr std::string_view stashHelp =
    R"(usage: bgp-communities stash --out STORE [--add-path[=HOW]] [--verbose] FILE...

Writes the distinct lists of communities of MRT dumps (RFC 6396, RFC 8050) to a store, each with the
number of attributes that carried it, most used first. `bgp-communities show` and other processes
can map the store.
A FILE may be compressed (gzip, bzip2, xz, zstd). Without FILE, or for "-", reads standard input.

  --out STORE       a file or, as shm:/NAME, a POSIX shared-memory segment
  --add-path[=HOW]  whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                    for each message and family; no; or yes, also without HOW
  --verbose         report all problems on standard error, not only the first few of each kind

The store is published atomically: readers see either the previous store or the new one. If a FILE
cannot be read or the store cannot be written, the previous store is unchanged, and the exit status
is 3. The library documents the layout of a store.

examples:
  bgp-communities stash --out lists.store rib.bz2
  bgp-communities stash --out shm:/lists updates.*.gz
)";

ExitStatus stash(Arguments const& arguments, Output& output) {
    DumpInput const input(arguments);
    std::string const store = outName(arguments, "STORE");
    Agent agent;
    ListCounter counter(agent, arguments.has(verboseOption));
    ExitStatus const status = readDumps(input, counter).status;
    if (status == ExitStatus::unreadable) {
        complain(store + ": not written: some input could not be read");
        return status;
    }
    publishLists(counter.lists(), store, output);
    return status;
}

} // namespace

Command const stashCommand = {"stash", "write the lists of MRT dumps into a store", stashHelp,
                              stashOptions, stash};

} // namespace BgpCommunities
