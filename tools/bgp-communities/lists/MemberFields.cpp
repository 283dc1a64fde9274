#include "MemberFields.h"

#include "input/OctetReader.h"

namespace BgpCommunities {

namespace {

/// Types of RFC 4360 and RFC 5668, without the non-transitive bit.
constexpr U8 nonTransitive = 0x40;
constexpr U8 twoOctetAs = 0x00;
constexpr U8 ipv4Address = 0x01;
constexpr U8 fourOctetAs = 0x02;
constexpr U8 routeTarget = 0x02;

std::optional<U32> extendedAs(OctetReader in) {
    auto const type = static_cast<U8>(in.u8() & ~nonTransitive);
    in.u8();
    switch (type) {
    case twoOctetAs:
        return in.u16();
    case fourOctetAs:
        return in.u32();
    default:
        return std::nullopt;
    }
}

} // namespace

std::optional<U32> administratorAs(CommunityKind kind, std::string_view octets) {
    OctetReader in(octetsOf(octets));
    switch (kind) {
    case CommunityKind::standard: {
        U16 const as = in.u16();
        bool const reserved = as == 0 || as == 0xffff;
        return reserved ? std::nullopt : std::optional<U32>(as);
    }
    case CommunityKind::extended:
        return extendedAs(in);
    case CommunityKind::ip6Extended:
        return std::nullopt;
    case CommunityKind::large:
        return in.u32();
    }
    return std::nullopt;
}

bool isRouteTarget(CommunityKind kind, std::string_view octets) {
    OctetReader in(octetsOf(octets));
    U8 const type = in.u8();
    bool const isTarget = in.u8() == routeTarget;
    switch (kind) {
    case CommunityKind::extended:
        return isTarget && (type == twoOctetAs || type == ipv4Address || type == fourOctetAs);
    case CommunityKind::ip6Extended:
        return isTarget && type == 0;
    default:
        return false;
    }
}

} // namespace BgpCommunities
