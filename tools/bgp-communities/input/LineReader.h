#pragma once

#include <string>
#include <string_view>

#include "InputStream.h"
#include "IntegerTypes.h"

namespace BgpCommunities {

/// Reads an input line by line.
///
/// Owns its buffer, which grows with the longest line up to `maxLineOctets`; does not own the
/// input. Thread-compatible.
class LineReader {
  public:
    /// Far longer than any path attribute in hexadecimal.
    static constexpr std::size_t maxLineOctets = std::size_t{1} << 20;

    explicit LineReader(InputStream& input)
      : input_(input) {}

    /// Reads the next line, without its "\n" or "\r\n"; returns false at the end of the input. The
    /// line is invalidated by the next call. Throws InputError and whatever the function set by
    /// InputStream::setBeforeWait() throws.
    bool next();

    [[nodiscard]] std::string_view line() const { return line_; }

    /// The number of this line, from 1.
    [[nodiscard]] U64 number() const { return number_; }

    /// The line is longer than `maxLineOctets`; `line()` is only the start of it.
    [[nodiscard]] bool isTooLong() const { return tooLong_; }

  private:
    bool fill();
    void skipRest();

    InputStream& input_;
    std::string buffer_;
    std::size_t begin_ = 0; // of the unread part
    std::size_t end_ = 0;   // of the buffered input
    std::string_view line_;
    U64 number_ = 0;
    bool tooLong_ = false;
};

} // namespace BgpCommunities
