#include "StatsReport.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <utility>
#include <vector>

#include "lists/KindKeys.h"
#include "lists/ListUses.h"
#include "text/JsonWriter.h"
#include "text/TextTable.h"

namespace BgpCommunities {

namespace {

struct KindNames {
    std::string_view key;
    std::string_view words;
};

/** By CommunityKind. */
constexpr std::array<KindNames, communityKinds> kindNames = {{
    {kindKeys[0], "standard"},
    {kindKeys[1], "extended"},
    {kindKeys[2], "IPv6 extended"},
    {kindKeys[3], "large"},
}};

/** A number with its name, in JSON and for people. */
struct Count {
    std::string_view key;
    std::string_view words;
    std::uint64_t value;
};

using Counts = std::vector<Count>;

/** The counts of one kind, or of all: a row of a table whose columns are the same in each. */
struct Row {
    KindNames names;
    Counts counts;
};

using Rows = std::vector<Row>;

void writeCounts(JsonWriter& json, Counts const& counts) {
    for (Count const& count : counts) {
        json.key(count.key).number(count.value);
    }
}

void writeRows(JsonWriter& json, Rows const& rows) {
    json.beginObject();
    for (Row const& row : rows) {
        json.key(row.names.key).beginObject();
        writeCounts(json, row.counts);
        json.endObject();
    }
    json.endObject();
}

void writeUsed(JsonWriter& json, std::vector<Used> const& mostUsed) {
    json.beginArray();
    for (Used const& used : mostUsed) {
        json.beginObject().key("uses").number(used.uses);
        json.key("octets").octets(octetsOf(used.octets)).key("text").string(used.text).endObject();
    }
    json.endArray();
}

void appendCounts(std::string& out, Counts const& counts) {
    TextTable table;
    for (Count const& count : counts) {
        table.rowIs({std::string(count.words), std::to_string(count.value)});
    }
    table.appendTo(out);
}

void appendRows(std::string& out, std::string_view head, Rows const& rows) {
    TextTable table;
    std::vector<std::string> columns = {std::string(head)};
    for (Count const& count : rows.front().counts) {
        columns.emplace_back(count.words);
    }
    table.rowIs(std::move(columns));
    for (Row const& row : rows) {
        std::vector<std::string> cells = {std::string(row.names.words)};
        for (Count const& count : row.counts) {
            cells.push_back(std::to_string(count.value));
        }
        table.rowIs(std::move(cells));
    }
    out += '\n';
    table.appendTo(out);
}

void appendUsed(std::string& out, std::string_view head, std::vector<Used> const& mostUsed) {
    if (mostUsed.empty()) {
        return;
    }
    out.append("\nmost used ").append(head).append("\n");
    for (Used const& used : mostUsed) {
        std::string const uses = std::to_string(used.uses);
        out.append(12 - std::min<std::size_t>(uses.size(), 12), ' ');
        out.append(uses).append("  ").append(used.text).append("\n");
    }
}

Counts wholeCounts(DumpResult const& result, std::uint64_t routes) {
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
        {"skippedRecords", "records not read", counts.skippedRecords},
        {"truncatedOctets", "octets of a cut record", counts.truncatedOctets},
    };
}

/** The octets of what was sent, and of what is held instead. */
struct Sizes {
    std::uint64_t sent = 0;
    std::uint64_t objects = 0;
    std::uint64_t tables = 0;

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

/** The report in the order in which both forms tell it. */
struct Sections {
    Counts whole;
    Rows kinds;
    Rows interning;
    std::array<InternedKind, communityKinds> interned;
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

Sections sectionsOf(StatsReport const& report) {
    Sections sections;
    sections.whole = wholeCounts(report.result, report.counter.routes());
    Sizes all;
    for (std::size_t number = 0; number < communityKinds; ++number) {
        auto const kind = static_cast<CommunityKind>(number);
        CommunityKindTraits const& traits = traitsOf(kind);
        CommunityCounts const& counts = report.result.counts.of(kind);
        ListCounter::Refused const& refused = report.counter.refused(kind);
        InternedKind& interned = sections.interned[number];
        interned = report.counter.lists(kind).summary();
        Sizes const sizes = {(counts.members - refused.members) * traits.memberOctets,
                             interned.objectOctets, interned.tableOctets};
        all += sizes;
        sections.kinds.push_back(
            {kindNames[number], kindCounts(traits, counts, refused, interned)});
        sections.interning.push_back({kindNames[number], sizes.counts()});
    }
    sections.interning.push_back({{"total", "all"}, all.counts()});
    return sections;
}

/** How many a second. */
double rate(std::uint64_t count, double seconds) {
    return seconds > 0 ? static_cast<double>(count) / seconds : 0;
}

} // namespace

void StatsReport::writeJson(std::string& out) const {
    Sections const sections = sectionsOf(*this);
    JsonWriter json(out);
    json.beginObject();
    writeCounts(json, sections.whole);
    json.key("kinds");
    writeRows(json, sections.kinds);
    json.key("interning");
    writeRows(json, sections.interning);
    json.key("mostUsed").beginObject();
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        json.key(kindNames[kind].key).beginObject().key("values");
        writeUsed(json, sections.interned[kind].mostUsedValues);
        json.key("lists");
        writeUsed(json, sections.interned[kind].mostUsedLists);
        json.endObject();
    }
    json.endObject().key("seconds").real(seconds);
    json.key("recordsPerSecond").real(rate(result.counts.records, seconds));
    json.key("routesPerSecond").real(rate(counter.routes(), seconds));
    json.endObject();
}

void StatsReport::writeText(std::string& out) const {
    Sections const sections = sectionsOf(*this);
    appendCounts(out, sections.whole);
    appendRows(out, "communities", sections.kinds);
    appendRows(out, "octets", sections.interning);
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        std::string const words(kindNames[kind].words);
        appendUsed(out, words + " communities", sections.interned[kind].mostUsedValues);
        appendUsed(out, "lists of " + words + " communities",
                   sections.interned[kind].mostUsedLists);
    }
    char line[160];
    std::snprintf(line, sizeof line, "\n%.2f seconds, %.0f records and %.0f routes a second\n",
                  seconds, rate(result.counts.records, seconds), rate(counter.routes(), seconds));
    out += line;
}

} // namespace BgpCommunities
