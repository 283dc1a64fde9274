#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "input/InputStream.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/** The common header of an MRT record (RFC 6396, section 2), and where it stands. */
struct RecordHeader {
    std::uint64_t number = 0; // from 1
    std::uint64_t offset = 0; // of the header in the plain stream
    std::uint32_t seconds = 0;
    std::uint16_t type = 0;
    std::uint16_t subtype = 0;
    std::uint32_t length = 0; // of the body, as claimed: nothing is allocated on its word
};

/** How a dump ends; a plain value. */
struct DumpEnd {
    std::uint64_t number = 0;     // of the record that would come next
    std::uint64_t offset = 0;     // of its first octet
    std::uint64_t octetsLeft = 0; // of a record that is cut
    std::string damage;           // as InputStream has it
};

/**
 * The MRT records of one input, one after the other, in memory that is used again.
 *
 *     timestamp (4) | type (2) | subtype (2) | length (4) | body        RFC 6396, section 2
 *
 * It owns its buffer; the input is the caller's and outlives it. Thread-compatible.
 * What never changes: the buffer grows with the octets that arrive, never with a claimed length,
 * and what it takes for a long record is given back by `releaseSpare()`.
 */
class RecordStream {
  public:
    explicit RecordStream(InputStream& input)
      : input_(input) {}

    /** Takes the header of the next record; false if the input ends before its end. */
    bool header(RecordHeader& header);
    /** Takes the body of that record, good until the next call; false if the input ends first. */
    bool body(std::uint32_t length, Octets& body);
    /** Leaves the body of that record out, without holding it; false as above. */
    bool passOver(std::uint32_t length);

    /** Gives back the memory that only a long record needed. Ends the last body. */
    void releaseSpare();

    /** Where the record that was begun last begins, in the plain stream. */
    [[nodiscard]] std::uint64_t recordOffset() const { return recordOffset_; }

    /** After one of them was false: how many octets there were after the last whole record. */
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
    std::uint64_t position_ = 0; // of buffer_[begin_] in the plain stream
    std::uint64_t recordOffset_ = 0;
    std::uint64_t recordNumber_ = 0;
};

} // namespace BgpCommunities
