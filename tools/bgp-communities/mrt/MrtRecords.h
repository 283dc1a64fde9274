#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "PeerTable.h"
#include "RecordStream.h"
#include "input/InputStream.h"
#include "input/OctetBudget.h"
#include "input/OctetReader.h"
#include "wire/AddPath.h"

namespace BgpCommunities {

/**
 * One whole MRT record with all that is needed to read it by itself, in any thread.
 *
 * It shares the peer index table; its octets are those of whoever handed it out. Thread-compatible.
 */
struct MrtRecord {
    RecordHeader header;
    bool held = false;                      // of a type that is read, and not too long
    Octets body;                            // empty if not held
    std::shared_ptr<PeerTable const> peers; // the last one of the dump so far; null: none yet
    bool firstWithoutPeers = false;         // the first of the dump that needs peers and has none
    PathIds pathIds;                        // of a BGP4MP message
};

/**
 * The records of one MRT dump in their order, and what one of them tells those after it.
 *
 * It owns its buffer and shares the peer index table with the records; the input is the caller's
 * and outlives it. Thread-compatible. What never changes: memory is used again from record to
 * record and bounded by the largest one that is held, whatever a length claims. What a large record
 * takes is given back with the next one.
 */
class MrtRecords {
  public:
    /** Longer bodies take their share of the budget. */
    static constexpr std::uint32_t largeOctets = 256 * 1024;

    /** `budget`, not owned, is shared with readers in other threads; null if there are none. */
    MrtRecords(InputStream& input, AddPath addPath, OctetBudget* budget = nullptr)
      : input_(input)
      , stream_(input)
      , addPath_(addPath)
      , budget_(budget) {}

    ~MrtRecords() { giveBack(); }

    MrtRecords(MrtRecords const&) = delete;
    MrtRecords& operator=(MrtRecords const&) = delete;

    /** Takes the next record, whose body is good until the next call; false if there is no whole
        one. Waits for the budget if the record is large. Throws InputError. */
    bool next(MrtRecord& record);

    /** The body of the last record is large: its share of the budget is held until the next call.
     */
    [[nodiscard]] bool holdsLarge() const { return share_ != 0; }

    /** After `next()` was false. */
    [[nodiscard]] DumpEnd end() const;

  private:
    bool takeBody(MrtRecord& record);
    void giveBack();
    void keepPeers(MrtRecord& record);
    void decidePathIds(MrtRecord& record);

    InputStream& input_;
    RecordStream stream_;
    std::uint64_t records_ = 0;
    std::shared_ptr<PeerTable const> peers_;
    bool missedPeers_ = false; // a record needed some before there were any
    AddPathDecider addPath_;
    OctetBudget* budget_;
    std::size_t share_ = 0; // of the budget
};

} // namespace BgpCommunities
