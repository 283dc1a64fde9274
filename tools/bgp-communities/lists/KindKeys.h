#pragma once

#include <array>
#include <string_view>

#include "wire/PathAttributes.h"

namespace BgpCommunities {

/** What the kinds are called on the command line and in JSON, by CommunityKind. */
inline constexpr std::array<std::string_view, communityKinds> kindKeys = {"standard", "extended",
                                                                          "ipv6", "large"};

} // namespace BgpCommunities
