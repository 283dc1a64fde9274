#include "AttributeVerdict.h"

namespace BgpCommunities {

namespace {

// Non-transitive two-octet AS, link bandwidth.
constexpr std::uint64_t linkBandwidthType = 0x4004;

} // namespace

std::string malformation(CommunityKind kind, Octets value) {
    std::size_t const memberOctets = traitsOf(kind).memberOctets;
    if (value.empty()) {
        return "the value is empty";
    }
    if (value.size() > maxAttributeOctets) {
        return "length " + std::to_string(value.size()) + " is more than a path attribute's " +
               std::to_string(maxAttributeOctets);
    }
    if (value.size() % memberOctets != 0) {
        return "length " + std::to_string(value.size()) + " is no multiple of " +
               std::to_string(memberOctets);
    }
    return {};
}

std::uint64_t readExtendedMember(OctetReader& in) {
    std::uint64_t const high = in.u32();
    return high << 32 | in.u32();
}

std::string refusal(CommunityKind kind, Octets value) {
    if (kind != CommunityKind::extended) {
        return {};
    }
    std::uint64_t bandwidth = 0;
    for (OctetReader in(value); !in.empty();) {
        std::uint64_t const member = readExtendedMember(in);
        if (member >> 48 != linkBandwidthType) {
            continue;
        }
        if (bandwidth != 0 && bandwidth != member) {
            return "two different link bandwidths, where a list carries one";
        }
        bandwidth = member;
    }
    return {};
}

} // namespace BgpCommunities
