#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"
#include "wire/AsPath.h"
#include "wire/BgpMessage.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

/// The types of BMP messages (RFC 7854, section 4.1).
enum class BmpType : U8 {
    routeMonitoring = 0,
    statistics = 1,
    peerDown = 2,
    peerUp = 3,
    initiation = 4,
    termination = 5,
    routeMirroring = 6,
};

inline constexpr std::size_t bmpTypes = 7;
inline constexpr U8 bmpVersion = 3;
inline constexpr std::size_t bmpHeaderOctets = 6;

/// A BMP message without its header. `body` is not owned; `type` may be an unassigned number.
struct BmpMessage {
    BmpType type = BmpType::initiation;
    Octets body;
};

/// The table of a router that a message reports (RFC 7854, RFC 8671, RFC 9069).
enum class RibView : U8 {
    adjRibInPre,   // received from the peer, before policy
    adjRibInPost,  // after policy
    adjRibOutPre,  // to be sent to the peer, before policy
    adjRibOutPost, // after policy
    locRib,        // of the router itself
};

inline constexpr std::size_t ribViews = 5;

/// "adjRibInPre", ...
std::string_view nameOf(RibView view);

/// Identifies a peer of a router; can be used as a key. No address for the Loc-RIB.
struct BmpPeerId {
    static constexpr U8 locRibInstance = 3; // peer type

    U8 type = 0;
    std::array<U8, 8> distinguisher{}; // of the routing instance; not for type 0
    IpAddress address;

    auto operator<=>(BmpPeerId const&) const = default;
};

/// The per-peer header.
///
///     peer type (1) | flags (1) | distinguisher (8) | address (16) | AS (4) | BGP identifier (4) |
///         seconds (4) | microseconds (4)                                RFC 7854, section 4.2
struct BmpPeer {
    BmpPeerId id;
    RibView view = RibView::adjRibInPre;
    AsWidth asWidth = AsWidth::four; // of AS_PATH in the messages
    U32 as = 0;
    U32 bgpId = 0;
    U32 seconds = 0; // since 1970, UTC; 0 if unknown
    U32 microseconds = 0;

    /// The address and the AS of the peer; for the Loc-RIB, the router's BGP identifier as an
    /// address.
    [[nodiscard]] Peer peer() const;
};

/// Parses the per-peer header. Returns an error message, empty on success.
std::string_view readBmpPeer(OctetReader& in, BmpPeer& peer);

/// A type-length-value of initiation, termination, statistics, mirroring and peer up messages.
/// `value` is not owned.
struct BmpTlv {
    U16 type = 0;
    Octets value;
};

/// Parses the next TLV: type (2) | length (2) | value. Returns false at the end, or if it is
/// truncated; `in.ok()` is false then.
bool readBmpTlv(OctetReader& in, BmpTlv& tlv);

/// Types of information in initiation and peer up messages (RFC 7854, section 4.4).
struct BmpInformation {
    static constexpr U16 systemDescription = 1;
    static constexpr U16 systemName = 2;
};

/// The rest of a peer up message (RFC 7854, section 4.10); not owned.
struct BmpPeerUp {
    IpAddress local;
    U16 localPort = 0;
    U16 remotePort = 0;
    BgpMessage sentOpen;     // by the router
    BgpMessage receivedOpen; // from the peer
    Octets information;      // TLVs
};

/// Parses the message after the per-peer header. Returns an error message, empty on success.
std::string_view readBmpPeerUp(OctetReader& in, BmpPeer const& peer, BmpPeerUp& up);

/// Returns the text for a reason in a peer down message (RFC 7854, section 4.9; RFC 9069).
std::string_view bmpPeerDownReason(U8 reason);

/// Returns the text for a reason in a termination message (RFC 7854, section 4.5).
std::string_view bmpTerminationReason(U16 reason);

} // namespace BgpCommunities
