#pragma once

#include <Mox/Export.h>
#include <Mox/Types.h>
#include <MoxStash/StoreWriter.h>

#include <optional>
#include <string>

#include <sys/types.h>

namespace MoxStash {

/// Publishes the writer's records as `store`, replacing the previous store: the path of a file, or
/// `shm:/NAME` for a POSIX shared-memory segment. Returns the generation, one more than that of the
/// previous store.
///
/// `mode` is the permissions of the file or segment (at most 0777, asserted; not masked by the
/// umask). If none is given, a replaced store keeps its permissions and a new one gets 0644 less
/// the umask. A segment must stay readable and writable for its owner, or the next store cannot be
/// published.
///
/// Atomic: a reader always attaches to the old store or the new one, even if the writer is killed.
/// A new file is synced to disk before it is renamed, its folder afterwards. Attached readers keep
/// the old store: a file indefinitely, a segment until the store after the next is begun. Writers
/// of one store wait for each other with a lock on `STORE.lock`, which only this user can open.
///
/// A file is written as `STORE.new` in the folder of `store`, which must be writable. A segment
/// grows as needed and never shrinks.
///
/// Throws StoreException if the store cannot be written: no space, no permission, or a foreign
/// object with one of the names (a file that is neither a store nor empty, a segment that holds
/// something else; a segment, `.new` or `.lock` that belongs to another user or has a second name).
/// Foreign objects are not touched. On error, `std::bad_alloc` included, the old store is
/// unchanged. Thread-safe for different writers.
VOBGP_EXPORT U64 publishStore(StoreWriter const& writer, std::string const& store,
                              std::optional<::mode_t> mode = std::nullopt);

/// Removes the store's name: no reader can attach any more; attached readers keep the store. Does
/// nothing if there is no such store. Throws StoreException if the system refuses.
VOBGP_EXPORT void removeStore(std::string const& store);

} // namespace MoxStash
