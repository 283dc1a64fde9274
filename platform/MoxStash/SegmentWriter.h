#pragma once

#include "GuardedMapping.h"
#include "StorePlace.h"
#include "WriterLock.h"

#include <Mox/Types.h>

#include <optional>
#include <span>
#include <string>

namespace MoxStash {

using Mox::U64;

/// A segment that is open to be written. Removes one that it created, unless it is kept.
class OpenSegment {
  public:
    /// `mode` is for one that it creates, less the umask. Throws StoreException, with `store` in
    /// it, also if the segment belongs to another user. REQUIRES: the caller holds the writers'
    /// lock.
    OpenSegment(std::string const& store, StorePlace const& place, ::mode_t mode);
    ~OpenSegment();
    OpenSegment(OpenSegment const&) = delete;
    OpenSegment& operator=(OpenSegment const&) = delete;

    int fd() const noexcept { return fd_.get(); }
    void keep() noexcept { isNew_ = false; }

  private:
    static OwnedDescriptor opened(std::string const& store, StorePlace const& place, ::mode_t mode,
                                  bool& isNew);

    StorePlace const place_;
    bool isNew_ = false;
    OwnedDescriptor const fd_;
};

/// A shared-memory segment of stores, and this process its only writer.
///
///     0                     4096
///     +----------------+----+-------------+-------------+----
///     | segment header |    |    area     |    area     |        the current store and the one
///     +----------------+----+-------------+-------------+----    before or after it
///
/// Holds the writers' lock. Thread-compatible.
class SegmentWriter {
  public:
    /// Waits for the lock and opens the segment, or creates it. `mode` is for the permissions that
    /// it gets when the store is published: if none, it keeps its own, 0644 less the umask if it is
    /// new. Throws as OpenSegment does, and StoreException if the segment holds something else.
    SegmentWriter(std::string const& store, StorePlace const& place, std::optional<::mode_t> mode);

    /// That of the store to be published next.
    U64 generation() const noexcept;

    /// Writes the words of a store of that generation into a free area, and makes it the current
    /// one. Throws StoreException if that fails, or the segment is truncated meanwhile; the current
    /// store is then as it was.
    void publish(std::span<U64 const> words);

  private:
    [[noreturn]] void refuse() const;
    U64 octetsNow() const;
    void reserve(U64 offset, U64 octets);
    void begin();
    bool isBlank() const noexcept;
    void findCurrent();
    U64 placeFor(U64 octets) const noexcept;
    void refuseIfCut(bool isCut) const;

    std::string const store_;
    std::optional<::mode_t> const mode_;
    WriterLock const lock_; // released last
    OpenSegment segment_;
    U64 octets_ = 0; // of the segment, before this
    std::optional<GuardedMapping> header_;
    U64 generation_ = 0;
    U64 currentArea_ = 0; // 0 if there is no store
    U64 currentOctets_ = 0;
};

} // namespace MoxStash
