#pragma once

#include <cstdint>
#include <string>

#include "OctetReader.h"
#include "PathAttributes.h"

namespace BgpCommunities {

/** The length of a path attribute is two octets (RFC 4271, section 4.3). */
inline constexpr std::size_t maxAttributeOctets = 65535;

/** Why these octets cannot be the value of an attribute of this kind; empty if they can. */
std::string malformation(CommunityKind kind, Octets value);

/** Takes one member of an extended communities attribute: eight octets, the first most
    significant. */
std::uint64_t readExtendedMember(OctetReader& in);

/**
 * Why a well-formed value of an attribute of this kind is left alone; empty if it is not.
 *
 * A list of extended communities carries one link bandwidth: two different ones in an attribute
 * contradict each other, and the library asserts that it is never given them. The same one again is
 * only a repetition.
 */
std::string refusal(CommunityKind kind, Octets value);

} // namespace BgpCommunities
