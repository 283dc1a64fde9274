#include "RecordWriter.h"

#include "RecordForms.h"
#include "input/OctetWriter.h"
#include "wire/AsPath.h"

namespace BgpCommunities {

namespace {

/// BGP4MP_MESSAGE and its variants.
U16 messageSubtype(RecordedSession const& session) {
    bool const as4 = session.asWidth == AsWidth::four;
    if (session.pathIds) {
        return session.sentToPeer ? (as4 ? 11 : 10) : (as4 ? 9 : 8);
    }
    return session.sentToPeer ? (as4 ? 7 : 6) : (as4 ? 4 : 1);
}

void appendAs(std::string& out, U32 as, AsWidth width) {
    if (width == AsWidth::four) {
        appendU32(out, as);
    } else {
        appendU16(out, as < 65536 ? as : asTrans);
    }
}

/// seconds (4) | type (2) | subtype (2) | length (4) | microseconds (4) | peer AS | local AS |
/// interface (2) | AFI (2) | peer address | local address | the rest
void appendRecord(std::string& out, U64 time, U16 subtype, RecordedSession const& session,
                  Octets rest) {
    std::string body;
    appendU32(body, time % 1000000);
    appendAs(body, session.peer.as, session.asWidth);
    appendAs(body, 0, session.asWidth);
    appendU16(body, 0);
    bool const isIpv6 = session.peer.address.size == 16;
    appendU16(body, isIpv6 ? afiIpv6 : afiIpv4);
    std::size_t const size = isIpv6 ? 16 : 4;
    appendOctets(body, Octets(session.peer.address.octets).first(size));
    appendOctets(body, Octets(session.local.octets).first(size));
    appendOctets(body, rest);
    appendU32(out, time / 1000000);
    appendU16(out, MrtType::bgp4mpEt);
    appendU16(out, subtype);
    appendU32(out, body.size());
    out += body;
}

} // namespace

void appendMessageRecord(std::string& out, U64 time, RecordedSession const& session,
                         Octets message) {
    appendRecord(out, time, messageSubtype(session), session, message);
}

void appendStateRecord(std::string& out, U64 time, RecordedSession const& session, U16 oldState,
                       U16 newState) {
    std::string states;
    appendU16(states, oldState);
    appendU16(states, newState);
    bool const as4 = session.asWidth == AsWidth::four;
    appendRecord(out, time, as4 ? 5 : 0, session, octetsOf(states));
}

} // namespace BgpCommunities
