#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OctetReader.h"

namespace BgpCommunities {

/** Makes `octets` those that the hexadecimal digits, of either case, stand for. Returns what is
    wrong with the digits, or nothing; `octets` then hold nothing of use. */
std::string_view readHex(std::string_view digits, std::vector<std::uint8_t>& octets);

/** Appends two lower-case digits for each octet. */
void appendHex(std::string& out, Octets octets);

} // namespace BgpCommunities
