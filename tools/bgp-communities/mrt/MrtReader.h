#pragma once

#include <cstdint>

#include "MrtCounts.h"
#include "MrtRecords.h"
#include "RecordContext.h"
#include "RecordParser.h"
#include "RouteHandler.h"
#include "input/InputStream.h"

namespace BgpCommunities {

/**
 * One MRT dump (RFC 6396, RFC 8050) being read: routing tables and BGP messages.
 *
 *     InputStream input("updates.mrt.gz");
 *     MrtReader reader(input, handler);
 *     while (reader.next()) {
 *     }
 *     if (reader.counts().brokenUpdates != 0) ...
 *
 * It owns its buffers and its counters; the input and the handler are the caller's and outlive it.
 * Thread-compatible; the handler is called on the thread that calls `next()`.
 * What never changes: memory is used again from record to record and bounded by the largest one
 * that is held, whatever a length claims; a record longer than `maxBodyOctets()` is
 * counted as broken and passed over. Malformed input never throws:
 * it is counted, the handler is told where and why, and reading goes on with what can be read.
 */
class MrtReader {
  public:
    MrtReader(InputStream& input, RouteHandler& handler, AddPath addPath = AddPath::automatic);
    MrtReader(MrtReader const&) = delete;
    MrtReader& operator=(MrtReader const&) = delete;

    /** Reads one record and tells the handler what it holds; false if there was none, and then
        the handler has been told of a truncated or damaged end. Throws InputError, and what the
        handler throws. */
    bool next();
    /** Reads all records. */
    void readAll();

    [[nodiscard]] MrtCounts const& counts() const { return counts_; }

  private:
    MrtRecords records_;
    MrtCounts counts_;
    RecordContext context_;
    RecordParser parser_;
    MrtRecord record_; // the one at hand
    bool ended_ = false;
};

} // namespace BgpCommunities
