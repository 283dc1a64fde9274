#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <MoxStash/StoreWriter.h>

#include "Agent.h"

namespace BgpCommunities {

/** Something that was interned, and how many attributes carried it. */
struct Used {
    std::uint64_t uses = 0;
    std::string octets; // of its members, as on the wire
    std::string text;
};

/** What has been interned of one kind; a plain value. */
struct InternedKind {
    std::uint64_t membersUnique = 0; // different ones of each attribute, summed
    std::uint64_t distinctLists = 0;
    std::uint64_t distinctValues = 0;
    std::uint64_t objectOctets = 0; // of lists, values and their arrays
    std::uint64_t tableOctets = 0;
    std::vector<Used> mostUsedValues; // most first; equals in the order of their octets
    std::vector<Used> mostUsedLists;
};

/**
 * The lists of one kind that attributes stand for, and how many attributes stand for each.
 *
 * It holds a reference to each list, so that none leaves its table before all is counted; the agent
 * is the caller's and outlives it. Thread-compatible: each thread has its own, of one agent.
 */
class ListUses {
  public:
    virtual ~ListUses() = default;

    /** Interns the list that a value stands for; returns its count, which stays where it is, or
        null with the verdict that there is no such list. */
    virtual std::uint64_t* of(Octets value, Routing::Bgp::AttributeVerdict& verdict) = 0;

    /** Adds the counts of another one, of the same kind. */
    virtual void add(ListUses const& other) = 0;

    [[nodiscard]] virtual InternedKind summary() const = 0;

    /** Writes the lists into a store, and a table of them with their counts, most first; equals in
        the order of their octets. */
    virtual void const* stash(MoxStash::StoreWriter& writer) const = 0;
};

/** One for each kind, in their order. */
std::vector<std::unique_ptr<ListUses>> listUses(Agent& agent);

} // namespace BgpCommunities
