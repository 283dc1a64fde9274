#pragma once

#include <Mox/String.h>

#include <exception>
#include <locale>
#include <new>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace Mox {

/// An output stream into its own string, with the classic locale. Thread-compatible.
///
/// Streams swallow the exceptions of their buffers, so text() throws if memory ran out while
/// writing.
class TextStream : private std::streambuf, public std::ostream {
    using Traits = std::streambuf::traits_type;

  public:
    TextStream()
      : std::ostream(static_cast<std::streambuf*>(this)) {
        if (std::ostream::getloc() != std::locale::classic()) {
            std::ostream::imbue(std::locale::classic());
        }
    }

    /// Returns the text written since the last discard(). Throws `std::bad_alloc` if part of it was
    /// lost.
    std::string_view text() const {
        if (!complete_ || bad()) {
            throw std::bad_alloc();
        }
        return text_;
    }

    /// Starts a new text and keeps the memory.
    void discard() noexcept {
        text_.clear();
        complete_ = true;
        clear();
    }

    /// Like text(), as a String.
    String string() const { return String(text()); }

  private:
    std::streamsize xsputn(char const* octets, std::streamsize count) override {
        return keep({octets, static_cast<std::size_t>(count)}) ? count : 0;
    }

    std::streambuf::int_type overflow(std::streambuf::int_type octet) override {
        auto const character = Traits::to_char_type(octet);
        bool const kept = Traits::eq_int_type(octet, Traits::eof()) || keep({&character, 1});
        return kept ? Traits::not_eof(octet) : Traits::eof();
    }

    /// Records failures here as well, because another stream may use this one's buffer.
    bool keep(std::string_view octets) noexcept {
        try {
            text_.append(octets);
        } catch (std::exception const&) {
            complete_ = false;
        }
        return complete_;
    }

    std::string text_;
    bool complete_ = true;
};

} // namespace Mox
