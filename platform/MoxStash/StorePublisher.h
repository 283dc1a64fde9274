#pragma once

#include <Mox/Export.h>
#include <Mox/Types.h>
#include <MoxStash/StoreWriter.h>

#include <optional>
#include <string>

#include <sys/types.h>

namespace MoxStash {

/// Publishes the writer's records as `store`, replacing what is published there: the path of a
/// file, or `shm:/NAME`, a POSIX shared-memory segment. Returns the generation, which is one more
/// than that of the store that it replaces.
///
/// `mode` is for the permissions of the file or segment (at most 0777, asserted; the umask does not
/// apply). If none is given, a store that is replaced keeps its own, and a new one gets 0644 less
/// the umask. A segment must stay readable and writable for its owner, who publishes the next one.
///
/// Atomic: a reader that attaches, at any instant, finds the old store or the new one, also if the
/// writer is killed; a new file is synced to the disk before it is renamed, and its folder after.
/// Attached readers keep the old store: a file for as long as they like, a segment until the store
/// after the next is begun. Writers of one store wait for each other, by a lock on `STORE.lock`
/// that only this user can open.
///
/// A file is written as `STORE.new`, in the folder of `store`, which must be writable. A segment
/// grows with its stores and never shrinks.
///
/// Throws StoreException if the store cannot be written: no space, no right, or something else by
/// one of the names, which is left alone (a file that is neither a store nor empty, a segment of
/// something else; a segment, `.new` or `.lock` of another user, or with a second name). On this
/// and on `std::bad_alloc` the old store is unchanged. Thread-safe on different writers.
VOBGP_EXPORT U64 publishStore(StoreWriter const& writer, std::string const& store,
                              std::optional<::mode_t> mode = std::nullopt);

/// Removes the name, so that no reader can attach any more; attached readers keep the store. Does
/// nothing if there is no such store. Throws StoreException if the system does not allow it.
VOBGP_EXPORT void removeStore(std::string const& store);

} // namespace MoxStash
