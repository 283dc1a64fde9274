#pragma once

#include <cstddef>
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
#include "input/IntegerTypes.h"

namespace BgpCommunities {

/// An interned object, and how many attributes carried it.
struct UsageCount {
    U64 uses = 0;
    std::string octets; // of its members, as on the wire
    std::string text;
    std::string meaning = {}; // of a value, from the dictionary
};

/// Counts of the lists of one length.
struct LengthCount {
    U64 lists = 0;
    U64 attributes = 0; // with these lists
};

/// One member of a list.
struct ListMember {
    std::string octets; // as on the wire
    std::string text;
};

/// Statistics of the interned objects of one kind.
struct InternedKind {
    U64 membersUnique = 0; // distinct members of each attribute, summed
    U64 distinctLists = 0;
    U64 distinctValues = 0;
    U64 objectOctets = 0; // of lists, values and their arrays
    U64 tableOctets = 0;
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
        U64* uses = nullptr;
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
    [[nodiscard]] virtual std::vector<std::pair<ListId, U64>> uses() const = 0;

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
