#pragma once

#include <span>

#include "DumpFiles.h"

namespace BgpCommunities {

/// Reads dumps in one thread per handler, including the calling thread. Each handler is called by
/// one thread with a share of the records, in unspecified order. Problems are reported to `log` in
/// the order of the dumps and records; reading continues.
///
/// A thread either splits a dump into batches of records or parses a batch: a single dump is
/// decompressed in one thread and parsed in the others, several dumps are decompressed in parallel.
/// The memory of waiting batches and of large records is bounded over all threads. Throws what a
/// handler throws.
DumpResult readDumps(DumpInput const& input, std::span<DumpHandler* const> handlers,
                     ProblemLog& log);

} // namespace BgpCommunities
