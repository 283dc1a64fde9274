#pragma once

#include <Mox/String.h>

#include <locale>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace Mox {

/// An output stream into a string that it owns, with the classic locale whatever the process has.
/// Thread-compatible.
class TextStream : private std::streambuf, public std::ostream {
  public:
    TextStream()
      : std::ostream(static_cast<std::streambuf*>(this)) {
        std::ostream::imbue(std::locale::classic());
    }

    /// What has been written since the last discard().
    std::string_view text() const noexcept { return text_; }
    /// Begins a new text in the memory of the last.
    void discard() noexcept { text_.clear(); }
    String string() const { return String(text()); }

  private:
    std::streamsize xsputn(char const* octets, std::streamsize count) override {
        text_.append(octets, static_cast<std::size_t>(count));
        return count;
    }

    std::streambuf::int_type overflow(std::streambuf::int_type octet) override {
        if (!std::streambuf::traits_type::eq_int_type(octet, std::streambuf::traits_type::eof())) {
            text_.push_back(std::streambuf::traits_type::to_char_type(octet));
        }
        return std::streambuf::traits_type::not_eof(octet);
    }

    std::string text_;
};

} // namespace Mox
