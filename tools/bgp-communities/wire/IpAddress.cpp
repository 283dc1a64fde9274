#include "IpAddress.h"

#include <algorithm>
#include <utility>

#include <arpa/inet.h>

#include <Lumo/Ip6Addr.h>
#include <Lumo/IpAddr.h>
#include <Mox/CharBuffer.h>

#include "input/Numbers.h"

namespace BgpCommunities {

IpAddress ipAddress(Octets octets) {
    IpAddress address;
    if (octets.size() == 4 || octets.size() == 16) {
        std::copy(octets.begin(), octets.end(), address.octets.begin());
        address.size = static_cast<U8>(octets.size());
    }
    return address;
}

IpAddress readIpAddress(std::string_view text) {
    std::string const terminated(text);
    IpAddress address;
    for (auto const& [size, family] : {std::pair(4, AF_INET), std::pair(16, AF_INET6)}) {
        if (inet_pton(family, terminated.c_str(), address.octets.data()) == 1) {
            address.size = static_cast<U8>(size);
            return address;
        }
    }
    return {};
}

void appendText(std::string& out, IpAddress const& address) {
    if (address.size == 0) {
        out += '-';
        return;
    }
    Mox::LocalCharBuffer<64> text;
    if (address.size == 4) {
        Lumo::IpAddr(OctetReader(address.octets).u32()).format(text);
    } else {
        Lumo::Ip6Addr(address.octets).format(text);
    }
    out += text.text();
}

void appendText(std::string& out, Peer const& peer) {
    appendText(out, peer.address);
    if (peer.address.size != 0) {
        out += " AS";
        appendNumber(out, peer.as);
    }
}

} // namespace BgpCommunities
