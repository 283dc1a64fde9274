#pragma once

#include <functional>
#include <span>
#include <string>

#include "Agent.h"
#include "ListKinds.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/** The interned lists that one route carries, one of each kind, null where it has none; a value
    that holds a reference to each. Thread-compatible. */
using RouteLists = ListKinds::Lists;

/** Receives why a well-formed attribute is left out: no list can hold it. */
using RefuseAttribute = std::function<void(std::string const& reason)>;

/** Interns the lists of the attributes, of several of one type the first. REQUIRES: those are
    well-formed. */
RouteLists internLists(Agent const& agent, std::span<CommunityAttribute const> communities,
                       RefuseAttribute const& refuse);

} // namespace BgpCommunities
