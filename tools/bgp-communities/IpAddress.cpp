#include "IpAddress.h"

#include <algorithm>

#include <arpa/inet.h>

namespace BgpCommunities {

IpAddress ipAddress(Octets octets) {
    IpAddress address;
    if (octets.size() == 4 || octets.size() == 16) {
        std::copy(octets.begin(), octets.end(), address.octets.begin());
        address.size = static_cast<std::uint8_t>(octets.size());
    }
    return address;
}

void appendText(std::string& out, IpAddress const& address) {
    if (address.size == 0) {
        out += '-';
        return;
    }
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(address.size == 4 ? AF_INET : AF_INET6, address.octets.data(), text.data(),
              static_cast<socklen_t>(text.size()));
    out += text.data();
}

void appendText(std::string& out, Peer const& peer) {
    appendText(out, peer.address);
    if (peer.address.size != 0) {
        out += " AS";
        out += std::to_string(peer.as);
    }
}

} // namespace BgpCommunities
