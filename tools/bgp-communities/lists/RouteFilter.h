#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "AttributeDecoder.h"
#include "input/IntegerTypes.h"
#include "mrt/RouteHandler.h"
#include "text/TimeText.h"
#include "wire/Nlri.h"
#include "wire/RouteAttributes.h"

namespace BgpCommunities {

/// Selects routes, and kinds of lists within a route.
///
/// A route must match every criterion that is set. Peers, origins, families and prefixes match if
/// any of several values does; conditions and AS path expressions must all match. A
/// default-constructed filter selects everything. Thread-compatible.
class RouteFilter {
  public:
    using Condition = std::function<bool(AttributeDecoder&)>;
    /// A bit set: which conditions are met.
    using Conditions = U64;
    /// A condition on the text of an AS path.
    using PathCondition = std::function<bool(std::string const&)>;

    static constexpr std::size_t maxConditions = 64;

    /// A peer by its address, its AS or both.
    struct PeerChoice {
        IpAddress address; // no address: any
        std::optional<U32> as;
    };

    /// A family, or all families with this AFI.
    struct FamilyChoice {
        U16 afi = 0;
        std::optional<U8> safi;
    };

    struct PrefixChoice {
        enum class Relation : U8 { within, exact, covers };

        Relation relation = Relation::within;
        Prefix prefix;
    };

    enum class Direction : U8 { any, announced, withdrawn };

    /// Restricts the selection to the added kinds; routes without a list of such a kind are not
    /// selected.
    void addKind(CommunityKind kind);

    /// REQUIRES: `conditions() < maxConditions`.
    void addCondition(Condition condition);

    void addPathCondition(PathCondition condition) {
        pathConditions_.push_back(std::move(condition));
    }

    void addOriginAs(U32 as) { originAses_.push_back(as); }

    void addPeer(PeerChoice const& peer) { peers_.push_back(peer); }

    void addFamily(FamilyChoice const& family) { families_.push_back(family); }

    void addPrefix(PrefixChoice const& prefix) { prefixes_.push_back(prefix); }

    /// Selects times at or after `time`.
    void setSince(Microseconds time) { since_ = time; }

    /// Selects times before `time`.
    void setUntil(Microseconds time) { until_ = time; }

    void setDirection(Direction direction) { direction_ = direction; }

    [[nodiscard]] std::size_t conditions() const { return conditions_.size(); }

    /// Whether lists of this kind are selected.
    [[nodiscard]] bool admits(CommunityKind kind) const {
        return !needsList_ || kinds_[static_cast<std::size_t>(kind)];
    }

    /// The conditions met by the last decoded list.
    [[nodiscard]] Conditions conditionsMetBy(AttributeDecoder& list) const;

    // A route is selected if all of the following admit it.

    [[nodiscard]] bool admits(RecordPosition const& at, Peer const& peer) const;

    [[nodiscard]] bool admitsAnnounced() const { return direction_ != Direction::withdrawn; }

    /// Withdrawn routes have no attributes, so any criterion on attributes excludes them.
    [[nodiscard]] bool admitsWithdrawn() const {
        return direction_ != Direction::announced && !needsList_ && allMet_ == 0 &&
               originAses_.empty() && pathConditions_.empty();
    }

    /// `asPath` is the text of the AS path.
    [[nodiscard]] bool admits(RouteAttributes const& attributes, std::string const& asPath) const;

    [[nodiscard]] bool admits(Route const& route) const;

    /// `met` are the conditions met by the lists of a route.
    [[nodiscard]] bool admits(Conditions met, bool hasList) const {
        return (hasList || !needsList_) && met == allMet_;
    }

  private:
    std::array<bool, communityKinds> kinds_{};
    bool needsList_ = false;
    std::vector<Condition> conditions_;
    Conditions allMet_ = 0;
    std::vector<PathCondition> pathConditions_;
    std::vector<U32> originAses_;
    std::vector<PeerChoice> peers_;
    std::vector<FamilyChoice> families_;
    std::vector<PrefixChoice> prefixes_;
    std::optional<Microseconds> since_;
    std::optional<Microseconds> until_;
    Direction direction_ = Direction::any;
};

} // namespace BgpCommunities
