#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "input/InputStream.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// The common header of an MRT record (RFC 6396, section 2), and its position.
struct RecordHeader {
    std::uint64_t number = 0; // from 1
    std::uint64_t offset = 0; // of the header in the decompressed stream
    std::uint32_t seconds = 0;
    std::uint16_t type = 0;
    std::uint16_t subtype = 0;
    std::uint32_t length = 0; // of the body; untrusted
};

/// How a dump ends.
struct DumpEnd {
    std::uint64_t number = 0;     // of the record that would be next
    std::uint64_t offset = 0;     // of its first octet
    std::uint64_t octetsLeft = 0; // of a truncated record
    std::string damage;           // see InputStream::damage()
};

/// Splits an input into MRT records, in a buffer that is reused.
///
///     timestamp (4) | type (2) | subtype (2) | length (4) | body        RFC 6396, section 2
///
/// Owns its buffer; the input is not owned and must outlive it. Thread-compatible. The buffer grows
/// with the octets that arrive, never with a length field; `releaseSpare()` releases what a long
/// record needed.
class RecordStream {
  public:
    explicit RecordStream(InputStream& input)
      : input_(input) {}

    /// Reads the header of the next record; returns false if the input ends first.
    bool header(RecordHeader& header);
    /// Reads the body of that record; returns false if the input ends first. Invalidated by the
    /// next call.
    bool body(std::uint32_t length, Octets& body);
    /// Skips the body of that record; returns false if the input ends first.
    bool skip(std::uint32_t length);

    /// Releases memory that only a long record needed. Invalidates the last body.
    void releaseSpare();

    /// The offset of the current record in the decompressed stream.
    [[nodiscard]] std::uint64_t recordOffset() const { return recordOffset_; }

    /// After a call returned false: how many octets follow the last whole record.
    [[nodiscard]] std::uint64_t octetsLeft() const {
        return position_ + (end_ - begin_) - recordOffset_;
    }

  private:
    bool ensure(std::size_t count);
    void grow(std::size_t count);
    Octets take(std::size_t count);

    InputStream& input_;
    std::vector<std::uint8_t> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::uint64_t position_ = 0; // of buffer_[begin_] in the decompressed stream
    std::uint64_t recordOffset_ = 0;
    std::uint64_t recordNumber_ = 0;
};

} // namespace BgpCommunities
