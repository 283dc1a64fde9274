#include "TextTable.h"

#include <algorithm>
#include <cstddef>

namespace BgpCommunities {

void TextTable::appendTo(std::string& out) const {
    std::vector<std::size_t> widths;
    for (auto const& row : rows_) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    for (auto const& row : rows_) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            std::size_t const blanks = widths[column] - row[column].size();
            if (column == 0) {
                out.append(row[column]).append(blanks, ' ');
            } else {
                out.append(blanks + 2, ' ').append(row[column]);
            }
        }
        out += '\n';
    }
}

} // namespace BgpCommunities
