#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "Decoder.h"
#include "InputSource.h"

namespace BgpCommunities {

/**
 * The plain octets of one input: a file, or standard input, that is plain or compressed by gzip,
 * bzip2, xz or zstd.
 *
 * The format is told by the first octets and never by the name; a compressed file may hold several
 * members one after the other. Owns the descriptor (standard input is left open) and the
 * decompressor; its memory does not depend on the size of the input. Thread-compatible.
 *
 * Everything that can be decompressed is handed out before the end is reported. Compressed data
 * that are damaged, truncated, or followed by something else do not throw: they end the stream, and
 * `damage()` says what was found. Sizes and offsets are in octets.
 */
class InputStream {
  public:
    /** Opens `path`, or standard input if that is "-"; `threads`: how many may decompress at a
       time. Throws InputError, also for a zip archive. */
    explicit InputStream(std::string const& path, unsigned threads = 1);

    /** Called before each wait for octets of a pipe: a program that is read line by line writes
        there what it has to say so far. */
    void beforeWaitIs(std::function<void()> beforeWait) {
        source_.beforeWaitIs(std::move(beforeWait));
    }

    /** Puts at least one octet into `out` (not empty) and returns how many; 0 only at the end.
        Throws InputError if the system cannot read, or the octets are a tar archive. */
    std::size_t read(std::span<std::uint8_t> out);

    /** The path, or "standard input". */
    [[nodiscard]] std::string const& name() const { return source_.name(); }

    /** After the end: why it is not a proper one; empty if it is. */
    [[nodiscard]] std::string const& damage() const { return decoder_->damage(); }

    /** How many octets of the file itself have been read, to compare with `sourceSize()`. */
    [[nodiscard]] std::uint64_t sourceOctets() const { return source_.octets(); }

    /** The size of the file itself; 0 if it has none that is known beforehand. */
    [[nodiscard]] std::uint64_t sourceSize() const { return source_.size(); }

  private:
    void lookForArchive(Octets octets);

    InputSource source_;
    std::unique_ptr<Decoder> decoder_;
    std::string head_; // the first octets, until it is known that they are no archive's
    bool mayBeArchive_ = true;
};

} // namespace BgpCommunities
