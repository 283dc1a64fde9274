#include "BmpOptions.h"

#include <string>

namespace BgpCommunities {

SocketAddress addressIn(std::string_view option, std::string_view text) {
    SocketAddress address;
    if (auto const fault = readSocketAddress(text, address); !fault.empty()) {
        throw UsageError(std::string(option) + ": \"" + std::string(text) +
                         "\": " + std::string(fault));
    }
    return address;
}

SocketAddress bmpAddress(Arguments const& arguments) {
    auto const text = arguments.value(bmpOption);
    if (!text) {
        throw UsageError("missing --bmp ADDRESS:PORT");
    }
    return addressIn(bmpOption, *text);
}

} // namespace BgpCommunities
