#pragma once

#include <array>
#include <cstdint>

#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// Counters for one kind of community attribute.
struct CommunityCounts {
    std::uint64_t attributes = 0; // whose length is a non-zero multiple of the member's size
    std::uint64_t empty = 0;      // whose length is zero
    std::uint64_t malformed = 0;  // whose length is not a multiple of the member's size
    std::uint64_t repeated = 0;   // of `attributes`: not the first of its type in its area
    std::uint64_t members = 0;    // of `attributes`: as sent

    void count(CommunityAttribute const& attribute);
    CommunityCounts& operator+=(CommunityCounts const& other);
    bool operator==(CommunityCounts const&) const = default;
};

/// Counters for one or several dumps.
struct MrtCounts {
    std::uint64_t records = 0;              // whole MRT records of any type
    std::uint64_t updates = 0;              // BGP UPDATE messages in BGP4MP and BGP4MP_ET
    std::uint64_t ribEntries = 0;           // one for each peer and prefix of a table dump
    std::uint64_t brokenUpdates = 0;        // of `updates`: too short for their length fields
    std::uint64_t brokenAttributeAreas = 0; // with a truncated attribute
    std::uint64_t brokenRoutes = 0;         // UPDATEs with malformed NLRI
    std::uint64_t brokenRecords = 0;        // records that contradict their length fields
    std::uint64_t skippedRecords = 0;       // of unsupported types
    std::uint64_t truncatedOctets = 0;      // after the last whole record
    std::array<CommunityCounts, communityKinds> communities{}; // by CommunityKind

    [[nodiscard]] CommunityCounts const& of(CommunityKind kind) const {
        return communities[static_cast<std::size_t>(kind)];
    }

    MrtCounts& operator+=(MrtCounts const& other);
    bool operator==(MrtCounts const&) const = default;
};

} // namespace BgpCommunities
