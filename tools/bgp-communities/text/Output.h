#pragma once

#include <stdexcept>
#include <string>

namespace BgpCommunities {

/// Standard output cannot be written; `what()` gives the reason.
class OutputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The reader of standard output has closed it. Not an error; the program stops.
class BrokenPipe : public std::exception {};

/// Buffered standard output.
///
/// Owns its buffer, not the descriptor. The destructor discards the buffer, because it could not
/// report an error: `main` flushes. Thread-compatible.
class Output {
  public:
    Output() { text_.reserve(2 * pieceOctets); }
    Output(Output const&) = delete;
    Output& operator=(Output const&) = delete;

    /// The buffer; append output here.
    std::string& text() { return text_; }

    /// Ends a line; flushes a large buffer.
    void endLine() {
        text_ += '\n';
        if (text_.size() >= pieceOctets) {
            flush();
        }
    }

    /// Writes the buffer in one piece, so that the lines of outputs in several threads do not mix.
    /// Throws OutputError or BrokenPipe.
    void flush();

  private:
    static constexpr std::size_t pieceOctets = 64 * 1024;

    std::string text_;
};

} // namespace BgpCommunities
