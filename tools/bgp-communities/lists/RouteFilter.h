#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "AttributeDecoder.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

/**
 * Selects routes and, of a route, kinds of lists.
 *
 * A route is selected if its prefix is, and if each condition is met by one of its lists. A new
 * filter selects everything. Thread-compatible.
 */
class RouteFilter {
  public:
    using Condition = std::function<bool(AttributeDecoder&)>;
    /** One bit for each condition: whether it is met. */
    using Conditions = std::uint64_t;

    static constexpr std::size_t maxConditions = 64;

    /** Selects this kind, and no other that is not named as well; routes without a list of such a
        kind are left out. */
    void kindIs(CommunityKind kind);

    /** REQUIRES: fewer than `maxConditions` so far. */
    void conditionIs(Condition condition);

    /** Selects the routes within `prefix`. */
    void prefixIs(Prefix const& prefix) { prefix_ = prefix; }

    [[nodiscard]] std::size_t conditions() const { return conditions_.size(); }

    /** Whether lists of this kind are looked at. */
    [[nodiscard]] bool admits(CommunityKind kind) const {
        return !needsList_ || kinds_[static_cast<std::size_t>(kind)];
    }

    /** The conditions that the list decoded last meets. */
    [[nodiscard]] Conditions conditionsMetBy(AttributeDecoder& list) const;

    /** Whether a route is selected, given the conditions its lists meet and whether it has any. */
    [[nodiscard]] bool admits(Route const& route, Conditions met, bool hasList) const {
        bool const listed = hasList || !needsList_;
        return listed && met == allMet_ && (!prefix_ || contains(*prefix_, route));
    }

  private:
    std::array<bool, communityKinds> kinds_{};
    bool needsList_ = false;
    std::vector<Condition> conditions_;
    Conditions allMet_ = 0;
    std::optional<Prefix> prefix_;
};

} // namespace BgpCommunities
