#include "MemberFields.h"

#include "input/OctetReader.h"

namespace BgpCommunities {

namespace {

/// Types of RFC 4360 and RFC 5668, without the non-transitive bit.
constexpr std::uint8_t nonTransitive = 0x40;
constexpr std::uint8_t twoOctetAs = 0x00;
constexpr std::uint8_t ipv4Address = 0x01;
constexpr std::uint8_t fourOctetAs = 0x02;
constexpr std::uint8_t routeTarget = 0x02;

std::optional<std::uint32_t> extendedAs(OctetReader in) {
    auto const type = static_cast<std::uint8_t>(in.u8() & ~nonTransitive);
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

std::optional<std::uint32_t> administratorAs(CommunityKind kind, std::string_view octets) {
    OctetReader in(octetsOf(octets));
    switch (kind) {
    case CommunityKind::standard: {
        std::uint16_t const as = in.u16();
        bool const reserved = as == 0 || as == 0xffff;
        return reserved ? std::nullopt : std::optional<std::uint32_t>(as);
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
    std::uint8_t const type = in.u8();
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
