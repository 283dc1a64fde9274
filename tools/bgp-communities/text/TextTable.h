#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Terminal.h"

namespace BgpCommunities {

/// A table of text with aligned columns: the first one to the left, all others to the right.
/// Thread-compatible.
class TextTable {
  public:
    void addRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

    /// Appends the table. Columns that do not fit follow below, in further tables with the same
    /// first column.
    void appendTo(std::string& out, TerminalWidth width = std::nullopt) const;

  private:
    using Widths = std::vector<std::size_t>;

    [[nodiscard]] Widths widths() const;
    void appendColumns(std::string& out, Widths const& widths, std::size_t begin,
                       std::size_t end) const;

    std::vector<std::vector<std::string>> rows_;
};

} // namespace BgpCommunities
