#pragma once

#include <string>
#include <vector>

namespace BgpCommunities {

/**
 * Rows of text whose columns stand below one another: the first to the left, all others to the
 * right. A plain value that owns its cells. Thread-compatible.
 */
class TextTable {
  public:
    void rowIs(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

    void appendTo(std::string& out) const;

  private:
    std::vector<std::vector<std::string>> rows_;
};

} // namespace BgpCommunities
