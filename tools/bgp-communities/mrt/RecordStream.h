#pragma once

#include <string>
#include <vector>

#include "input/InputStream.h"
#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// The common header of an MRT record (RFC 6396, section 2), and its position.
struct RecordHeader {
    U64 number = 0; // from 1
    U64 offset = 0; // of the header in the decompressed stream
    U32 seconds = 0;
    U16 type = 0;
    U16 subtype = 0;
    U32 length = 0; // of the body; untrusted
};

/// How a dump ends.
struct DumpEnd {
    U64 number = 0;     // of the record that would be next
    U64 offset = 0;     // of its first octet
    U64 octetsLeft = 0; // of a truncated record
    std::string damage; // see InputStream::damage()
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
    bool body(U32 length, Octets& body);
    /// Skips the body of that record; returns false if the input ends first.
    bool skip(U32 length);

    /// Releases memory that only a long record needed. Invalidates the last body.
    void releaseSpare();

    /// The offset of the current record in the decompressed stream.
    [[nodiscard]] U64 recordOffset() const { return recordOffset_; }

    /// After a call returned false: how many octets follow the last whole record.
    [[nodiscard]] U64 octetsLeft() const { return position_ + (end_ - begin_) - recordOffset_; }

  private:
    bool ensure(std::size_t count);
    void grow(std::size_t count);
    Octets take(std::size_t count);

    InputStream& input_;
    std::vector<U8> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    U64 position_ = 0; // of buffer_[begin_] in the decompressed stream
    U64 recordOffset_ = 0;
    U64 recordNumber_ = 0;
};

} // namespace BgpCommunities
