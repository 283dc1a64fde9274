#pragma once

#include <string>

#include "DumpOctets.h"

namespace BgpCommunities::Test {

/// Builds octets of a BMP session (RFC 7854).

inline std::string bmp(unsigned int type, std::string const& body) {
    return u8(3) + u32(6 + body.size()) + u8(type) + body;
}

inline std::string bmpTlv(unsigned int type, std::string const& value) {
    return u16(type) + u16(value.size()) + value;
}

/// The per-peer header of 192.0.2.LAST AS64496; flags: 0x40 post-policy, 0x10 Adj-RIB-Out.
inline std::string bmpPeer(unsigned int last = 1, unsigned int flags = 0) {
    return u8(0) + u8(flags) + std::string(20, '\0') + hex("c00002") + u8(last) +
           hex("0000fbf0 c0000201 6553f100 00000000");
}

/// The body of a peer up message whose OPENs have no capabilities.
inline std::string bmpPeerUp(unsigned int last = 1) {
    std::string const open = message(1, hex("04 fbf0 005a c0000201 00"));
    return bmpPeer(last) + std::string(12, '\0') + hex("c00002fe 00b3 81a3") + open + open;
}

inline std::string const prefixNear = hex("18 c00002"); // 192.0.2.0/24
inline std::string const prefixFar = hex("18 c63364");  // 198.51.100.0/24

} // namespace BgpCommunities::Test
