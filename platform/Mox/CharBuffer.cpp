#include <Mox/CharBuffer.h>

#include <algorithm>

namespace Mox {

CharBuffer::~CharBuffer() {
    if (start_ != local_) {
        delete[] start_;
    }
}

void CharBuffer::grow(std::size_t required) {
    moveTo(std::max(std::min<std::size_t>(2 * size(), 1024), size() + required));
    MOX_ASSERT_TEXT(endPtr_ - writePtr_ >= static_cast<std::ptrdiff_t>(required),
                    "endPtr - writePtr >= ptrdiff_t( required )");
}

void CharBuffer::moveTo(std::size_t capacity) {
    auto const used = size();
    auto* const larger = new char[capacity];
    std::memcpy(larger, start_, used);
    if (start_ != local_) {
        delete[] start_;
    }
    start_ = larger;
    writePtr_ = larger + used;
    endPtr_ = larger + capacity;
}

} // namespace Mox
