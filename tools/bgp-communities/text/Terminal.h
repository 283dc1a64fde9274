#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace BgpCommunities {

/** The width of the terminal that `fd` is; none if it is not a terminal or has no known width. */
std::optional<std::size_t> terminalColumns(int fd);

inline constexpr std::size_t defaultColumns = 80;

/** Appends the lines of `text`, each cut to at most `columns` characters; "..." marks the cut.
    REQUIRES: the last line ends as the others do. */
void appendFitted(std::string& out, std::string_view text, std::size_t columns);

} // namespace BgpCommunities
