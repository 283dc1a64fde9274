#pragma once

#include <string_view>

#include "CommandLine.h"
#include "bmp/TcpSocket.h"

namespace BgpCommunities {

/// Option of commands that use BMP.
inline constexpr std::string_view bmpOption = "--bmp";

/// Parses the address in the value of an option. Throws UsageError if it is malformed.
SocketAddress addressIn(std::string_view option, std::string_view text);

/// Returns the address in --bmp. Throws UsageError if it is missing or malformed.
SocketAddress bmpAddress(Arguments const& arguments);

} // namespace BgpCommunities
