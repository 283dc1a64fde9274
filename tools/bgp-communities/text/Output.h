#pragma once

#include <stdexcept>
#include <string>

namespace BgpCommunities {

/** Standard output cannot be written; `what()` says why. */
class OutputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** Who read standard output has gone: there is nothing to complain of, and no reason to go on. */
class BrokenPipe : public std::exception {};

/**
 * Standard output, in large pieces.
 *
 * It owns its buffer, not the descriptor. Thread-compatible. What is in the buffer when it goes is
 * lost: `main` flushes, because only there an error still has somewhere to go.
 */
class Output {
  public:
    Output() { text_.reserve(2 * pieceOctets); }
    Output(Output const&) = delete;
    Output& operator=(Output const&) = delete;

    /** What is being written: to append to. */
    std::string& text() { return text_; }

    /** Appends the end of a line and writes what there is if it is much. */
    void endLine() {
        text_ += '\n';
        if (text_.size() >= pieceOctets) {
            flush();
        }
    }

    /** Writes what there is in one piece: several outputs, each of a thread of its own, do not mix
        their lines. Throws OutputError or BrokenPipe. */
    void flush();

  private:
    static constexpr std::size_t pieceOctets = 64 * 1024;

    std::string text_;
};

} // namespace BgpCommunities
