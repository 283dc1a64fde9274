#pragma once

#include <Mox/Export.h>
#include <Mox/Types.h>
#include <MoxStash/StoreWriter.h>

#include <string>

namespace MoxStash {

/// Publishes what the writer holds as `store`, in place of what is published there: the path of a
/// file, or `shm:/NAME`, a POSIX shared-memory segment. Returns its generation, which is one more
/// than that of the store that it replaces.
///
/// Whole or not at all: whoever attaches, at any instant, finds the old store or the new one, also
/// if the writer is killed; a new file is on the disk before it has its name. Readers that are
/// attached to the old store keep it: to a file for as long as they like, in a segment until the
/// store after the next is begun. Writers of one store wait for each other.
///
/// A file is written as `STORE.new`, in the folder of `store`, which must be writable. A segment
/// grows with its stores and never shrinks. Both can be read by everybody whom the process's umask
/// leaves that.
///
/// Throws StoreException if it cannot be written (no space, no right, or something else by one of
/// the names, which is left alone: a file that is neither a store nor empty, a segment of something
/// else); the old store is then as it was. Thread-safe on different writers.
VOBGP_EXPORT U64 publishStore(StoreWriter const& writer, std::string const& store);

/// Takes the name away, so that nobody attaches any more; readers keep what they have. Nothing
/// happens if there is no such store. Throws StoreException if the system does not allow it.
VOBGP_EXPORT void removeStore(std::string const& store);

} // namespace MoxStash
