#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace BgpCommunities {

/** A file that could not be opened or read; `what()` names it and says why. */
class InputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * The plain octets of one input: a file, or standard input, that is plain, gzip or bzip2.
 *
 * The form is told by the first octets and never by the name; a compressed file may hold several
 * members one after the other. It owns the descriptor (standard input is left open) and the
 * decompressor, and its memory does not depend on the size of the input. Thread-compatible.
 * What never changes: everything that can be decompressed is handed out before the end is
 * reported, and compressed data that are damaged, cut short, or followed by something else do not
 * throw: they end the stream, and `damage()` says what was met. Sizes and offsets are octets.
 */
class InputStream {
  public:
    /** Opens `path`, or standard input if that is "-". Throws InputError. */
    explicit InputStream(std::string const& path);
    ~InputStream();
    InputStream(InputStream const&) = delete;
    InputStream& operator=(InputStream const&) = delete;

    /** Puts at least one octet into `out` (not empty) and returns how many; 0 only at the end.
        Throws InputError if the system cannot read. */
    std::size_t read(std::span<std::uint8_t> out);

    /** The path, or "standard input". */
    [[nodiscard]] std::string const& name() const;

    /** After the end: why it is not a proper one; empty if it is. */
    [[nodiscard]] std::string const& damage() const;

    /** How many octets of the file itself have been read, to compare with `sourceSize()`. */
    [[nodiscard]] std::uint64_t sourceOctets() const;

    /** The size of the file itself; 0 if it has none that is known beforehand. */
    [[nodiscard]] std::uint64_t sourceSize() const;

    class Source;
    class Decoder;

  private:
    std::unique_ptr<Source> source_;
    std::unique_ptr<Decoder> decoder_;
};

} // namespace BgpCommunities
