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

Writes the distinct lists of communities of MRT dumps (RFC 6396, RFC 8050) into a store, each with
how many attributes carried it, the most used first: for `bgp-communities show`, and for every other
process that maps stores.
A FILE may be compressed (gzip, bzip2, xz, zstd). "-" is standard input, as is no FILE at all if
that is a pipe.

  --out STORE       a file or, as shm:/NAME, a POSIX shared-memory segment
  --add-path[=HOW]  whether UPDATEs carry path identifiers (RFC 7911): auto (the default), decided
                    for each message and family; no; or yes, which HOW may be left out for
  --verbose         name all that is malformed on standard error, not only the first few of each
                    kind

The store is published in one step: who has attached to it meanwhile finds the one that was there
before, or this one. If a FILE cannot be read, or the store not be written, the one that was there
stays, and the exit status is 3.
What a store holds, to the octet, is told with the library.

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
