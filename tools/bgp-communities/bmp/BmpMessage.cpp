#include "BmpMessage.h"

#include <algorithm>

namespace BgpCommunities {

namespace {

constexpr std::string_view viewNames[ribViews] = {"adjRibInPre", "adjRibInPost", "adjRibOutPre",
                                                  "adjRibOutPost", "locRib"};

// Flags of the per-peer header; those of the Loc-RIB have other meanings (RFC 9069).
constexpr U8 flagIpv6 = 0x80;
constexpr U8 flagPostPolicy = 0x40;
constexpr U8 flagTwoOctetAs = 0x20;
constexpr U8 flagAdjRibOut = 0x10; // RFC 8671

RibView viewOf(U8 flags) {
    bool const post = (flags & flagPostPolicy) != 0;
    if ((flags & flagAdjRibOut) != 0) {
        return post ? RibView::adjRibOutPost : RibView::adjRibOutPre;
    }
    return post ? RibView::adjRibInPost : RibView::adjRibInPre;
}

/// Returns the address in a field of 16 octets; an IPv4 address is in the last 4.
IpAddress addressOf(Octets octets, bool isIpv6) {
    return ipAddress(isIpv6 || octets.empty() ? octets : octets.last(4));
}

} // namespace

std::string_view nameOf(RibView view) {
    return viewNames[static_cast<std::size_t>(view)];
}

Peer BmpPeer::peer() const {
    if (view != RibView::locRib) {
        return {id.address, as};
    }
    std::array<U8, 4> octets{};
    for (std::size_t at = 0; at < octets.size(); ++at) {
        octets[at] = static_cast<U8>(bgpId >> (24 - 8 * at));
    }
    return {ipAddress(octets), as};
}

std::string_view readBmpPeer(OctetReader& in, BmpPeer& peer) {
    peer.id = {};
    peer.id.type = in.u8();
    U8 const flags = in.u8();
    Octets const distinguisher = in.octets(peer.id.distinguisher.size());
    Octets const address = in.octets(16);
    peer.as = in.u32();
    peer.bgpId = in.u32();
    peer.seconds = in.u32();
    peer.microseconds = in.u32();
    if (!in.ok()) {
        return "truncated per-peer header";
    }
    if (peer.id.type > BmpPeerId::locRibInstance) {
        return "unknown peer type";
    }
    std::copy(distinguisher.begin(), distinguisher.end(), peer.id.distinguisher.begin());
    if (peer.id.type == BmpPeerId::locRibInstance) {
        peer.view = RibView::locRib;
        peer.asWidth = AsWidth::four;
    } else {
        peer.id.address = addressOf(address, (flags & flagIpv6) != 0);
        peer.view = viewOf(flags);
        peer.asWidth = (flags & flagTwoOctetAs) != 0 ? AsWidth::two : AsWidth::four;
    }
    return {};
}

bool readBmpTlv(OctetReader& in, BmpTlv& tlv) {
    if (in.empty()) {
        return false;
    }
    tlv.type = in.u16();
    tlv.value = in.octets(in.u16());
    return in.ok();
}

/// local address (16) | local port (2) | remote port (2) | sent OPEN | received OPEN | TLVs
std::string_view readBmpPeerUp(OctetReader& in, BmpPeer const& peer, BmpPeerUp& up) {
    up.local = addressOf(in.octets(16), peer.id.address.size == 16);
    up.localPort = in.u16();
    up.remotePort = in.u16();
    if (!in.ok()) {
        return "truncated peer up message";
    }
    for (BgpMessage* const open : {&up.sentOpen, &up.receivedOpen}) {
        if (!readMessage(in, *open) || !open->whole || open->type != BgpMessage::open) {
            return "peer up message without both OPENs";
        }
    }
    up.information = in.rest();
    return {};
}

std::string_view bmpPeerDownReason(U8 reason) {
    constexpr std::string_view reasons[] = {
        "reserved reason",
        "the router closed the session with a notification",
        "the router closed the session without a notification",
        "the peer closed the session with a notification",
        "the peer closed the session without a notification",
        "the router no longer monitors the peer",
        "the Loc-RIB is no longer monitored",
    };
    return reason < std::size(reasons) ? reasons[reason] : "unknown reason";
}

std::string_view bmpTerminationReason(U16 reason) {
    constexpr std::string_view reasons[] = {
        "administratively closed",
        "unspecified reason",
        "out of resources",
        "redundant connection",
        "permanently administratively closed",
    };
    return reason < std::size(reasons) ? reasons[reason] : "unknown reason";
}

} // namespace BgpCommunities
