#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "MrtRecords.h"
#include "RecordParser.h"

namespace BgpCommunities {

/**
 * Some whole records of one dump, one behind the other: a piece of work for any thread.
 *
 * It owns their octets, so that the dump can be read on, and its memory is used again. It belongs
 * to one thread at a time. Thread-compatible.
 */
class RecordBatch {
  public:
    /** Makes it an empty one, of the dump of that number, the `sequence`th of it from 0. */
    void begin(std::size_t dump, std::uint64_t sequence);

    /** The file, as people know it. */
    void nameIs(std::string const& name) { name_ = name; }

    void append(MrtRecord const& record);

    /** It is the last of its dump, which ends so. */
    void endIs(DumpEnd const& end);
    /** The same for a dump that cannot be read on. */
    void unreadableIs(std::string const& reason);

    /** Reads all records, and then the end, if it is there. */
    void read(RecordParser& parser, RecordContext& context);

    [[nodiscard]] std::size_t dump() const { return dump_; }

    [[nodiscard]] std::uint64_t sequence() const { return sequence_; }

    [[nodiscard]] std::string const& name() const { return name_; }

    [[nodiscard]] bool last() const { return last_; }

    /** Why it is the last one; empty if the dump has been read to its end. */
    [[nodiscard]] std::string const& unreadable() const { return unreadable_; }

    /** How much it holds. */
    [[nodiscard]] std::size_t octets() const {
        return octets_.size() + records_.size() * sizeof(MrtRecord);
    }

    [[nodiscard]] bool full() const { return octets() >= fullOctets; }

    /** One record was so long that its memory is not worth being kept. */
    [[nodiscard]] bool oversized() const { return octets_.capacity() > 3 * fullOctets; }

  private:
    static constexpr std::size_t fullOctets = 256 * 1024;

    std::size_t dump_ = 0;
    std::uint64_t sequence_ = 0;
    std::string name_;
    std::vector<std::uint8_t> octets_; // of the bodies
    std::vector<MrtRecord> records_;   // each with as many of them as its body had
    bool last_ = false;
    std::optional<DumpEnd> end_;
    std::string unreadable_;
};

} // namespace BgpCommunities
