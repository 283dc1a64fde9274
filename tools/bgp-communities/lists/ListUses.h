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

/// An interned object, and how many attributes carried it.
struct UsageCount {
    std::uint64_t uses = 0;
    std::string octets; // of its members, as on the wire
    std::string text;
    std::string meaning = {}; // of a value, from the dictionary
};

/// Counts of the lists of one length.
struct LengthCount {
    std::uint64_t lists = 0;
    std::uint64_t attributes = 0; // with these lists
};

/// One member of a list.
struct ListMember {
    std::string octets; // as on the wire
    std::string text;
};

/// Statistics of the interned objects of one kind.
struct InternedKind {
    std::uint64_t membersUnique = 0; // distinct members of each attribute, summed
    std::uint64_t distinctLists = 0;
    std::uint64_t distinctValues = 0;
    std::uint64_t objectOctets = 0; // of lists, values and their arrays
    std::uint64_t tableOctets = 0;
    std::vector<UsageCount> mostUsedValues; // descending; ties in the order of their octets
    std::vector<UsageCount> mostUsedLists;
    std::map<std::size_t, LengthCount> lengths; // by number of members
};

/// Counts how many attributes carry each list of one kind.
///
/// Keeps a reference to each list. The agent is not owned and must outlive it. Thread-compatible:
/// each thread uses its own object with a common agent.
class ListUses {
  public:
    virtual ~ListUses() = default;

    /// A list and a stable pointer to its count.
    struct Counted {
        ListId list = nullptr;
        std::uint64_t* uses = nullptr;
    };

    /// Interns the list of an attribute value. Sets the verdict; returns nulls if the value is
    /// refused.
    virtual Counted of(Octets value, Routing::Bgp::AttributeVerdict& verdict) = 0;

    /// Adds one use of the route's list of this kind, if it has one.
    virtual void add(RouteLists const& lists) = 0;

    /// Adds the counts of another one, of the same kind and agent. Throws std::overflow_error if a
    /// sum exceeds 64 bits.
    virtual void add(ListUses const& other) = 0;

    /// Adds the lists of this kind in a store; returns false if it has none. Throws StoreException,
    /// also for a list that does not fit in an attribute.
    virtual bool addStored(MoxStash::StoreManager& store) = 0;

    /// All lists, in unspecified order.
    [[nodiscard]] virtual std::vector<std::pair<ListId, std::uint64_t>> uses() const = 0;

    /// Statistics, with the `most` most used values and lists.
    [[nodiscard]] virtual InternedKind summary(std::size_t most) const = 0;

    /// REQUIRES: `list` was counted here.
    [[nodiscard]] virtual std::vector<ListMember> members(ListId list) const = 0;
    [[nodiscard]] virtual std::string text(ListId list) const = 0;

    /// Writes the lists and a table of their counts to a store, in descending order; ties in the
    /// order of their octets.
    virtual void const* stash(MoxStash::StoreWriter& writer) const = 0;
};

/// Returns one object for each kind, in order.
std::vector<std::unique_ptr<ListUses>> listUses(Agent& agent);

} // namespace BgpCommunities
