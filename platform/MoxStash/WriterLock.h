#pragma once

#include "StorePlace.h"

#include <string>

namespace MoxStash {

/// Held by the one process that writes a store: a lock (`flock`) on an empty file, or segment, of
/// its own, `STORE.lock`.
///
/// Only the owner may open that file. A lock on the store itself could be taken by every process
/// that may read it, and would keep writers waiting. Released by the destructor, and by the system
/// if the process is killed. Thread-compatible; different locks exclude each other in one process,
/// too.
class WriterLock {
  public:
    /// Waits for the writer that holds it. Throws StoreException, with `store` in it, if the lock
    /// cannot be opened, or the file is not an empty one that belongs to this user alone.
    WriterLock(std::string const& store, StorePlace const& place);

    /// Removes the name. That of a segment's lock stays for as long as the segment: in the folder
    /// of segments every user may create files, and could take a name that comes and goes.
    ~WriterLock();

    WriterLock(WriterLock const&) = delete;
    WriterLock& operator=(WriterLock const&) = delete;

    /// Removes the name of the lock of a segment that is gone, unless a writer holds it.
    static void removeOf(StorePlace const& segment);

  private:
    StorePlace const store_;
    StorePlace const place_;
    OwnedDescriptor const fd_;
};

} // namespace MoxStash
