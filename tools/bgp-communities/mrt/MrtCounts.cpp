#include "MrtCounts.h"

namespace BgpCommunities {

void CommunityCounts::count(CommunityAttribute const& attribute) {
    switch (attribute.form()) {
    case CommunityAttribute::Form::wellFormed:
        ++attributes;
        members += attribute.members();
        break;
    case CommunityAttribute::Form::empty:
        ++empty;
        break;
    case CommunityAttribute::Form::malformed:
        ++malformed;
        break;
    }
}

CommunityCounts& CommunityCounts::operator+=(CommunityCounts const& other) {
    attributes += other.attributes;
    empty += other.empty;
    malformed += other.malformed;
    members += other.members;
    return *this;
}

MrtCounts& MrtCounts::operator+=(MrtCounts const& other) {
    records += other.records;
    updates += other.updates;
    ribEntries += other.ribEntries;
    brokenUpdates += other.brokenUpdates;
    brokenAttributeAreas += other.brokenAttributeAreas;
    brokenRoutes += other.brokenRoutes;
    brokenRecords += other.brokenRecords;
    skippedRecords += other.skippedRecords;
    truncatedOctets += other.truncatedOctets;
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        communities[kind] += other.communities[kind];
    }
    return *this;
}

} // namespace BgpCommunities
