#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "input/OctetReader.h"

namespace BgpCommunities {

/**
 * An IPv4 or IPv6 address, or none; a plain value, thread-compatible.
 *
 * The octets are in network order, and those beyond `size` are zero, so that equal addresses are
 * equal octet for octet.
 */
struct IpAddress {
    std::array<std::uint8_t, 16> octets{};
    std::uint8_t size = 0; // 0 (no address), 4 or 16

    auto operator<=>(IpAddress const&) const = default;
};

/** The address in all of `octets`: 4 or 16 of them, else none. */
IpAddress ipAddress(Octets octets);

/** The address that `text` is, or none. */
IpAddress readIpAddress(std::string_view text);

/** One end of a BGP connection, as a dump records it; a plain value, thread-compatible. */
struct Peer {
    IpAddress address;
    std::uint32_t as = 0;

    bool operator==(Peer const&) const = default;
};

/** Appends "192.0.2.1" or "2001:db8::1" (RFC 5952); "-" if there is no address. */
void appendText(std::string& out, IpAddress const& address);
/** Appends "192.0.2.1 AS64496"; "-" if the peer is not known. */
void appendText(std::string& out, Peer const& peer);

} // namespace BgpCommunities
