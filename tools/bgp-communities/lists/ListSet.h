#pragma once

#include <array>
#include <cstddef>

#include <Mox/Hash.h>

#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// Identifies an interned list; equal lists have equal ids. Not owned.
using ListId = void const*;

/// The lists of a route, by CommunityKind; null if the route has none of a kind.
using ListSet = std::array<ListId, communityKinds>;

struct ListSetHash {
    std::size_t operator()(ListSet const& lists) const noexcept {
        U64 hash = 0;
        for (ListId const list : lists) {
            hash = Mox::hashWord(hash ^ reinterpret_cast<std::uintptr_t>(list));
        }
        return hash;
    }
};

} // namespace BgpCommunities
