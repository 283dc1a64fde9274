#include <Mox/CharBuffer.h>

#include <algorithm>

namespace Mox {

CharBuffer::~CharBuffer() {
    if (start_ != local_) {
        delete[] start_;
    }
}

void CharBuffer::grow(std::size_t required) {
    auto const used = size();
    auto const capacity = std::max(std::min<std::size_t>(2 * used, 1024), used + required);
    auto* const larger = new char[capacity];
    std::memcpy(larger, start_, used);
    if (start_ != local_) {
        delete[] start_;
    }
    start_ = larger;
    writePtr_ = larger + used;
    endPtr_ = larger + capacity;
    MOX_ASSERT_TEXT(endPtr_ - writePtr_ >= static_cast<std::ptrdiff_t>(required),
                    "endPtr - writePtr >= ptrdiff_t( required )");
}

} // namespace Mox
