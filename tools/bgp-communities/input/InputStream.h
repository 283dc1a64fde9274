#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "Decoder.h"
#include "InputSource.h"
#include "IntegerTypes.h"

namespace BgpCommunities {

/// The decompressed octets of a file or of standard input, which may be plain, gzip, bzip2, xz or
/// zstd.
///
/// The format is detected from the first octets, never from the name. A compressed file may consist
/// of several members. Owns the descriptor (standard input is left open) and the decompressor.
/// Memory use does not depend on the size of the input. Thread-compatible.
///
/// Damaged, truncated or trailing compressed data do not throw. Everything that can be decompressed
/// is returned, then the stream ends and `damage()` gives the reason. Sizes and offsets are in
/// octets.
class InputStream {
  public:
    /// Opens `path`, or standard input if `path` is "-"; decompresses in at most `threads` threads.
    /// Throws InputError, also for a zip archive.
    explicit InputStream(std::string const& path, unsigned threads = 1);

    /// Sets a function to be called before each read that may block. An interactive program flushes
    /// its output there.
    void setBeforeWait(std::function<void()> beforeWait) {
        source_.setBeforeWait(std::move(beforeWait));
    }

    /// Reads at least one octet into `out` and returns how many; 0 only at the end. Throws
    /// InputError if reading fails or the input is a tar archive. REQUIRES: `out` is not empty.
    std::size_t read(std::span<U8> out);

    /// The path, or "standard input".
    [[nodiscard]] std::string const& name() const { return source_.name(); }

    /// After the end: why the input did not end properly; empty if it did.
    [[nodiscard]] std::string const& damage() const { return decoder_->damage(); }

    /// How many octets of the file itself, before decompression, have been read.
    [[nodiscard]] U64 sourceOctets() const { return source_.octets(); }

    /// The size of the file itself; 0 if unknown, as for a pipe.
    [[nodiscard]] U64 sourceSize() const { return source_.size(); }

  private:
    void lookForArchive(Octets octets);

    InputSource source_;
    std::unique_ptr<Decoder> decoder_;
    std::string head_; // the first octets, until archives are ruled out
    bool mayBeArchive_ = true;
};

} // namespace BgpCommunities
