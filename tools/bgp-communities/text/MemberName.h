#pragma once

#include <string>

#include "input/OctetReader.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// Appends a member of a list as one word that CommunityPattern parses: "64496:300", "no-export",
/// "64496:1:2", "rt:64496:300", "rt:2001:db8::1:100", "0x4305:00000000002a". REQUIRES: `member` has
/// the size of a member of this kind.
void appendMemberName(std::string& out, CommunityKind kind, Octets member);

/// Appends the names of all whole members of a value, separated by spaces, in the order sent.
void appendMemberNames(std::string& out, CommunityKind kind, Octets value);

} // namespace BgpCommunities
