#pragma once

#include <functional>
#include <span>
#include <string>

#include "Agent.h"
#include "ListKinds.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// The interned lists of one route, one for each kind; null if it has none. Holds a reference to
/// each list. Thread-compatible.
using RouteLists = ListKinds::Lists;

/// Receives the reason why the library refuses a well-formed attribute.
using RefuseAttribute = std::function<void(std::string const& reason)>;

/// Interns the lists of the attributes; uses the first of duplicate attributes. REQUIRES: these are
/// well-formed.
RouteLists internLists(Agent const& agent, std::span<CommunityAttribute const> communities,
                       RefuseAttribute const& refuse);

} // namespace BgpCommunities
