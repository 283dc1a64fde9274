#include "Counts.h"

#include <algorithm>
#include <utility>

#include "TextTable.h"

namespace BgpCommunities {

void writeCounts(JsonWriter& json, Counts const& counts) {
    for (Count const& count : counts) {
        json.key(count.key).number(count.value);
    }
}

void writeCounts(JsonWriter& json, std::span<NamedCounts const> rows) {
    json.beginObject();
    for (NamedCounts const& row : rows) {
        json.key(row.key).beginObject();
        writeCounts(json, row.counts);
        json.endObject();
    }
    json.endObject();
}

std::string grouped(U64 number) {
    std::string const digits = std::to_string(number);
    std::string out;
    for (std::size_t left = digits.size(); left != 0; --left) {
        out += digits[digits.size() - left];
        if (left % 3 == 1 && left != 1) {
            out += ',';
        }
    }
    return out;
}

std::string numberText(U64 number, TerminalWidth width) {
    return width ? grouped(number) : std::to_string(number);
}

void appendCounts(std::string& out, Counts const& counts, TerminalWidth width) {
    TextTable table;
    for (Count const& count : counts) {
        table.addRow({std::string(count.words), numberText(count.value, width)});
    }
    table.appendTo(out, width);
}

void appendRows(std::string& out, std::string_view head, std::span<NamedCounts const> rows,
                TerminalWidth width) {
    std::vector<std::string> heads = {std::string(head)};
    std::vector<std::size_t> shown;
    for (std::size_t column = 0; !rows.empty() && column < rows[0].counts.size(); ++column) {
        if (std::any_of(rows.begin(), rows.end(),
                        [&](auto const& row) { return row.counts[column].value != 0; })) {
            heads.emplace_back(rows[0].counts[column].words);
            shown.push_back(column);
        }
    }
    TextTable table;
    table.addRow(std::move(heads));
    for (NamedCounts const& row : rows) {
        std::vector<std::string> cells = {row.words};
        for (std::size_t const column : shown) {
            cells.push_back(numberText(row.counts[column].value, width));
        }
        table.addRow(std::move(cells));
    }
    table.appendTo(out, width);
}

void appendColumns(std::string& out, std::string_view head, std::span<NamedCounts const> columns,
                   TerminalWidth width) {
    std::vector<std::string> heads = {std::string(head)};
    for (NamedCounts const& column : columns) {
        heads.push_back(column.words);
    }
    TextTable table;
    table.addRow(std::move(heads));
    for (std::size_t line = 0; !columns.empty() && line < columns[0].counts.size(); ++line) {
        std::vector<std::string> cells = {std::string(columns[0].counts[line].words)};
        for (NamedCounts const& column : columns) {
            cells.push_back(numberText(column.counts[line].value, width));
        }
        table.addRow(std::move(cells));
    }
    table.appendTo(out, width);
}

} // namespace BgpCommunities
