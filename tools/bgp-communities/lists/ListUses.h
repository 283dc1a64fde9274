#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <MoxStash/StoreManager.h>
#include <MoxStash/StoreWriter.h>

#include "Agent.h"
#include "ListSet.h"
#include "RouteLists.h"

namespace BgpCommunities {

/** Something that was interned, and how many attributes carried it. */
struct UsageCount {
    std::uint64_t uses = 0;
    std::string octets; // of its members, as on the wire
    std::string text;
    std::string meaning = {}; // of a value, as a dictionary has it
};

/** The lists with one number of members; a plain value. */
struct LengthCount {
    std::uint64_t lists = 0;
    std::uint64_t attributes = 0; // that carried them
};

/** One member of a list; a plain value. */
struct ListMember {
    std::string octets; // as on the wire
    std::string text;
};

/** What has been interned of one kind; a plain value. */
struct InternedKind {
    std::uint64_t membersUnique = 0; // different ones of each attribute, summed
    std::uint64_t distinctLists = 0;
    std::uint64_t distinctValues = 0;
    std::uint64_t objectOctets = 0; // of lists, values and their arrays
    std::uint64_t tableOctets = 0;
    std::vector<UsageCount> mostUsedValues; // most first; equals in the order of their octets
    std::vector<UsageCount> mostUsedLists;
    std::map<std::size_t, LengthCount> lengths; // by number of members
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

    /** A list and the number of its attributes, which stays where it is. */
    struct Counted {
        ListId list = nullptr;
        std::uint64_t* uses = nullptr;
    };

    /** Interns the list in the value of an attribute. Returns nulls, and sets the verdict, if no
        list can hold it. */
    virtual Counted of(Octets value, Routing::Bgp::AttributeVerdict& verdict) = 0;

    /** Adds one use of the route's list of this kind, if it has one. */
    virtual void add(RouteLists const& lists) = 0;

    /** Adds the counts of another one, of the same kind and agent. Throws std::overflow_error if a
        sum exceeds 64 bits. */
    virtual void add(ListUses const& other) = 0;

    /** Adds the lists of this kind in a store; false if it holds none. Throws StoreException, also
        for a list that fits no attribute. */
    virtual bool addStored(MoxStash::StoreManager& store) = 0;

    /** All lists, in no order. */
    [[nodiscard]] virtual std::vector<std::pair<ListId, std::uint64_t>> uses() const = 0;

    /** With at most `most` of the most used values, and of the most used lists. */
    [[nodiscard]] virtual InternedKind summary(std::size_t most) const = 0;

    /** REQUIRES: `list` was counted here. */
    [[nodiscard]] virtual std::vector<ListMember> members(ListId list) const = 0;
    [[nodiscard]] virtual std::string text(ListId list) const = 0;

    /** Writes the lists into a store, and a table of them with their counts, most first; equals in
        the order of their octets. */
    virtual void const* stash(MoxStash::StoreWriter& writer) const = 0;
};

/** One for each kind, in their order. */
std::vector<std::unique_ptr<ListUses>> listUses(Agent& agent);

} // namespace BgpCommunities
