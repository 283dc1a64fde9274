#pragma once

#include "StorePlace.h"

#include <string>

namespace MoxStash {

/// The writers' lock of a store: a `flock` on its own empty file or segment, `STORE.lock`.
///
/// Only the owner can open that file. Any process that can read the store could lock the store
/// itself and block its writers. Released by the destructor, or by the system if the process is
/// killed. Thread-compatible; two locks also exclude each other within a process.
class WriterLock {
  public:
    /// Waits for the current holder. Throws StoreException about `store` if the lock cannot be
    /// opened, or is not an empty file owned by this user alone.
    WriterLock(std::string const& store, StorePlace const& place);

    /// Removes the name. The name of a segment's lock stays as long as the segment: every user can
    /// create files in the folder of segments and could take a name in between.
    ~WriterLock();

    WriterLock(WriterLock const&) = delete;
    WriterLock& operator=(WriterLock const&) = delete;

    /// Removes the name of a segment's lock once the segment is gone, unless a writer holds the
    /// lock.
    static void removeOf(StorePlace const& segment);

  private:
    StorePlace const store_;
    StorePlace const place_;
    OwnedDescriptor const fd_;
};

} // namespace MoxStash
