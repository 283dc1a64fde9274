#pragma once

#include <vector>

#include "MrtRecords.h"
#include "RecordContext.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/**
 * Reads TABLE_DUMP and TABLE_DUMP_V2 records: what each peer had for each prefix.
 *
 * It owns the memory for the attributes of one entry, which it uses again for the next.
 * Thread-compatible.
 */
class RibReader {
  public:
    /** Read one record whose subtype is read. */
    void readTableDump(RecordContext const& context, MrtRecord const& record);
    void readTableDumpV2(RecordContext const& context, MrtRecord const& record);

  private:
    void readRib(RecordContext const& context, MrtRecord const& record);
    void readEntries(RecordContext const& context, OctetReader& in, bool pathIds,
                     PeerTable const* peers);
    bool findPeer(PeerTable const* peers, std::uint16_t index);
    void deliver(RecordContext const& context, AttributeOctets const& attributes);

    RibEntry entry_;
    AttributeArea area_;
};

} // namespace BgpCommunities
