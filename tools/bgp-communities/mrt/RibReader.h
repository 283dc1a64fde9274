#pragma once

#include "MrtRecords.h"
#include "RecordContext.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// Parses TABLE_DUMP and TABLE_DUMP_V2 records: the route of each peer for each prefix.
///
/// Owns the memory for the attributes of one entry and reuses it for the next. Thread-compatible.
class RibReader {
  public:
    /// Parse one record of a supported subtype.
    void readTableDump(RecordContext const& context, MrtRecord const& record);
    void readTableDumpV2(RecordContext const& context, MrtRecord const& record);

  private:
    void readRib(RecordContext const& context, MrtRecord const& record);
    void readEntries(RecordContext const& context, OctetReader& in, bool pathIds,
                     PeerTable const* peers);
    bool findPeer(PeerTable const* peers, U16 index);
    void deliver(RecordContext const& context, AttributeOctets const& attributes);

    RibEntry entry_;
    AttributeArea area_;
};

} // namespace BgpCommunities
