#pragma once

#include <array>
#include <memory>
#include <span>
#include <vector>

#include "Agent.h"
#include "DumpHandler.h"
#include "ListUses.h"
#include "input/IntegerTypes.h"
#include "input/OctetCache.h"

namespace BgpCommunities {

/// Counts the lists in dumps, the refused attributes and the routes.
///
/// Owns its counts and a reference to each list; does not own the agent. Thread-compatible: each
/// thread uses its own counter with a common agent. Derived classes receive the lists of each
/// route.
class ListCounter : public DumpHandler {
  public:
    /// Attributes of one kind that the library refused.
    struct Refused {
        U64 attributes = 0;
        U64 members = 0;
    };

    ListCounter(Agent& agent, bool verbose)
      : ListCounter(agent, verbose, false) {}

    void handleUpdate(Update const& update) final;
    void handleRibEntry(RibEntry const& entry) final;

    /// Adds the counts of another counter.
    void add(ListCounter const& other);

    /// The number of table entries and of announced and withdrawn routes.
    [[nodiscard]] U64 routes() const { return routes_; }

    [[nodiscard]] Refused const& refused(CommunityKind kind) const {
        return refused_[static_cast<std::size_t>(kind)];
    }

    [[nodiscard]] ListUses const& lists(CommunityKind kind) const {
        return *lists_[static_cast<std::size_t>(kind)];
    }

    /// By CommunityKind.
    [[nodiscard]] std::span<std::unique_ptr<ListUses> const> lists() const { return lists_; }

  protected:
    /// If `passesLists`, `handleLists()` is called for each message and entry.
    ListCounter(Agent& agent, bool verbose, bool passesLists)
      : DumpHandler(verbose)
      , passesLists_(passesLists)
      , lists_(listUses(agent)) {}

    // Called after the lists were counted. `lists` has the first of duplicate attributes (RFC
    // 7606).
    virtual void handleLists(Update const& /*update*/, ListSet const& /*lists*/) {}
    virtual void handleLists(RibEntry const& /*entry*/, ListSet const& /*lists*/) {}

  private:
    /// The counter of a value; nulls if it was refused.
    struct CachedCount {
        ListUses::Counted counted;
        Routing::Bgp::AttributeVerdict verdict = Routing::Bgp::AttributeVerdict::accepted;

        static constexpr std::size_t octets() { return 0; }
    };

    template <class Carrier>
    void countListsOf(Carrier const& carrier);
    void count(RecordPosition const& at, std::span<CommunityAttribute const> communities,
               ListSet* lists);
    ListId count(RecordPosition const& at, CommunityAttribute const& attribute);
    void countRefused(RecordPosition const& at, CommunityAttribute const& attribute,
                      Routing::Bgp::AttributeVerdict verdict);

    bool const passesLists_;
    U64 routes_ = 0;
    std::array<Refused, communityKinds> refused_;
    std::vector<std::unique_ptr<ListUses>> lists_; // by CommunityKind
    // Successive routes in a dump mostly carry the same lists.
    std::array<OctetCache<CachedCount>, communityKinds> cache_;
};

} // namespace BgpCommunities
