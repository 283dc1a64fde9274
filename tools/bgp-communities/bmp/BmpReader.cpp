#include "BmpReader.h"

namespace BgpCommunities {

namespace {

std::string_view textOf(Octets octets) {
    return {reinterpret_cast<char const*>(octets.data()), octets.size()};
}

/// Returns sender and receiver of the messages of a view. The Loc-RIB has neither: returns two
/// different addresses.
MessageEnds endsOf(BmpPeer const& peer, IpAddress const& local) {
    switch (peer.view) {
    case RibView::adjRibInPre:
    case RibView::adjRibInPost:
        return {peer.id.address, local};
    case RibView::adjRibOutPre:
    case RibView::adjRibOutPost:
        return {local, peer.id.address};
    case RibView::locRib:
        break;
    }
    return {IpAddress{}, ipAddress(std::array<U8, 4>{})};
}

/// Parses all TLVs and passes them to `take(tlv)`.
template <class Take>
std::string_view readTlvs(OctetReader& in, Take const& take) {
    for (BmpTlv tlv; readBmpTlv(in, tlv);) {
        take(tlv);
    }
    return in.ok() ? std::string_view() : "truncated TLV";
}

std::string_view readTlvs(OctetReader& in) {
    return readTlvs(in, [](BmpTlv const&) {});
}

/// Whether the peer is the router itself. GoBGP 3 reports its Loc-RIB, and FRR 8 its own routes as
/// those of peer 0.0.0.0, without a peer up message.
bool isRouterItself(BmpPeer const& peer) {
    return peer.view == RibView::locRib || peer.id.address.octets == IpAddress{}.octets;
}

/// Checks the data after the reason of a peer down message (RFC 7854, section 4.9). Returns an
/// error message, empty on success.
std::string_view peerDownFault(U8 reason, OctetReader in) {
    constexpr U8 routerNotified = 1, routerClosed = 2, peerNotified = 3;
    constexpr U8 notification = 3; // RFC 4271, section 4.1
    if (reason == routerNotified || reason == peerNotified) {
        BgpMessage message;
        bool const isNotification =
            readMessage(in, message) && message.whole && message.type == notification;
        return isNotification ? std::string_view() : "peer down message without a NOTIFICATION";
    }
    return reason == routerClosed && in.left() < 2 ? "peer down message without an event code"
                                                   : std::string_view();
}

} // namespace

void BmpReader::read(BmpMessage const& message) {
    handler_.handleMessage(message.type);
    if (auto const fault = readOf(message); !fault.empty()) {
        handler_.handleProblem("BMP message of type " +
                               std::to_string(static_cast<unsigned>(message.type)) + ": " +
                               std::string(fault));
    }
}

std::string_view BmpReader::readOf(BmpMessage const& message) {
    OctetReader in(message.body);
    switch (message.type) {
    case BmpType::initiation:
        return readSystem(in);
    case BmpType::termination:
        return readTermination(in);
    case BmpType::routeMonitoring:
    case BmpType::statistics:
    case BmpType::peerDown:
    case BmpType::peerUp:
    case BmpType::routeMirroring:
        return readPeerMessage(message.type, in);
    }
    return "unknown type";
}

std::string_view BmpReader::readSystem(OctetReader& in) {
    BmpSystem system;
    auto const fault = readTlvs(in, [&](BmpTlv const& tlv) {
        if (tlv.type == BmpInformation::systemName) {
            system.name = textOf(tlv.value);
        } else if (tlv.type == BmpInformation::systemDescription) {
            system.description = textOf(tlv.value);
        }
    });
    handler_.handleSystem(system);
    return fault;
}

std::string_view BmpReader::readTermination(OctetReader& in) {
    constexpr U16 reasonType = 1;
    std::string_view reason;
    auto const fault = readTlvs(in, [&](BmpTlv const& tlv) {
        if (tlv.type == reasonType && tlv.value.size() == 2) {
            reason = bmpTerminationReason(OctetReader(tlv.value).u16());
        }
    });
    handler_.handleTermination(reason);
    return fault;
}

std::string_view BmpReader::readPeerMessage(BmpType type, OctetReader& in) {
    BmpPeer peer;
    if (auto const fault = readBmpPeer(in, peer); !fault.empty()) {
        return fault;
    }
    switch (type) {
    case BmpType::peerUp:
        return readPeerUp(in, peer);
    case BmpType::peerDown:
        return readPeerDown(in, peer);
    case BmpType::routeMonitoring:
        return readUpdate(in, peer);
    case BmpType::statistics:
        in.u32(); // number of TLVs
        return readTlvs(in);
    default: // mirrored messages duplicate other messages
        return readTlvs(in);
    }
}

std::string_view BmpReader::readPeerUp(OctetReader& in, BmpPeer const& peer) {
    BmpPeerUp up;
    if (auto const fault = readBmpPeerUp(in, peer, up); !fault.empty()) {
        return fault;
    }
    if (peers_.size() == maxPeers && !peers_.contains(peer.id)) {
        return "too many peers";
    }
    PeerSession& session = peers_[peer.id];
    session = {};
    session.local = up.local;
    session.isUp = true;
    if (peer.view == RibView::locRib) { // both OPENs are from the router
        session.opens.decide(endsOf(peer, up.local), up.sentOpen, false);
    } else {
        session.opens.decide({peer.id.address, up.local}, up.receivedOpen, false);
        session.opens.decide({up.local, peer.id.address}, up.sentOpen, false);
    }
    handler_.handlePeerUp(peer, up);
    OctetReader information(up.information);
    return readTlvs(information);
}

std::string_view BmpReader::readPeerDown(OctetReader& in, BmpPeer const& peer) {
    U8 const reason = in.u8();
    if (!in.ok()) {
        return "truncated peer down message";
    }
    if (peers_.erase(peer.id) == 0) {
        return "peer down for a peer that is not up";
    }
    handler_.handlePeerDown(peer, bmpPeerDownReason(reason));
    return peerDownFault(reason, in);
}

std::string_view BmpReader::readUpdate(OctetReader& in, BmpPeer const& peer) {
    Octets const octets = in.rest();
    OctetReader messageIn(octets);
    BgpMessage message;
    if (!readMessage(messageIn, message) || !message.whole || message.type != BgpMessage::update) {
        return "route monitoring message without a whole UPDATE";
    }
    constexpr std::string_view notUp = "routes of a peer that is not up";
    bool const isKnown = peers_.contains(peer.id);
    if (!isKnown && (!isRouterItself(peer) || peers_.size() == maxPeers)) {
        return notUp;
    }
    // The OPENs decide whether there are path identifiers. For the Loc-RIB, where both are from the
    // router, one that advertises them for a family is enough.
    PeerSession& session = peers_[peer.id];
    bool const hasOffer = session.isUp && peer.view == RibView::locRib;
    AddPathDecider& addPath = session.views.try_emplace(peer.view, session.opens).first->second;
    PathIds const pathIds = addPath.decide(endsOf(peer, session.local), message, hasOffer);
    if (!content_.read(message.body, pathIds)) {
        return "UPDATE too short for its own length fields";
    }
    handler_.handleUpdate(peer, {content_,
                                 {content_.attributeOctets(), peer.asWidth},
                                 octets.first(message.length),
                                 pathIds});
    if (!messageIn.empty()) {
        return "octets after the UPDATE";
    }
    return isKnown ? content_.routesFault() : notUp;
}

} // namespace BgpCommunities
