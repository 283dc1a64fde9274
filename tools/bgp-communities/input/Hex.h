#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "IntegerTypes.h"
#include "OctetReader.h"

namespace BgpCommunities {

/// Decodes hexadecimal digits of either case into `octets`. Returns an error message, empty on
/// success; on error, the content of `octets` is unspecified.
std::string_view readHex(std::string_view digits, std::vector<U8>& octets);

/// Appends two lower-case digits for each octet, with `separator` between octets.
void appendHex(std::string& out, Octets octets, std::string_view separator = {});

} // namespace BgpCommunities
