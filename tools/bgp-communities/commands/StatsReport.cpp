#include "StatsReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>

#include "input/IntegerTypes.h"
#include "lists/ListUses.h"
#include "text/JsonWriter.h"
#include "text/MemberName.h"
#include "text/Terminal.h"
#include "text/Utf8.h"

namespace BgpCommunities {

namespace {

/// Returns the count per second.
double rate(U64 count, double seconds) {
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

void appendRight(std::string& out, std::string_view text, std::size_t columns) {
    out.append(columns - std::min(columns, text.size()), ' ').append(text);
}

/// Appends the most used lists, with the names of their members.
void appendUsedLists(std::string& out, CommunityKind kind, std::string_view words,
                     std::vector<UsageCount> const& lists, TerminalWidth width) {
    if (lists.empty()) {
        return;
    }
    out.append("\nmost used lists of ").append(words).append(" communities\n");
    for (UsageCount const& used : lists) {
        appendRight(out, numberText(used.uses, width), 12);
        appendMemberNames(out += "  ", kind, octetsOf(used.octets));
        out += '\n';
    }
}

/// Appends the most used values: their names, their meanings, and the library's texts if other than
/// the names.
void appendUsedValues(std::string& out, CommunityKind kind, std::string_view words,
                      std::vector<UsageCount> const& values, TerminalWidth width) {
    if (values.empty()) {
        return;
    }
    std::vector<std::string> names;
    std::size_t longest = 0;
    for (UsageCount const& used : values) {
        appendMemberName(names.emplace_back(), kind, octetsOf(used.octets));
        longest = std::max(longest, names.back().size());
    }
    out.append("\nmost used ").append(words).append(" communities\n");
    for (std::size_t row = 0; row < values.size(); ++row) {
        UsageCount const& used = values[row];
        std::string const meaning = masked(used.meaning);
        std::string_view const text = used.text == names[row] ? std::string_view() : used.text;
        appendRight(out, numberText(used.uses, width), 12);
        out.append("  ").append(names[row]);
        if (!meaning.empty() || !text.empty()) {
            out.append(longest - names[row].size() + 2, ' ').append(meaning);
            out.append(meaning.empty() || text.empty() ? "" : "  ").append(text);
        }
        out += '\n';
    }
}

/// Appends a line for each range: members, distinct lists, attributes, and a bar for the
/// attributes.
void appendLengths(std::string& out, std::string_view kind,
                   std::map<std::size_t, LengthCount> const& lengths, TerminalWidth terminal) {
    constexpr std::size_t numbers = 9 + 10 + 12 + 2;
    auto const ranges = lengthRanges(lengths);
    if (ranges.empty()) {
        return;
    }
    U64 most = 1;
    for (LengthRange const& range : ranges) {
        most = std::max(most, range.count.attributes);
    }
    out.append("\nlengths of lists of ").append(kind).append(" communities\n");
    out.append("  members     lists  attributes\n");
    std::size_t const columns = terminal.value_or(defaultColumns);
    double const width = static_cast<double>(columns - std::min(columns - 1, numbers));
    for (LengthRange const& range : ranges) {
        appendRight(out, range.name, 9);
        appendRight(out, numberText(range.count.lists, terminal), 10);
        appendRight(out, numberText(range.count.attributes, terminal), 12);
        double const share =
            static_cast<double>(range.count.attributes) / static_cast<double>(most);
        auto const bar = static_cast<std::size_t>(std::lround(share * width));
        out.append(bar == 0 ? 0 : 2, ' ').append(bar, '#').append("\n");
    }
}

void appendGrouping(std::string& out, StatsGrouping const& grouping, TerminalWidth width) {
    std::vector<NamedCounts> rows;
    for (StatsGroup const& row : grouping.rows) {
        rows.push_back(row.named);
    }
    out += '\n';
    appendRows(out,
               std::string("routes by ") +
                   std::string(groupByKeys[static_cast<std::size_t>(grouping.by)]),
               rows, width);
    if (grouping.groups > rows.size()) {
        out.append("and ").append(numberText(grouping.groups - rows.size(), width));
        out += " more\n";
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

void writeStatsText(std::string& out, StatsSections const& sections, TerminalWidth width) {
    appendCounts(out, sections.whole, width);
    out += '\n';
    appendColumns(out, "communities", sections.kinds, width);
    out += '\n';
    appendColumns(out, "octets", sections.interning, width);
    for (std::size_t number = 0; number < communityKinds; ++number) {
        auto const kind = static_cast<CommunityKind>(number);
        std::string const& words = sections.kinds[number].words;
        InternedKind const& interned = sections.interned[number];
        appendUsedValues(out, kind, words, interned.mostUsedValues, width);
        appendUsedLists(out, kind, words, interned.mostUsedLists, width);
        appendLengths(out, words, interned.lengths, width);
    }
    for (StatsGrouping const& grouping : sections.groupings) {
        appendGrouping(out, grouping, width);
    }
    auto const perSecond = [&](U64 count) {
        return numberText(static_cast<U64>(rate(count, sections.seconds)), width);
    };
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "\n%.2f", sections.seconds);
    out.append(seconds).append(" seconds, ").append(perSecond(sections.records));
    out.append(" records and ").append(perSecond(sections.routes)).append(" routes a second\n");
}

} // namespace BgpCommunities
