#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace BgpCommunities {

/** Returns the width of terminal `fd`; none if it is not a terminal or its width is unknown. */
std::optional<std::size_t> terminalColumns(int fd);

inline constexpr std::size_t defaultColumns = 80;

/** Appends the lines of `text`, each truncated to `columns` characters with "..." at the end.
   REQUIRES: `text` ends with a newline. */
void appendFitted(std::string& out, std::string_view text, std::size_t columns);

} // namespace BgpCommunities
