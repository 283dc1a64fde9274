#pragma once

#include <string_view>

#include "CommandLine.h"
#include "bmp/TcpSocket.h"

namespace BgpCommunities {

/** Of commands that speak BMP. */
inline constexpr std::string_view bmpOption = "--bmp";

/** The address that is the value of an option. Throws UsageError if it is malformed. */
SocketAddress addressIn(std::string_view option, std::string_view text);

/** The address in --bmp. Throws UsageError if it is missing or malformed. */
SocketAddress bmpAddress(Arguments const& arguments);

} // namespace BgpCommunities
