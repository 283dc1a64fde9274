#pragma once

#include "Bgp4mpReader.h"
#include "MrtRecords.h"
#include "RecordContext.h"
#include "RibReader.h"

namespace BgpCommunities {

/**
 * Reads what single MRT records hold: routing tables and BGP messages.
 *
 * It owns memory that is used again from record to record, and knows nothing of the records before:
 * records may be read in any order, by several parsers. Thread-compatible.
 */
class RecordParser {
  public:
    /** Counts the record, and tells the handler of the context what it holds. What is malformed is
        counted, the handler is told where and why, and what can be read is. */
    void read(RecordContext& context, MrtRecord const& record);

  private:
    void readHeld(RecordContext& context, MrtRecord const& record);

    RibReader ribReader_;
    Bgp4mpReader bgp4mpReader_;
};

} // namespace BgpCommunities
