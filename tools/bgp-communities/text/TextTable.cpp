#include "TextTable.h"

#include <algorithm>
#include <cstddef>

namespace BgpCommunities {

TextTable::Widths TextTable::widths() const {
    Widths widths;
    for (auto const& row : rows_) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    return widths;
}

void TextTable::appendTo(std::string& out, TerminalWidth width) const {
    if (rows_.empty()) {
        return;
    }
    Widths const all = widths();
    std::size_t end = 1;
    do {
        std::size_t const begin = end;
        for (std::size_t octets = all[0]; end < all.size(); ++end) {
            octets += 2 + all[end];
            if (width && octets > *width && end != begin) {
                break;
            }
        }
        out += begin == 1 ? "" : "\n";
        appendColumns(out, all, begin, end);
    } while (end < all.size());
}

/// Appends the first column, and those from `begin` to before `end`.
void TextTable::appendColumns(std::string& out, Widths const& widths, std::size_t begin,
                              std::size_t end) const {
    for (auto const& row : rows_) {
        out.append(row[0]).append(widths[0] - row[0].size(), ' ');
        for (std::size_t column = begin; column < std::min(end, row.size()); ++column) {
            out.append(widths[column] - row[column].size() + 2, ' ').append(row[column]);
        }
        out += '\n';
    }
}

} // namespace BgpCommunities
