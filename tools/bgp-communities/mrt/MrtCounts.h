#pragma once

#include <array>

#include "input/IntegerTypes.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// Counters for one kind of community attribute.
struct CommunityCounts {
    U64 attributes = 0; // whose length is a non-zero multiple of the member's size
    U64 empty = 0;      // whose length is zero
    U64 malformed = 0;  // whose length is not a multiple of the member's size
    U64 members = 0;    // of `attributes`: as sent

    void count(CommunityAttribute const& attribute);
    CommunityCounts& operator+=(CommunityCounts const& other);
    bool operator==(CommunityCounts const&) const = default;
};

/// Counters for one or several dumps.
struct MrtCounts {
    U64 records = 0;              // whole MRT records of any type
    U64 updates = 0;              // BGP UPDATE messages in BGP4MP and BGP4MP_ET
    U64 ribEntries = 0;           // one for each peer and prefix of a table dump
    U64 brokenUpdates = 0;        // of `updates`: too short for their length fields
    U64 brokenAttributeAreas = 0; // with a truncated attribute
    U64 brokenRoutes = 0;         // UPDATEs with malformed NLRI
    U64 brokenRecords = 0;        // records that contradict their length fields
    U64 skippedRecords = 0;       // of unsupported types
    U64 truncatedOctets = 0;      // after the last whole record
    std::array<CommunityCounts, communityKinds> communities{}; // by CommunityKind

    [[nodiscard]] CommunityCounts const& of(CommunityKind kind) const {
        return communities[static_cast<std::size_t>(kind)];
    }

    MrtCounts& operator+=(MrtCounts const& other);
    bool operator==(MrtCounts const&) const = default;
};

} // namespace BgpCommunities
