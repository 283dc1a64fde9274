#pragma once

#include <memory>

#include "PeerTable.h"
#include "RecordStream.h"
#include "input/InputStream.h"
#include "input/IntegerTypes.h"
#include "input/OctetBudget.h"
#include "input/OctetReader.h"
#include "wire/AddPath.h"

namespace BgpCommunities {

/// One MRT record with everything needed to parse it on its own, in any thread.
///
/// Shares the peer index table. Does not own its octets. Thread-compatible.
struct MrtRecord {
    RecordHeader header;
    bool hasBody = false;                   // of a supported type, and not too long
    Octets body;                            // empty if not `hasBody`
    std::shared_ptr<PeerTable const> peers; // the latest one of the dump; null if none yet
    bool firstWithoutPeers = false;         // the first one of the dump that lacks its peers
    PathIds pathIds;                        // of a BGP4MP message
};

/// Reads the records of one MRT dump in order, with the context that later records need: the peer
/// index table and the use of path identifiers.
///
/// Owns its buffer and shares the peer index table with the records; the input is not owned and
/// must outlive it. Thread-compatible. Memory is reused and bounded by the longest record read, not
/// by length fields; the memory for a large record is released at the next one.
class MrtRecords {
  public:
    /// Longer bodies are charged to the budget.
    static constexpr U32 largeOctets = 256 * 1024;

    /// `budget` is shared with readers in other threads; not owned, may be null.
    MrtRecords(InputStream& input, AddPath addPath, OctetBudget* budget = nullptr)
      : input_(input)
      , stream_(input)
      , addPath_(addPath)
      , budget_(budget) {}

    ~MrtRecords() { giveBack(); }

    MrtRecords(MrtRecords const&) = delete;
    MrtRecords& operator=(MrtRecords const&) = delete;

    /// Reads the next record; its body is invalidated by the next call. Returns false if no whole
    /// record is left. Waits for the budget if the record is large. Throws InputError.
    bool next(MrtRecord& record);

    /// The last record is large: its share of the budget is held until the next call.
    [[nodiscard]] bool holdsLarge() const { return share_ != 0; }

    /// How the dump ended. REQUIRES: `next()` returned false.
    [[nodiscard]] DumpEnd end() const;

  private:
    bool takeBody(MrtRecord& record);
    void giveBack();
    void keepPeers(MrtRecord& record);
    void decidePathIds(MrtRecord& record);

    InputStream& input_;
    RecordStream stream_;
    U64 records_ = 0;
    std::shared_ptr<PeerTable const> peers_;
    bool missedPeers_ = false; // a record came before the table that it needs
    AddPathDecider addPath_;
    OctetBudget* budget_;
    std::size_t share_ = 0; // of the budget
};

} // namespace BgpCommunities
