#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "AttributeDecoder.h"
#include "commands/CommandLine.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

inline constexpr std::string_view kindOption = "--kind";
inline constexpr std::string_view matchOption = "--match";
inline constexpr std::string_view communityOption = "--community";
inline constexpr std::string_view prefixOption = "--prefix";

/**
 * Which routes are asked for, and which of their lists.
 *
 * It owns what the options of a command line were made into. Thread-compatible. A route is asked
 * for if `admits` says so of it and of all the conditions that its lists meet, each on its own.
 */
class RouteFilter {
  public:
    /** One bit for each --match and --community: whether it is met. */
    using Conditions = std::uint64_t;

    /** Throws UsageError. */
    explicit RouteFilter(Arguments const& arguments);

    /** Whether lists of this kind are looked at. */
    [[nodiscard]] bool admits(CommunityKind kind) const {
        return kinds_[static_cast<std::size_t>(kind)];
    }

    /** What the list that was decoded last does for its route. */
    [[nodiscard]] Conditions conditionsMetBy(AttributeDecoder& list) const;

    /** Whether a route is asked for, given what its lists do for it and whether it has any. */
    [[nodiscard]] bool admits(Route const& route, Conditions met, bool hasList) const {
        bool const listed = hasList || !needsList_;
        return listed && met == allMet_ && (!prefix_ || contains(*prefix_, route));
    }

  private:
    using Condition = std::function<bool(AttributeDecoder&)>;

    void kindIs(std::string_view name);
    void conditionIs(Condition condition);

    std::array<bool, communityKinds> kinds_{};
    bool needsList_ = false;
    std::vector<Condition> conditions_;
    Conditions allMet_ = 0;
    std::optional<Prefix> prefix_;
};

} // namespace BgpCommunities
