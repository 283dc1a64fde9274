#pragma once

#include "Agent.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/**
 * The kinds of lists, one row each: what differs between the four path attributes once their
 * values are lists of the library.
 */

struct StandardLists {
    static constexpr auto kind = CommunityKind::standard;
    using List = Routing::Bgp::CommList;
    using Decoded = Routing::Bgp::DecodedList<List>;
    static Decoded decode(Agent const& agent, Octets value) { return agent.standardList(value); }
    /** The whole path attribute, header and all. */
    static Mox::String wire(List const& list) { return list.serialize(); }
};

struct ExtendedLists {
    static constexpr auto kind = CommunityKind::extended;
    using List = Routing::Bgp::ExtCommList;
    using Decoded = Routing::Bgp::DecodedList<List>;
    static Decoded decode(Agent const& agent, Octets value) { return agent.extendedList(value); }
    static Mox::String wire(List const& list) {
        return list.serialize(List::Serialization(List::Serialization::all));
    }
};

struct Ip6Lists {
    static constexpr auto kind = CommunityKind::ip6Extended;
    using List = Routing::Bgp::ExtCommIp6List;
    using Decoded = Routing::Bgp::DecodedList<List>;
    static Decoded decode(Agent const& agent, Octets value) { return agent.ip6List(value); }
    static Mox::String wire(List const& list) { return list.serialize(true); }
};

struct LargeLists {
    static constexpr auto kind = CommunityKind::large;
    using List = Routing::Bgp::LargeCommList;
    using Decoded = Routing::Bgp::DecodedList<List>;
    static Decoded decode(Agent const& agent, Octets value) { return agent.largeList(value); }
    static Mox::String wire(List const& list) { return list.serialize(); }
};

} // namespace BgpCommunities
