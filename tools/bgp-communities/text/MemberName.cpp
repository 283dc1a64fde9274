#include "MemberName.h"

#include "ExtendedForms.h"
#include "WellKnownCommunities.h"
#include "input/Hex.h"
#include "input/Numbers.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

namespace {

void appendStandard(std::string& out, Octets member) {
    OctetReader in(member);
    if (auto const name = wellKnownName(OctetReader(member).u32()); !name.empty()) {
        out += name;
        return;
    }
    appendNumber(out, in.u16());
    out += ':';
    appendNumber(out, in.u16());
}

/// type (1) | subtype (1) | address (16) | number (2)                   RFC 5701, section 2
void appendIp6(std::string& out, Octets member) {
    OctetReader in(member);
    U16 const type = in.u16();
    auto const name = ip6TypeName(type);
    if (name.empty()) {
        out += "0x";
        appendHex(out, member.first(2));
        out += ':';
        appendHex(out, member.subspan(2));
        return;
    }
    out += name;
    out += ':';
    appendText(out, ipAddress(in.octets(16)));
    out += ':';
    appendNumber(out, in.u16());
}

void appendLarge(std::string& out, Octets member) {
    OctetReader in(member);
    appendNumber(out, in.u32());
    out += ':';
    appendNumber(out, in.u32());
    out += ':';
    appendNumber(out, in.u32());
}

} // namespace

void appendMemberName(std::string& out, CommunityKind kind, Octets member) {
    switch (kind) {
    case CommunityKind::standard:
        appendStandard(out, member);
        break;
    case CommunityKind::extended:
        appendExtendedName(out, member);
        break;
    case CommunityKind::ip6Extended:
        appendIp6(out, member);
        break;
    case CommunityKind::large:
        appendLarge(out, member);
        break;
    }
}

void appendMemberNames(std::string& out, CommunityKind kind, Octets value) {
    std::size_t const size = traitsOf(kind).memberOctets;
    for (std::size_t at = 0; at + size <= value.size(); at += size) {
        out += at == 0 ? "" : " ";
        appendMemberName(out, kind, value.subspan(at, size));
    }
}

} // namespace BgpCommunities
