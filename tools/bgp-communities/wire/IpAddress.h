#pragma once

#include <array>
#include <compare>
#include <string>
#include <string_view>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// An IPv4 or IPv6 address, or no address.
///
/// Octets are in network order; those beyond `size` are zero, so addresses can be compared octet by
/// octet.
struct IpAddress {
    std::array<U8, 16> octets{};
    U8 size = 0; // 0 (no address), 4 or 16

    auto operator<=>(IpAddress const&) const = default;
};

/// Returns the address in `octets`; no address unless there are 4 or 16 of them.
IpAddress ipAddress(Octets octets);

/// Parses an address; returns no address if `text` is not one.
IpAddress readIpAddress(std::string_view text);

/// A BGP peer, as recorded in a dump.
struct Peer {
    IpAddress address;
    U32 as = 0;

    bool operator==(Peer const&) const = default;
};

/// Appends "192.0.2.1" or "2001:db8::1" (RFC 5952); "-" for no address.
void appendText(std::string& out, IpAddress const& address);
/// Appends "192.0.2.1 AS64496"; "-" for an unknown peer.
void appendText(std::string& out, Peer const& peer);

} // namespace BgpCommunities
