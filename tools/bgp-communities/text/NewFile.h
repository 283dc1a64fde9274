#pragma once

#include <string>
#include <string_view>

namespace BgpCommunities {

/// Writes a file as NAME.new, syncs it and renames it to NAME: readers see either the old or the
/// new file, never a part. On error NAME is unchanged. Throws OutputError with the name.
void replaceFile(std::string const& name, std::string_view content);

} // namespace BgpCommunities
