#include <Routing/Bgp/Serialize.h>

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace Routing::Bgp {

Serialize::~Serialize() {
    if (buffer_ != inline_) {
        delete[] buffer_;
    }
}

void Serialize::growBuffer(U32 needed) {
    if (needed <= capacity_) {
        return;
    }
    auto* const larger = new char[needed];
    std::memcpy(larger, buffer_, size_);
    if (buffer_ != inline_) {
        delete[] buffer_;
    }
    buffer_ = larger;
    capacity_ = needed;
}

void Serialize::growBy(U32 count) {
    constexpr U64 most = std::numeric_limits<U32>::max();
    auto const needed = U64{size_} + count;
    if (needed > most) {
        throw std::length_error("Routing::Bgp::Serialize: 2^32 octets");
    }
    growBuffer(static_cast<U32>(std::clamp(2 * U64{capacity_}, needed, most)));
}

Mox::String Serialize::serializedString(U32 fromOffset) const {
    MOX_ASSERT(fromOffset <= size_);
    return Mox::String(std::string_view(buffer_ + fromOffset, size_ - fromOffset));
}

} // namespace Routing::Bgp
