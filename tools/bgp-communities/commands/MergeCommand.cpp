#include "Commands.h"

#include <stdexcept>
#include <string>

#include <MoxStash/StoreException.h>

#include "ListStore.h"
#include "lists/Agent.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr Option mergeOptions[] = {{outOption, Takes::file}};

constexpr std::string_view mergeHelp =
    R"(usage: bgp-communities merge --out STORE STORE...

Merges stores written by `bgp-communities stash` or `merge`: the result contains every list of any
of them, with the sum of its uses. It is identical to the store that one `stash` of all dumps would
write, whatever the order and grouping of the stores. So dumps can be counted on many machines, and
the stores merged as they arrive.

  --out STORE  a file or, as shm:/NAME, a POSIX shared-memory segment; may be one of the inputs

A store given twice counts twice. If a store is unreadable or damaged, or a sum exceeds 2^64 - 1,
the error is reported, nothing is written, and the exit status is 3.

examples:
  bgp-communities merge --out year.store month-*.store
  bgp-communities merge --out shm:/lists monday.store tuesday.store
)";

/// Adds a store to the sums. Returns false if it cannot be read, after reporting the error.
bool addStore(Agent& agent, std::string const& store,
              std::vector<std::unique_ptr<ListUses>>& sums) try {
    auto const lists = storedLists(agent, store);
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        sums[kind]->add(*lists[kind]);
    }
    return true;
} catch (MoxStash::StoreException const& error) {
    complain(error.what());
    return false;
} catch (std::overflow_error const& error) {
    complain(store + ": " + error.what());
    return false;
}

ExitStatus merge(Arguments const& arguments, Output& output) {
    std::string const out = outName(arguments, "STORE");
    if (arguments.operands().empty()) {
        throw UsageError("missing STORE to merge");
    }
    Agent agent;
    auto sums = listUses(agent);
    bool allRead = true;
    for (std::string_view const store : arguments.operands()) {
        allRead = addStore(agent, std::string(store), sums) && allRead;
    }
    if (!allRead) {
        complain(out + ": not written: some input could not be read");
        return ExitStatus::unreadable;
    }
    publishLists(sums, out, output);
    return ExitStatus::allRead;
}

} // namespace

Command const mergeCommand = {"merge", "add the counts of stores", mergeHelp, mergeOptions, merge};

} // namespace BgpCommunities
