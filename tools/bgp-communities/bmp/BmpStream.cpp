#include "BmpStream.h"

#include <algorithm>

namespace BgpCommunities {

std::size_t BmpStream::lengthOf(Octets octets) {
    return OctetReader(octets.subspan(1)).u32();
}

BmpMessage BmpStream::messageOf(Octets octets) {
    return {static_cast<BmpType>(octets[bmpHeaderOctets - 1]), octets.subspan(bmpHeaderOctets)};
}

bool BmpStream::isWhole(Octets octets) {
    if (!fault_.empty() || octets.empty()) {
        return false;
    }
    if (octets[0] != bmpVersion) {
        fault_ = "unknown BMP version " + std::to_string(octets[0]);
        return false;
    }
    if (octets.size() < bmpHeaderOctets) {
        return false;
    }
    std::size_t const length = lengthOf(octets);
    if (length < bmpHeaderOctets) {
        fault_ = "BMP message length " + std::to_string(length) + " is less than its header";
    } else if (length > maxOctets_) {
        fault_ = "BMP message of " + std::to_string(length) + " octets, at most " +
                 std::to_string(maxOctets_) + " are accepted";
    }
    return fault_.empty() && octets.size() >= length;
}

Octets BmpStream::complete(Octets octets) {
    auto const move = [&](std::size_t upTo) {
        std::size_t const count = std::min(octets.size(), upTo - std::min(upTo, partial_.size()));
        partial_.insert(partial_.end(), octets.begin(),
                        octets.begin() + static_cast<std::ptrdiff_t>(count));
        octets = octets.subspan(count);
    };
    move(bmpHeaderOctets);
    if (!isWhole(partial_) && fault_.empty() && partial_.size() >= bmpHeaderOctets) {
        move(lengthOf(partial_));
    }
    return octets;
}

} // namespace BgpCommunities
