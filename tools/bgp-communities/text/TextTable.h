#pragma once

#include <string>
#include <vector>

namespace BgpCommunities {

/**
 * A table of text with aligned columns: the first one to the left, all others to the right.
 * Thread-compatible.
 */
class TextTable {
  public:
    void addRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

    void appendTo(std::string& out) const;

  private:
    std::vector<std::vector<std::string>> rows_;
};

} // namespace BgpCommunities
