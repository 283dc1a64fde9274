#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "InputStream.h"

namespace BgpCommunities {

/**
 * Reads an input line by line.
 *
 * It owns its buffer, which grows with the longest line up to `maxLineOctets` and is reused; the
 * input is not owned. Thread-compatible.
 */
class LineReader {
  public:
    /** Far more than the digits of any path attribute. */
    static constexpr std::size_t maxLineOctets = std::size_t{1} << 20;

    explicit LineReader(InputStream& input)
      : input_(input) {}

    /** Takes the next line, good until the next call, without its end ("\n" or "\r\n"); false at
        the end of the input. Throws InputError, and what is thrown before a wait for input. */
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
    std::string buffer_;
    std::size_t begin_ = 0; // of what has not been taken
    std::size_t end_ = 0;   // of what has been read
    std::string_view line_;
    std::uint64_t number_ = 0;
    bool tooLong_ = false;
};

} // namespace BgpCommunities
