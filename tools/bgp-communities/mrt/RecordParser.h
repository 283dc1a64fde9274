#pragma once

#include "MrtRecords.h"
#include "RecordContext.h"
#include "RibReader.h"
#include "UpdateReader.h"

namespace BgpCommunities {

/**
 * Reads what single MRT records hold: routing tables and BGP messages.
 *
 * It owns memory that is used again from record to record, and knows nothing of the records before:
 * records may be read in any order, by several parsers. Thread-compatible.
 */
class RecordParser {
  public:
    /** The record is of a type that is read. */
    static bool reads(RecordHeader const& header);
    /** The longest body of such a record that is read, in octets: by its type what its own fields
        can say; of a RIB record, whose entries could be 4 GB, `maxRibOctets`. */
    static std::uint32_t maxBodyOctets(RecordHeader const& header);
    /** 65,535 entries of 256 octets each. */
    static constexpr std::uint32_t maxRibOctets = 16U << 20;
    /** It is a peer index table. */
    static bool holdsPeers(RecordHeader const& header);
    /** Its entries name peers by their index. */
    static bool needsPeers(RecordHeader const& header);

    /** It is of BGP4MP or BGP4MP_ET. */
    static bool isBgp4mp(RecordHeader const& header);
    /** The body of such a record, without the microseconds of BGP4MP_ET. */
    static Octets bgp4mpBody(MrtRecord const& record);

    /** Counts the record, and tells the handler of the context what it holds. What is malformed is
        counted, the handler is told where and why, and what can be read is. */
    void read(RecordContext& context, MrtRecord const& record);

  private:
    void readHeld(RecordContext& context, MrtRecord const& record);

    RibReader ribReader_;
    UpdateReader updateReader_;
};

} // namespace BgpCommunities
