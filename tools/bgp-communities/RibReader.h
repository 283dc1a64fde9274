#pragma once

#include <cstdint>
#include <vector>

#include "PathAttributes.h"
#include "RecordContext.h"

namespace BgpCommunities {

/**
 * Reads the TABLE_DUMP and TABLE_DUMP_V2 records of one dump: what each peer had for each prefix.
 *
 * It owns the peer index table that a TABLE_DUMP_V2 dump begins with, and the memory for the
 * attributes of one entry, which it uses again for the next. Thread-compatible.
 */
class RibReader {
  public:
    static bool readsTableDump(std::uint16_t subtype);
    static bool readsTableDumpV2(std::uint16_t subtype);

    /** Read one record whose subtype is read. */
    void readTableDump(RecordContext const& record, std::uint16_t subtype, Octets body);
    void readTableDumpV2(RecordContext const& record, std::uint16_t subtype, Octets body);

  private:
    void readPeers(RecordContext const& record, OctetReader& in);
    void readRib(RecordContext const& record, std::uint16_t subtype, OctetReader& in);
    void readEntries(RecordContext const& record, OctetReader& in, bool pathIds);
    bool findPeer(std::uint16_t index);
    void deliver(RecordContext const& record, Octets attributes);

    std::vector<Peer> peers_;
    bool missedPeers_ = false; // told that an entry came before any peer index table
    RibEntry entry_;
    AttributeArea area_;
};

} // namespace BgpCommunities
