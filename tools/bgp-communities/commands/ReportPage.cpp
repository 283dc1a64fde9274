#include "ReportPage.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

#include "StatsReport.h"
#include "text/MemberName.h"
#include "text/Utf8.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view pageHead = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy"
 content="default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'">
<title>BGP communities</title>
<style>
:root { color-scheme: light dark; --text: #1a1f24; --faint: #5b6670; --page: #fbfbfa;
  --card: #fff; --line: #d9dde1; --bar: #2f6fb0; --bar2: #b9c8d8; }
@media (prefers-color-scheme: dark) { :root { --text: #e3e6e9; --faint: #98a2ac;
  --page: #14171a; --card: #1c2125; --line: #343b42; --bar: #6fa8dc; --bar2: #3c4a58; } }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 60rem; padding: 1.5rem 1rem 4rem; background: var(--page);
  color: var(--text); font: 1rem/1.5 system-ui, sans-serif; }
h1 { font-size: 1.6rem; margin: 0; }
h2 { font-size: 1.15rem; margin: 0 0 .25rem; }
p { margin: 0 0 1rem; color: var(--faint); overflow-wrap: anywhere; }
section { margin: 1rem 0; padding: 1rem; background: var(--card); border: 1px solid var(--line);
  border-radius: .5rem; }
.cards { display: grid; grid-template-columns: repeat(auto-fit, minmax(9rem, 1fr)); gap: 1rem; }
.cards div { display: flex; flex-direction: column; }
.cards b { font-size: 1.4rem; font-variant-numeric: tabular-nums; }
.cards span { color: var(--faint); }
.bars { display: grid; grid-template-columns: minmax(0, 2fr) minmax(0, 3fr) auto;
  gap: .3rem .75rem; align-items: center; }
.bars span { overflow-wrap: anywhere; line-height: 1.25; }
.bars b { font-weight: normal; text-align: right; font-variant-numeric: tabular-nums; }
@media (max-width: 40rem) { .bars { grid-template-columns: 1fr auto; row-gap: 0; }
  .bars span { grid-column: 1 / -1; margin-top: .4rem; } }
svg { display: block; width: 100%; height: .9rem; }
svg.series { height: 9rem; border-bottom: 1px solid var(--line); }
.ends { display: flex; justify-content: space-between; color: var(--faint); font-size: .85rem; }
.bar { fill: var(--bar); } .bar2 { fill: var(--bar2); }
.key::before { content: ""; display: inline-block; width: .8rem; height: .8rem;
  margin-right: .3rem; background: var(--bar); } .key2::before { background: var(--bar2); }
details { margin-top: 1rem; } summary { cursor: pointer; color: var(--faint); }
.scroll { overflow-x: auto; }
table { width: 100%; border-collapse: collapse; font-size: .9rem; }
th, td { padding: .25rem .5rem; border-bottom: 1px solid var(--line); text-align: left; }
td { overflow-wrap: anywhere; min-width: 7rem; }
td:first-child { min-width: 11rem; }
.number { text-align: right; font-variant-numeric: tabular-nums; overflow-wrap: normal;
  min-width: 0; }
th button { all: unset; cursor: pointer; }
th button:focus-visible { outline: 2px solid var(--bar); }
</style>
</head>
<body>
)html";

/// Sorts a table by the clicked column; numbers in descending order first.
constexpr std::string_view pageTail = R"html(<script>
for (const head of document.querySelectorAll("th")) {
  const button = document.createElement("button");
  button.append(...head.childNodes);
  head.append(button);
  const isNumber = head.classList.contains("number");
  const value = row => {
    const text = row.cells[head.cellIndex].textContent;
    return isNumber ? Number(text.replaceAll(",", "")) : text;
  };
  button.addEventListener("click", () => {
    const down = head.ariaSort ? head.ariaSort === "ascending" : isNumber;
    for (const other of head.parentNode.cells) other.ariaSort = null;
    head.ariaSort = down ? "descending" : "ascending";
    const body = head.closest("table").tBodies[0];
    const order = (a, b) => value(a) < value(b) ? -1 : value(a) > value(b) ? 1 : 0;
    body.append(...[...body.rows].sort((a, b) => down ? order(b, a) : order(a, b)));
  });
}
</script>
</body>
</html>
)html";

std::string escaped(std::string_view text) {
    std::string out;
    for (char const character : masked(text)) {
        switch (character) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += character;
        }
    }
    return out;
}

// ---- Charts -------------------------------------------------------------------------------------

struct Bar {
    std::string label;
    U64 value = 0;
    U64 part = 0; // part of `value`, drawn over it
    U32 hour = 0; // in a series, since 1970
};

/// Returns `value` as a percentage of `most`, for SVG.
std::string percent(U64 value, U64 most) {
    char text[32];
    double const share = most == 0 ? 0 : static_cast<double>(value) / static_cast<double>(most);
    std::snprintf(text, sizeof text, "%.2f", 100 * share);
    return text;
}

U64 largest(std::span<Bar const> bars) {
    auto const most = std::max_element(
        bars.begin(), bars.end(), [](Bar const& a, Bar const& b) { return a.value < b.value; });
    return most == bars.end() ? 0 : most->value;
}

/// Appends a horizontal bar for each.
void appendBars(std::string& out, std::span<Bar const> bars) {
    U64 const most = largest(bars);
    out += "<div class=\"bars\">\n";
    for (Bar const& bar : bars) {
        std::string const label = escaped(bar.label);
        out.append("<span title=\"").append(label).append("\">").append(label).append("</span>");
        out += "<svg viewBox=\"0 0 100 10\" preserveAspectRatio=\"none\" aria-hidden=\"true\">";
        out += "<rect class=\"bar\" width=\"" + percent(bar.value, most) + "\" height=\"10\"/>";
        out += "</svg><b>" + grouped(bar.value) + "</b>\n";
    }
    out += "</div>\n";
}

/// Appends a column for each, at its hour: the value, and its part over it.
void appendSeries(std::string& out, std::span<Bar const> bars, std::string_view title) {
    U64 const most = largest(bars);
    constexpr U32 fewest = 24;   // minimum number of hours in the width
    constexpr U32 visible = 400; // maximum number of columns
    U32 const first = bars.empty() ? 0 : bars.front().hour;
    U32 const hours = bars.empty() ? 0 : bars.back().hour - first + 1;
    U32 const columnWidth = std::max(hours / visible, 1U);
    std::string const width = std::to_string(std::max(hours + hours / visible, fewest));
    out += "<svg class=\"series\" viewBox=\"0 0 " + width +
           " 100\" preserveAspectRatio=\"none\" role=\"img\"><title>" + escaped(title) +
           "</title>\n";
    for (std::size_t at = 0; at < bars.size(); ++at) {
        Bar const& bar = bars[at];
        bool const isLast = at + 1 == bars.size();
        U32 const room = isLast ? columnWidth : bars[at + 1].hour - bar.hour;
        std::string const barWidth = std::to_string(std::min(columnWidth, room));
        auto const column = [&](std::string_view style, U64 value) {
            std::string const height = percent(value, most);
            out.append("<rect class=\"").append(style).append("\" x=\"");
            out.append(std::to_string(bar.hour - first)).append("\" width=\"").append(barWidth);
            out.append("\" height=\"").append(height).append("\" y=\"");
            out.append(percent(most - value, most)).append("\"/>");
        };
        column("bar2", bar.value);
        column("bar", bar.part);
        out += '\n';
    }
    out += "</svg>\n";
    if (bars.size() == 1) {
        out += "<div class=\"ends\"><span>" + escaped(bars.front().label) + "</span></div>\n";
    } else if (!bars.empty()) {
        out += "<div class=\"ends\"><span>" + escaped(bars.front().label) + "</span><span>" +
               escaped(bars.back().label) + "</span></div>\n";
    }
}

// ---- Tables -------------------------------------------------------------------------------------

/// A table with columns of text, then columns of numbers.
struct Table {
    std::string id;
    std::vector<std::string> heads;
    std::size_t texts = 1; // columns of text
    std::vector<std::vector<std::string>> rows;
};

void appendTable(std::string& out, Table const& table) {
    auto const cell = [&](char const* tag, std::size_t column, std::string const& text) {
        out.append("<").append(tag).append(column < table.texts ? ">" : " class=\"number\">");
        out.append(escaped(text)).append("</").append(tag).append(">");
    };
    auto const row = [&](char const* tag, std::vector<std::string> const& cells) {
        out += "<tr>";
        for (std::size_t column = 0; column < cells.size(); ++column) {
            cell(tag, column, cells[column]);
        }
        out += "</tr>\n";
    };
    out += "<details><summary>Table</summary><div class=\"scroll\"><table id=\"" + table.id +
           "\">\n<thead>";
    row("th", table.heads);
    out += "</thead><tbody>\n";
    for (auto const& cells : table.rows) {
        row("td", cells);
    }
    out += "</tbody></table></div></details>\n";
}

/// Adds a row with the counts as columns, and their labels as heads.
void addCounts(Table& table, std::vector<std::string> texts, Counts const& counts) {
    bool const isFirst = table.rows.empty();
    for (Count const& count : counts) {
        if (isFirst) {
            table.heads.emplace_back(count.words);
        }
        texts.push_back(grouped(count.value));
    }
    table.rows.push_back(std::move(texts));
}

// ---- Sections -----------------------------------------------------------------------------------

void beginSection(std::string& out, std::string_view title, std::string_view text) {
    out.append("<section>\n<h2>").append(title).append("</h2>\n<p>").append(text).append("</p>\n");
}

constexpr std::string_view sectionEnd = "</section>\n";

StatsGrouping const& groupingOf(ReportContent const& content, GroupBy by) {
    auto const& all = content.sections.groupings;
    return *std::find_if(all.begin(), all.end(), [&](auto const& one) { return one.by == by; });
}

U64 sum(StatsGrouping const& grouping, U64 GroupCounts::*count) {
    U64 sum = 0;
    for (StatsGroup const& row : grouping.rows) {
        sum += row.group.*count;
    }
    return sum;
}

void appendHead(std::string& out, ReportContent const& content) {
    out += "<h1>BGP communities</h1>\n<p>";
    for (std::size_t file = 0; file < content.files.size(); ++file) {
        out += (file == 0 ? "" : ", ") + escaped(content.files[file]);
    }
    StatsGrouping const& hours = groupingOf(content, GroupBy::hour);
    U64 lists = 0, values = 0;
    for (InternedKind const& interned : content.sections.interned) {
        lists += interned.distinctLists;
        values += interned.distinctValues;
    }
    struct Card {
        char const* name;
        U64 value;
    };
    out += "</p>\n<section class=\"cards\">\n";
    for (auto const& [name, value] :
         {Card{"routes", sum(hours, &GroupCounts::routes)},
          {"routes with communities", sum(hours, &GroupCounts::carrying)},
          {"withdrawn routes", sum(hours, &GroupCounts::withdrawn)},
          {"distinct lists", lists},
          {"distinct communities", values}}) {
        out += "<div><b>" + grouped(value) + "</b><span>" + name + "</span></div>\n";
    }
    out += sectionEnd;
}

/// A row of the most used communities: its name, and what it means if `hasMeanings`.
std::vector<std::string> usedRow(CommunityKind kind, UsageCount const& used, bool hasMeanings) {
    std::string hex;
    JsonWriter(hex).octets(octetsOf(used.octets));
    std::vector<std::string> row(1);
    appendMemberName(row[0], kind, octetsOf(used.octets));
    if (hasMeanings) {
        row.push_back(used.meaning);
    }
    row.insert(row.end(), {used.text, std::string(traitsOf(kind).key),
                           hex.substr(1, hex.size() - 2), grouped(used.uses)});
    return row;
}

void appendMostUsed(std::string& out, ReportContent const& content) {
    beginSection(out, "Most used communities", "By the number of attributes that carry them.");
    Table table = {"most-used", {"name", "text", "kind", "octets", "attributes"}, 4, {}};
    if (content.hasMeanings) {
        table.heads.insert(table.heads.begin() + 1, "meaning");
        ++table.texts;
    }
    std::vector<Bar> bars;
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        for (UsageCount const& used : content.sections.interned[kind].mostUsedValues) {
            auto row = usedRow(static_cast<CommunityKind>(kind), used, content.hasMeanings);
            bars.push_back({row[0] + (used.meaning.empty() ? "" : ": " + used.meaning), used.uses});
            table.rows.push_back(std::move(row));
        }
    }
    std::stable_sort(bars.begin(), bars.end(),
                     [](Bar const& a, Bar const& b) { return a.value > b.value; });
    appendBars(out, std::span(bars).first(std::min(content.top, bars.size())));
    appendTable(out, table);
    out += sectionEnd;
}

void appendGrouping(std::string& out, ReportContent const& content, GroupBy by,
                    std::string_view title, std::string_view text) {
    StatsGrouping const& grouping = groupingOf(content, by);
    std::string const key(groupByKeys[static_cast<std::size_t>(by)]);
    beginSection(out, title, text);
    Table table = {"by-" + key, {key}, 1, {}};
    std::vector<Bar> bars;
    for (StatsGroup const& row : grouping.rows) {
        bars.push_back(
            {row.named.words, row.group.routes, row.group.carrying, row.group.group.hour});
        addCounts(table, {row.named.words}, row.named.counts);
    }
    if (by == GroupBy::hour) {
        out += "<div class=\"ends\"><span>" + grouped(largest(bars)) + "</span></div>\n";
        appendSeries(out, bars, title);
        out += "<div class=\"ends\"><span class=\"key\">routes with communities</span>"
               "<span class=\"key key2\">all routes</span></div>\n";
    } else {
        appendBars(out, bars);
    }
    appendTable(out, table);
    out += sectionEnd;
}

void appendLengths(std::string& out, ReportContent const& content) {
    beginSection(out, "Lengths of lists", "By the number of attributes with lists of this length.");
    Table table = {"lengths", {"kind", "members", "distinct lists", "attributes"}, 1, {}};
    std::vector<Bar> bars;
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        NamedCounts const& named = content.sections.kinds[kind];
        auto const& lengths = content.sections.interned[kind].lengths;
        for (LengthRange const& range : lengthRanges(lengths)) {
            bars.push_back({named.words + ", " + range.name, range.count.attributes});
        }
        for (auto const& [members, count] : lengths) {
            table.rows.push_back(
                {named.key, grouped(members), grouped(count.lists), grouped(count.attributes)});
        }
    }
    appendBars(out, bars);
    appendTable(out, table);
    out += sectionEnd;
}

void appendTargets(std::string& out, ReportContent const& content) {
    if (content.targets.empty()) {
        return;
    }
    beginSection(out, "Route targets", "By routes of each peer.");
    Table table = {"targets", {"route target", "peer", "routes"}, 2, {}};
    std::vector<Bar> bars;
    for (TargetUse const& use : content.targets) {
        std::string peer;
        appendText(peer, use.peer);
        if (bars.size() < content.top) {
            bars.push_back({use.target + ", " + peer, use.routes});
        }
        table.rows.push_back({use.target, peer, grouped(use.routes)});
    }
    appendBars(out, bars);
    appendTable(out, table);
    out += sectionEnd;
}

void appendInterning(std::string& out, ReportContent const& content) {
    beginSection(out, "What interning saves",
                 "Octets of all communities as sent, and of the distinct values and lists in "
                 "memory, with their tables.");
    Table table = {"interning", {"kind"}, 1, {}};
    std::vector<Bar> bars;
    for (NamedCounts const& row : content.sections.interning) {
        bars.push_back({row.words + ", sent", row.counts[0].value});
        bars.push_back({row.words + ", held", row.counts[1].value});
        addCounts(table, {row.key}, row.counts);
    }
    appendBars(out, bars);
    appendTable(out, table);
    out += sectionEnd;
}

} // namespace

std::string reportPage(ReportContent const& content) {
    std::string out(pageHead);
    appendHead(out, content);
    appendMostUsed(out, content);
    appendGrouping(out, content, GroupBy::as, "Autonomous systems",
                   "By routes with a community of this AS.");
    appendGrouping(out, content, GroupBy::hour, "Use over time", "Routes by hour, UTC.");
    appendGrouping(out, content, GroupBy::peer, "Peers", "By routes.");
    appendGrouping(out, content, GroupBy::family, "Address families", "By routes.");
    appendLengths(out, content);
    appendTargets(out, content);
    appendInterning(out, content);
    return out.append(pageTail);
}

} // namespace BgpCommunities
