#pragma once

#include "MrtCounts.h"
#include "MrtRecords.h"
#include "RecordContext.h"
#include "RecordParser.h"
#include "RouteHandler.h"
#include "input/InputStream.h"

namespace BgpCommunities {

/// Reads one MRT dump (RFC 6396, RFC 8050): routing tables and BGP messages.
///
///     InputStream input("updates.mrt.gz");
///     MrtReader reader(input, handler);
///     while (reader.next()) {
///     }
///     if (reader.counts().brokenUpdates != 0) ...
///
/// Owns its buffers and counters; input and handler are not owned and must outlive it.
/// Thread-compatible; the handler is called in the thread that calls `next()`. Memory is reused and
/// bounded by the longest record read, not by length fields; a record longer than `maxBodyOctets()`
/// is counted as broken and skipped. Malformed input never throws: it is counted, reported to the
/// handler with position and reason, and skipped.
class MrtReader {
  public:
    MrtReader(InputStream& input, RouteHandler& handler, AddPath addPath = AddPath::automatic);
    MrtReader(MrtReader const&) = delete;
    MrtReader& operator=(MrtReader const&) = delete;

    /// Reads one record and passes its content to the handler. Returns false at the end, after
    /// reporting a truncated or damaged end to the handler. Throws InputError and whatever the
    /// handler throws.
    bool next();

    [[nodiscard]] MrtCounts const& counts() const { return counts_; }

  private:
    MrtRecords records_;
    MrtCounts counts_;
    RecordContext context_;
    RecordParser parser_;
    MrtRecord record_; // the current one
    bool ended_ = false;
};

} // namespace BgpCommunities
