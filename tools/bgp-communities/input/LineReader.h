#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "InputStream.h"
#include "text/Output.h"

namespace BgpCommunities {

/**
 * The lines of one input, one after another, in memory that is used again.
 *
 * It owns its buffer, which grows with the longest line up to `maxLineOctets`; the input and the
 * output are the caller's and outlive it. Thread-compatible. What never changes: before it waits
 * for more input, the output is flushed, so that who asks line by line is answered line by line.
 */
class LineReader {
  public:
    /** Far more than the digits of any path attribute. */
    static constexpr std::size_t maxLineOctets = std::size_t{1} << 20;

    LineReader(InputStream& input, Output& output)
      : input_(input)
      , output_(output) {}

    /** Takes the next line, good until the next call, without its end ("\n" or "\r\n"); false at
        the end of the input. Throws InputError, and what Output throws. */
    bool next();

    [[nodiscard]] std::string_view line() const { return line_; }

    /** Of this line, from 1. */
    [[nodiscard]] std::uint64_t number() const { return number_; }

    /** The line has more than `maxLineOctets`: `line()` is only the beginning of it. */
    [[nodiscard]] bool isTooLong() const { return tooLong_; }

  private:
    bool fill();
    void passOverRest();

    InputStream& input_;
    Output& output_;
    std::string buffer_;
    std::size_t begin_ = 0; // of what has not been taken
    std::size_t end_ = 0;   // of what has been read
    std::string_view line_;
    std::uint64_t number_ = 0;
    bool tooLong_ = false;
};

} // namespace BgpCommunities
