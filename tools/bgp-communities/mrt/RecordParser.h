#pragma once

#include "Bgp4mpReader.h"
#include "MrtRecords.h"
#include "RecordContext.h"
#include "RibReader.h"

namespace BgpCommunities {

/// Parses single MRT records: routing tables and BGP messages.
///
/// Keeps no state between records, only memory for reuse: records may be parsed in any order, by
/// several parsers. Thread-compatible.
class RecordParser {
  public:
    /// Counts the record and passes its content to the handler of the context. Malformed parts are
    /// counted and reported; the rest is parsed.
    void read(RecordContext& context, MrtRecord const& record);

  private:
    void readBody(RecordContext& context, MrtRecord const& record);

    RibReader ribReader_;
    Bgp4mpReader bgp4mpReader_;
};

} // namespace BgpCommunities
