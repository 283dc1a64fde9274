#include "BmpWriter.h"

#include "input/OctetWriter.h"

namespace BgpCommunities {

namespace {

void appendHeader(std::string& out, BmpType type, std::size_t bodyOctets) {
    appendU8(out, bmpVersion);
    appendU32(out, bmpHeaderOctets + bodyOctets);
    appendU8(out, static_cast<U8>(type));
}

void appendTlv(std::string& out, U16 type, std::string_view value) {
    appendU16(out, type);
    appendU16(out, value.size());
    out += value;
}

/// Appends 16 octets; an IPv4 address is in the last 4.
void appendAddress(std::string& out, IpAddress const& address) {
    out.append(16U - address.size, '\0');
    appendOctets(out, Octets(address.octets).first(address.size));
}

constexpr std::size_t peerHeaderOctets = 42;

void appendPeer(std::string& out, BmpPeer const& peer) {
    bool const isOut = peer.view == RibView::adjRibOutPre || peer.view == RibView::adjRibOutPost;
    bool const isPost = peer.view == RibView::adjRibInPost || peer.view == RibView::adjRibOutPost;
    unsigned const flags = (peer.id.address.size == 16 ? 0x80U : 0U) | (isPost ? 0x40U : 0U) |
                           (peer.asWidth == AsWidth::two ? 0x20U : 0U) | (isOut ? 0x10U : 0U);
    appendU8(out, peer.id.type);
    appendU8(out, static_cast<U8>(flags));
    appendOctets(out, peer.id.distinguisher);
    appendAddress(out, peer.id.address);
    appendU32(out, peer.as);
    appendU32(out, peer.bgpId);
    appendU32(out, peer.seconds);
    appendU32(out, peer.microseconds);
}

} // namespace

void appendBmpInitiation(std::string& out, std::string_view name, std::string_view description) {
    std::string body;
    appendTlv(body, BmpInformation::systemDescription, description);
    appendTlv(body, BmpInformation::systemName, name);
    appendHeader(out, BmpType::initiation, body.size());
    out += body;
}

void appendBmpTermination(std::string& out, U16 reason) {
    appendHeader(out, BmpType::termination, 6);
    appendU16(out, 1);
    appendU16(out, 2);
    appendU16(out, reason);
}

void appendBmpPeerUp(std::string& out, BmpPeer const& peer, BmpPeerUp const& up,
                     std::string_view opens) {
    appendHeader(out, BmpType::peerUp, peerHeaderOctets + 20 + opens.size());
    appendPeer(out, peer);
    appendAddress(out, up.local);
    appendU16(out, up.localPort);
    appendU16(out, up.remotePort);
    out += opens;
}

void appendBmpPeerDown(std::string& out, BmpPeer const& peer, U8 reason) {
    appendHeader(out, BmpType::peerDown, peerHeaderOctets + 1);
    appendPeer(out, peer);
    appendU8(out, reason);
}

void appendBmpRoutes(std::string& out, BmpPeer const& peer, Octets update) {
    appendHeader(out, BmpType::routeMonitoring, peerHeaderOctets + bgpHeaderOctets + update.size());
    appendPeer(out, peer);
    appendBgpHeader(out, BgpMessage::update, update.size());
    appendOctets(out, update);
}

} // namespace BgpCommunities
