#include "CommunityName.h"

#include <vector>

#include "input/Hex.h"

namespace BgpCommunities {

CommunityName::CommunityName(std::string_view name)
  : text_(name) {
    std::vector<std::uint8_t> octets;
    if (readHex(name, octets).empty()) {
        octets_.assign(octets.begin(), octets.end());
    }
}

} // namespace BgpCommunities
