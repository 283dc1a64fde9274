#include "InputStream.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace BgpCommunities {

namespace {

constexpr std::size_t tarBlockOctets = 512;

/// Whether a block is a tar header: "ustar" at offset 257, and at 148 the octal sum of all octets,
/// with the sum field itself counted as blanks.
bool isTarHeader(std::string_view block) {
    std::string_view const sumField = block.substr(148, 8);
    std::string_view digits =
        sumField.substr(std::min(sumField.find_first_not_of(' '), sumField.size()));
    unsigned int stored = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), stored, 8);
    unsigned int sum = 0;
    for (std::size_t at = 0; at < block.size(); ++at) {
        bool const ofSum = at >= 148 && at < 156;
        sum += ofSum ? ' ' : static_cast<U8>(block[at]);
    }
    return block.substr(257, 5) == "ustar" && sum == stored;
}

/// "PK" 3 4, then the version of the format, little-endian. The first four octets may also be an
/// MRT timestamp of September 2012, but no record type looks like such a version.
bool isZipHeader(std::string_view head) {
    return head.size() >= 6 && head.starts_with("PK\x03\x04") && head[4] != 0 && head[5] == 0;
}

InputError isArchive(std::string const& name, std::string_view kind) {
    return InputError(name + ": is a " + std::string(kind) + " archive; extract the dumps first");
}

} // namespace

InputStream::InputStream(std::string const& path, unsigned threads)
  : source_(path)
  , decoder_(decoderFor(source_, threads)) {}

std::size_t InputStream::read(std::span<U8> out) {
    std::size_t const got = decoder_->read(out);
    if (mayBeArchive_) {
        lookForArchive(out.first(got));
    }
    return got;
}

void InputStream::lookForArchive(Octets octets) {
    head_.append(octets.begin(),
                 octets.begin() + static_cast<std::ptrdiff_t>(
                                      std::min(octets.size(), tarBlockOctets - head_.size())));
    if (isZipHeader(head_)) {
        throw isArchive(name(), "zip");
    }
    if (head_.size() < tarBlockOctets) {
        return;
    }
    if (isTarHeader(head_)) {
        throw isArchive(name(), "tar");
    }
    mayBeArchive_ = false;
    head_ = {};
}

} // namespace BgpCommunities
