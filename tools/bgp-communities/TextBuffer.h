#pragma once

#include <locale>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace BgpCommunities {

/**
 * An output stream into memory that is kept, for what can only be streamed; numbers as in the
 * classic locale. It owns the memory. Thread-compatible.
 */
class TextBuffer : private std::streambuf, public std::ostream {
  public:
    TextBuffer()
      : std::ostream(static_cast<std::streambuf*>(this)) {
        std::ostream::imbue(std::locale::classic());
    }

    void discard() { text_.clear(); }

    /** What has been written since the last `discard()`. */
    [[nodiscard]] std::string_view text() const { return text_; }

  private:
    std::streamsize xsputn(char const* characters, std::streamsize count) override {
        text_.append(characters, static_cast<std::size_t>(count));
        return count;
    }

    std::streambuf::int_type overflow(std::streambuf::int_type character) override {
        text_ += static_cast<char>(character);
        return character;
    }

    std::string text_;
};

} // namespace BgpCommunities
