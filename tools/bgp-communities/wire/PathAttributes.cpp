#include "PathAttributes.h"

#include <algorithm>

namespace BgpCommunities {

namespace {

constexpr U8 extendedLengthFlag = 0x10;

} // namespace

bool PathAttributeReader::next(PathAttribute& attribute) {
    if (in_.empty()) {
        return false;
    }
    attribute = {in_.u8(), in_.u8(), {}};
    std::size_t const length = (attribute.flags & extendedLengthFlag) != 0 ? in_.u16() : in_.u8();
    if (!in_.ok()) {
        fault_ = "truncated attribute header";
        return false;
    }
    std::size_t const left = in_.left();
    attribute.value = in_.octets(std::min(length, left));
    if (left < length) {
        fault_ = "truncated attribute " + std::to_string(attribute.type) + ": length " +
                 std::to_string(length) + ", " + std::to_string(left) + " octets left";
        return false;
    }
    return true;
}

void AttributeArea::read(Octets area) {
    communities.clear();
    mpReach.reset();
    mpUnreach.reset();
    repeatedMultiprotocol = false;
    std::array<U32, communityKinds> seen{};
    PathAttributeReader in(area);
    for (PathAttribute attribute; in.next(attribute);) {
        if (auto const kind = communityKind(attribute.type)) {
            communities.push_back(
                {*kind, seen[static_cast<std::size_t>(*kind)]++, attribute.value});
        } else if (attribute.type == mpReachType) {
            keepMultiprotocol(mpReach, attribute.value);
        } else if (attribute.type == mpUnreachType) {
            keepMultiprotocol(mpUnreach, attribute.value);
        }
    }
    fault = in.fault();
}

void AttributeArea::keepMultiprotocol(std::optional<Octets>& kept, Octets value) {
    if (kept) {
        repeatedMultiprotocol = true;
    } else {
        kept = value;
    }
}

} // namespace BgpCommunities
