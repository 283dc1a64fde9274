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

/// An output stream into a string that it owns, with the classic locale whatever the process has.
/// Thread-compatible.
///
/// Streams do not pass on the exceptions of their buffers. A text of which part is missing because
/// memory ran out is therefore refused where it is read.
class TextStream : private std::streambuf, public std::ostream {
    using Traits = std::streambuf::traits_type;

  public:
    TextStream()
      : std::ostream(static_cast<std::streambuf*>(this)) {
        if (std::ostream::getloc() != std::locale::classic()) {
            std::ostream::imbue(std::locale::classic());
        }
    }

    /// What has been written since the last discard(). Throws `std::bad_alloc` if that is not all
    /// there.
    std::string_view text() const {
        if (!whole_ || bad()) {
            throw std::bad_alloc();
        }
        return text_;
    }

    /// Begins a new text in the memory of the last.
    void discard() noexcept {
        text_.clear();
        whole_ = true;
        clear();
    }

    /// As text().
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

    /// A failure is noted here too: another stream may write into this one's buffer.
    bool keep(std::string_view octets) noexcept {
        try {
            text_.append(octets);
        } catch (std::exception const&) {
            whole_ = false;
        }
        return whole_;
    }

    std::string text_;
    bool whole_ = true;
};

} // namespace Mox
