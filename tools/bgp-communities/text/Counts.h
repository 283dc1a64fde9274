#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "JsonWriter.h"
#include "Terminal.h"
#include "input/IntegerTypes.h"

namespace BgpCommunities {

/// A number with its JSON key and its label, both string literals.
struct Count {
    std::string_view key;
    std::string_view words;
    U64 value = 0;
};

using Counts = std::vector<Count>;

/// A row of counts. All rows of a table have the same keys in the same order.
struct NamedCounts {
    std::string key;
    std::string words;
    Counts counts;
};

/// Writes a key for each count into the current object.
void writeCounts(JsonWriter& json, Counts const& counts);
/// Writes an object with a key for each row.
void writeCounts(JsonWriter& json, std::span<NamedCounts const> rows);

/// "12,345"
std::string grouped(U64 number);

/// Returns "12,345" for a terminal, "12345" for programs.
std::string numberText(U64 number, TerminalWidth width);

/// Appends a line for each count.
void appendCounts(std::string& out, Counts const& counts, TerminalWidth width = std::nullopt);
/// Appends a table with a column for each count; counts that are zero in all rows are omitted.
void appendRows(std::string& out, std::string_view head, std::span<NamedCounts const> rows,
                TerminalWidth width);
/// Appends a table with a line for each count, and a column for each of the `columns`.
void appendColumns(std::string& out, std::string_view head, std::span<NamedCounts const> columns,
                   TerminalWidth width);

} // namespace BgpCommunities
