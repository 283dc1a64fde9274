#pragma once

#include <span>

#include "DumpFiles.h"

namespace BgpCommunities {

/**
 * Reads dumps in as many threads as there are handlers, the calling one among them. Each handler
 * is told, by one thread, a share of what the dumps hold, in no order; what is wrong with the dumps
 * is reported to `log` in the order of the dumps and of their records, and does not keep the rest
 * from being read.
 *
 * A thread either cuts a dump into batches of records, or reads a batch that another one has cut:
 * one large dump is decompressed in one thread and read in the others, many are decompressed side
 * by side. What waits to be read is bounded in octets, and so are the large records of all threads
 * together. Throws what a handler throws.
 */
DumpResult readDumps(DumpInput const& input, std::span<DumpHandler* const> handlers,
                     ProblemLog& log);

} // namespace BgpCommunities
