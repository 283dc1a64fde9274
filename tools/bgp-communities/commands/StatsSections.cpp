#include "StatsSections.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace BgpCommunities {

namespace {

Counts wholeCounts(DumpResult const& result, U64 routes) {
    MrtCounts const& counts = result.counts;
    return {
        {"files", "files", result.files},
        {"records", "records", counts.records},
        {"updates", "UPDATEs", counts.updates},
        {"ribEntries", "RIB entries", counts.ribEntries},
        {"routes", "routes", routes},
        {"brokenUpdates", "broken UPDATEs", counts.brokenUpdates},
        {"brokenAttributeAreas", "broken attribute areas", counts.brokenAttributeAreas},
        {"brokenRoutes", "UPDATEs with broken routes", counts.brokenRoutes},
        {"brokenRecords", "broken records", counts.brokenRecords},
        {"skippedRecords", "unsupported records", counts.skippedRecords},
        {"truncatedOctets", "octets of a truncated record", counts.truncatedOctets},
    };
}

/// The octets of communities as sent, and in memory.
struct Sizes {
    U64 sent = 0;
    U64 objects = 0;
    U64 tables = 0;

    Sizes& operator+=(Sizes const& other) {
        sent += other.sent;
        objects += other.objects;
        tables += other.tables;
        return *this;
    }

    [[nodiscard]] Counts counts() const {
        return {
            {"sentOctets", "sent", sent},
            {"heldOctets", "held", objects + tables},
            {"objectOctets", "as objects", objects},
            {"tableOctets", "as tables", tables},
        };
    }
};

Counts kindCounts(CommunityKindTraits const& traits, CommunityCounts const& counts,
                  ListCounter::Refused const& refused, InternedKind const& interned) {
    return {
        {"attribute", "attribute", traits.attributeType},
        {"attributes", "attributes", counts.attributes - refused.attributes},
        {"empty", "empty", counts.empty},
        {"malformed", "malformed", counts.malformed},
        {"refused", "refused", refused.attributes},
        {"members", "members", counts.members - refused.members},
        {"membersUnique", "unique members", interned.membersUnique},
        {"distinctLists", "distinct lists", interned.distinctLists},
        {"distinctValues", "distinct values", interned.distinctValues},
    };
}

void addKinds(StatsSections& sections, DumpResult const& result, ListCounter const& counter,
              StatsOptions const& options) {
    Sizes all;
    for (std::size_t number = 0; number < communityKinds; ++number) {
        auto const kind = static_cast<CommunityKind>(number);
        CommunityKindTraits const& traits = traitsOf(kind);
        CommunityCounts const& counts = result.counts.of(kind);
        ListCounter::Refused const& refused = counter.refused(kind);
        InternedKind& interned = sections.interned[number];
        interned = counter.lists(kind).summary(options.top);
        for (UsageCount& value : interned.mostUsedValues) {
            value.meaning = options.dictionary.meaning(kind, octetsOf(value.octets));
        }
        Sizes const sizes = {(counts.members - refused.members) * traits.memberOctets,
                             interned.objectOctets, interned.tableOctets};
        all += sizes;
        std::string const key(traits.key), words(traits.words);
        sections.kinds.push_back({key, words, kindCounts(traits, counts, refused, interned)});
        sections.interning.push_back({key, words, sizes.counts()});
    }
    sections.interning.push_back({"total", "all", all.counts()});
}

std::string nameOf(GroupBy by, RouteGroup const& group) {
    std::string name;
    switch (by) {
    case GroupBy::peer:
        appendText(name, group.peer);
        break;
    case GroupBy::as:
        name = "AS" + std::to_string(group.as);
        break;
    case GroupBy::family:
        appendText(name, group.family);
        break;
    case GroupBy::hour:
        name = hourText(group.hour);
        break;
    }
    return name;
}

NamedCounts namedCounts(GroupBy by, GroupCounts const& group) {
    NamedCounts named;
    named.words = nameOf(by, group.group);
    named.counts = {{"routes", "routes", group.routes}};
    if (by != GroupBy::as) { // always equal to routes, and zero
        named.counts.push_back({"withdrawn", "withdrawn", group.withdrawn});
        named.counts.push_back({"carrying", "carrying", group.carrying});
    }
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        named.counts.push_back(
            {communityKindTraits[kind].key, communityKindTraits[kind].key, group.kinds[kind]});
    }
    named.counts.push_back({"distinctValues", "distinct", group.values});
    return named;
}

StatsGrouping grouped(RouteTally const& tally, GroupBy by, std::size_t top) {
    auto const groups = tally.groups(by);
    StatsGrouping grouping = {by, groups.size(), {}};
    bool const isSeries = by == GroupBy::hour;
    std::size_t const shown = isSeries ? groups.size() : std::min(top, groups.size());
    for (GroupCounts const& group : std::span(groups).first(shown)) {
        grouping.rows.push_back({group, namedCounts(by, group)});
    }
    return grouping;
}

} // namespace

std::string hourText(U32 hour) {
    std::time_t const time = std::time_t{hour} * 3600;
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

StatsSections statsSections(DumpResult const& result, RouteTally const& tally,
                            StatsOptions const& options, double seconds) {
    StatsSections sections;
    sections.records = result.counts.records;
    sections.routes = tally.routes();
    sections.seconds = seconds;
    sections.whole = wholeCounts(result, tally.routes());
    addKinds(sections, result, tally, options);
    for (GroupBy const by : options.groupings) {
        sections.groupings.push_back(grouped(tally, by, options.top));
    }
    return sections;
}

} // namespace BgpCommunities
