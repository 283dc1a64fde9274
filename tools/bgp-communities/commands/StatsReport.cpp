#include "StatsReport.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "lists/ListUses.h"
#include "text/JsonWriter.h"
#include "text/Utf8.h"

namespace BgpCommunities {

namespace {

/** Returns the count per second. */
double rate(std::uint64_t count, double seconds) {
    return seconds > 0 ? static_cast<double>(count) / seconds : 0;
}

// ---- JSON ---------------------------------------------------------------------------------------

void writeUsed(JsonWriter& json, std::vector<UsageCount> const& mostUsed) {
    json.beginArray();
    for (UsageCount const& used : mostUsed) {
        json.beginObject().key("uses").number(used.uses);
        json.key("octets").octets(octetsOf(used.octets)).key("text").string(used.text);
        if (!used.meaning.empty()) {
            json.key("meaning").string(used.meaning);
        }
        json.endObject();
    }
    json.endArray();
}

void writeLengths(JsonWriter& json, std::map<std::size_t, LengthCount> const& lengths) {
    json.beginArray();
    for (auto const& [members, count] : lengths) {
        json.beginObject().key("members").number(members);
        json.key("lists").number(count.lists).key("attributes").number(count.attributes);
        json.endObject();
    }
    json.endArray();
}

void writeGrouping(JsonWriter& json, StatsGrouping const& grouping) {
    std::string_view const key = groupByKeys[static_cast<std::size_t>(grouping.by)];
    json.key(key).beginObject().key("groups").number(grouping.groups).key("rows").beginArray();
    for (StatsGroup const& row : grouping.rows) {
        json.beginObject();
        if (grouping.by == GroupBy::as) {
            json.key(key).number(row.group.group.as);
        } else {
            json.key(key).string(row.named.words);
        }
        writeCounts(json, row.named.counts);
        json.endObject();
    }
    json.endArray().endObject();
}

// ---- Text ---------------------------------------------------------------------------------------

void appendRight(std::string& out, std::uint64_t number, std::size_t columns) {
    std::string const digits = std::to_string(number);
    out.append(columns - std::min(columns, digits.size()), ' ').append(digits);
}

void appendUsed(std::string& out, std::string_view head, std::vector<UsageCount> const& mostUsed) {
    if (mostUsed.empty()) {
        return;
    }
    out.append("\nmost used ").append(head).append("\n");
    for (UsageCount const& used : mostUsed) {
        appendRight(out, used.uses, 12);
        out.append("  ").append(used.text);
        if (!used.meaning.empty()) {
            out.append("  ").append(masked(used.meaning));
        }
        out += '\n';
    }
}

/** Appends a line for each range: members, distinct lists, attributes, and a bar for the
   attributes. */
void appendLengths(std::string& out, std::string_view kind,
                   std::map<std::size_t, LengthCount> const& lengths, std::size_t columns) {
    constexpr std::size_t numbers = 9 + 10 + 12 + 2;
    auto const ranges = lengthRanges(lengths);
    if (ranges.empty()) {
        return;
    }
    std::uint64_t most = 1;
    for (LengthRange const& range : ranges) {
        most = std::max(most, range.count.attributes);
    }
    out.append("\nlengths of lists of ").append(kind).append(" communities\n");
    out.append("  members     lists  attributes\n");
    double const width = static_cast<double>(columns - std::min(columns - 1, numbers));
    for (LengthRange const& range : ranges) {
        out.append(9 - std::min<std::size_t>(9, range.name.size()), ' ').append(range.name);
        appendRight(out, range.count.lists, 10);
        appendRight(out, range.count.attributes, 12);
        double const share =
            static_cast<double>(range.count.attributes) / static_cast<double>(most);
        auto const bar = static_cast<std::size_t>(std::lround(share * width));
        out.append(bar == 0 ? 0 : 2, ' ').append(bar, '#').append("\n");
    }
}

void appendGrouping(std::string& out, StatsGrouping const& grouping) {
    std::vector<NamedCounts> rows;
    for (StatsGroup const& row : grouping.rows) {
        rows.push_back(row.named);
    }
    out += '\n';
    appendRows(out,
               std::string("routes by ") +
                   std::string(groupByKeys[static_cast<std::size_t>(grouping.by)]),
               rows);
    if (grouping.groups > rows.size()) {
        out.append("and ").append(std::to_string(grouping.groups - rows.size())).append(" more\n");
    }
}

} // namespace

std::vector<LengthRange> lengthRanges(std::map<std::size_t, LengthCount> const& lengths) {
    std::vector<LengthRange> ranges;
    std::size_t first = 1, last = 1;
    for (auto length = lengths.begin(); length != lengths.end();) {
        LengthRange& range = ranges.emplace_back();
        range.name = std::to_string(first);
        if (last != first) {
            range.name += "-" + std::to_string(last);
        }
        for (; length != lengths.end() && length->first <= last; ++length) {
            range.count.lists += length->second.lists;
            range.count.attributes += length->second.attributes;
        }
        first = last + 1;
        last *= 2;
    }
    return ranges;
}

void writeStatsJson(std::string& out, StatsSections const& sections) {
    JsonWriter json(out);
    json.beginObject();
    writeCounts(json, sections.whole);
    json.key("kinds");
    writeCounts(json, sections.kinds);
    json.key("interning");
    writeCounts(json, sections.interning);
    json.key("mostUsed").beginObject();
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        json.key(sections.kinds[kind].key).beginObject().key("values");
        writeUsed(json, sections.interned[kind].mostUsedValues);
        json.key("lists");
        writeUsed(json, sections.interned[kind].mostUsedLists);
        json.endObject();
    }
    json.endObject().key("lengths").beginObject();
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        json.key(sections.kinds[kind].key);
        writeLengths(json, sections.interned[kind].lengths);
    }
    json.endObject();
    if (!sections.groupings.empty()) {
        json.key("by").beginObject();
        for (StatsGrouping const& grouping : sections.groupings) {
            writeGrouping(json, grouping);
        }
        json.endObject();
    }
    json.key("seconds").real(sections.seconds);
    json.key("recordsPerSecond").real(rate(sections.records, sections.seconds));
    json.key("routesPerSecond").real(rate(sections.routes, sections.seconds));
    json.endObject();
}

void writeStatsText(std::string& out, StatsSections const& sections, std::size_t columns) {
    appendCounts(out, sections.whole);
    out += '\n';
    appendColumns(out, "communities", sections.kinds);
    out += '\n';
    appendColumns(out, "octets", sections.interning);
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        std::string const& words = sections.kinds[kind].words;
        InternedKind const& interned = sections.interned[kind];
        appendUsed(out, words + " communities", interned.mostUsedValues);
        appendUsed(out, "lists of " + words + " communities", interned.mostUsedLists);
        appendLengths(out, words, interned.lengths, columns);
    }
    for (StatsGrouping const& grouping : sections.groupings) {
        appendGrouping(out, grouping);
    }
    char line[160];
    std::snprintf(line, sizeof line, "\n%.2f seconds, %.0f records and %.0f routes a second\n",
                  sections.seconds, rate(sections.records, sections.seconds),
                  rate(sections.routes, sections.seconds));
    out += line;
}

} // namespace BgpCommunities
