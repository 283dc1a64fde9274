#include "LineReader.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace BgpCommunities {

namespace {
constexpr std::size_t readOctets = 64 * 1024;
} // namespace

bool LineReader::next() {
    if (tooLong_) {
        skipRest();
    }
    std::size_t searched = 0;
    for (;;) {
        std::string_view const left = std::string_view(buffer_).substr(begin_, end_ - begin_);
        std::size_t const length = left.find('\n', searched);
        tooLong_ = std::min(length, left.size()) > maxLineOctets;
        if (length != std::string_view::npos || tooLong_) {
            line_ = left.substr(0, tooLong_ ? maxLineOctets : length);
            begin_ += line_.size() + (tooLong_ ? 0 : 1);
            break;
        }
        searched = left.size();
        if (!fill()) {
            // The last line may lack a newline.
            line_ = std::string_view(buffer_).substr(begin_, end_ - begin_);
            begin_ = end_;
            if (line_.empty()) {
                return false;
            }
            break;
        }
    }
    if (line_.ends_with('\r')) {
        line_.remove_suffix(1);
    }
    ++number_;
    return true;
}

/// Appends more input to the buffer; returns false at the end of the input.
bool LineReader::fill() {
    buffer_.erase(0, begin_);
    end_ -= begin_;
    begin_ = 0;
    if (buffer_.size() < end_ + readOctets) {
        buffer_.resize(end_ + readOctets);
    }
    // Accessing char storage as U8, an unsigned char, is allowed.
    auto* const place = reinterpret_cast<U8*>(buffer_.data() + end_);
    std::size_t const got = input_.read(std::span(place, readOctets));
    end_ += got;
    return got != 0;
}

void LineReader::skipRest() {
    do {
        std::string_view const left = std::string_view(buffer_).substr(begin_, end_ - begin_);
        if (std::size_t const length = left.find('\n'); length != std::string_view::npos) {
            begin_ += length + 1;
            return;
        }
        begin_ = end_;
    } while (fill());
}

} // namespace BgpCommunities
