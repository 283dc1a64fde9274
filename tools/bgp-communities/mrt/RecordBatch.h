#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "MrtRecords.h"
#include "RecordParser.h"
#include "input/IntegerTypes.h"

namespace BgpCommunities {

/// Consecutive records of one dump: a unit of work for any thread.
///
/// Owns copies of their octets; its memory is reused. Thread-compatible.
class RecordBatch {
  public:
    /// Clears the batch for new records of dump number `dump`; `sequence` is its position in the
    /// dump, from 0.
    void begin(std::size_t dump, U64 sequence);

    /// The file name for messages.
    void setName(std::string const& name) { name_ = name; }

    void append(MrtRecord const& record);

    /// Marks the batch as the last of its dump, which ended as described by `end`.
    void setEnd(DumpEnd const& end);
    /// Marks the batch as the last of its dump, which could not be read further.
    void setUnreadable(std::string const& reason);

    /// Parses all records, and reports the end of the dump if this batch has it.
    void read(RecordParser& parser, RecordContext& context);

    [[nodiscard]] std::size_t dump() const { return dump_; }

    [[nodiscard]] U64 sequence() const { return sequence_; }

    [[nodiscard]] std::string const& name() const { return name_; }

    [[nodiscard]] bool last() const { return last_; }

    /// Why the dump could not be read further; empty otherwise.
    [[nodiscard]] std::string const& unreadable() const { return unreadable_; }

    /// Memory use of the records.
    [[nodiscard]] std::size_t octets() const {
        return octets_.size() + records_.size() * sizeof(MrtRecord);
    }

    [[nodiscard]] bool full() const { return octets() >= fullOctets; }

    /// The memory grew for a long record and is not worth keeping.
    [[nodiscard]] bool oversized() const { return octets_.capacity() > 3 * fullOctets; }

  private:
    static constexpr std::size_t fullOctets = 256 * 1024;

    std::size_t dump_ = 0;
    U64 sequence_ = 0;
    std::string name_;
    std::vector<U8> octets_;         // of the bodies
    std::vector<MrtRecord> records_; // only the size of each body is valid
    bool last_ = false;
    std::optional<DumpEnd> end_;
    std::string unreadable_;
};

} // namespace BgpCommunities
