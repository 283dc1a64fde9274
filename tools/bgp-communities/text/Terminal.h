#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace BgpCommunities {

/// The width of the terminal that a text is for, none for other programs. On a terminal, tables are
/// split to fit and digits are grouped.
using TerminalWidth = std::optional<std::size_t>;

/// Returns the width of terminal `fd`; none if it is not a terminal or its width is unknown.
TerminalWidth terminalColumns(int fd);

inline constexpr std::size_t defaultColumns = 80;

/// Appends the lines of `text`, each truncated to `columns` characters with "..." at the end.
/// REQUIRES: `text` ends with a newline.
void appendFitted(std::string& out, std::string_view text, std::size_t columns);

} // namespace BgpCommunities
