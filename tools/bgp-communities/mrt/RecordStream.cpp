#include "RecordStream.h"

#include <algorithm>

namespace BgpCommunities {

namespace {

constexpr std::size_t headerOctets = 12;
constexpr std::size_t stepOctets = 64 * 1024;

} // namespace

bool RecordStream::header(RecordHeader& header) {
    recordOffset_ = position_;
    if (!ensure(headerOctets)) {
        return false;
    }
    OctetReader in(take(headerOctets));
    header.number = ++recordNumber_;
    header.offset = recordOffset_;
    header.seconds = in.u32();
    header.type = in.u16();
    header.subtype = in.u16();
    header.length = in.u32();
    return true;
}

bool RecordStream::body(U32 length, Octets& body) {
    if (!ensure(length)) {
        return false;
    }
    body = take(length);
    return true;
}

bool RecordStream::skip(U32 length) {
    for (std::size_t left = length; left != 0;) {
        if (!ensure(1)) {
            return false;
        }
        left -= take(std::min(left, end_ - begin_)).size();
    }
    return true;
}

/// Reads until the buffer has `count` octets; returns false if the input ends first.
bool RecordStream::ensure(std::size_t count) {
    if (end_ - begin_ >= count) {
        return true;
    }
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
              buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
    end_ -= begin_;
    begin_ = 0;
    while (end_ < count) {
        if (end_ == buffer_.size()) {
            grow(count);
        }
        std::size_t const got = input_.read(std::span(buffer_).subspan(end_));
        if (got == 0) {
            return false;
        }
        end_ += got;
    }
    return true;
}

/// Doubles the buffer, but to no more than `count` octets need.
void RecordStream::grow(std::size_t count) {
    std::size_t const needed = (count / stepOctets + 1) * stepOctets;
    std::size_t const size = std::min(std::max(2 * buffer_.size(), stepOctets), needed);
    buffer_.reserve(size); // exactly: resize() alone would double
    buffer_.resize(size);
}

void RecordStream::releaseSpare() {
    std::size_t const left = end_ - begin_;
    std::size_t const size = (left / stepOctets + 1) * stepOctets;
    if (size < buffer_.size()) {
        std::vector<U8> smaller(size);
        std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_), left, smaller.begin());
        buffer_.swap(smaller);
        begin_ = 0;
        end_ = left;
    }
}

Octets RecordStream::take(std::size_t count) {
    Octets const taken = Octets(buffer_).subspan(begin_, count);
    begin_ += count;
    position_ += count;
    return taken;
}

} // namespace BgpCommunities
