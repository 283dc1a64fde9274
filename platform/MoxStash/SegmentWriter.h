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

/// A segment opened for writing. The destructor removes a segment that the constructor created,
/// unless keep() was called.
class OpenSegment {
  public:
    /// Opens or creates the segment. `mode`, less the umask, applies if it is created. Throws
    /// StoreException about `store`, also if the segment belongs to another user. REQUIRES: the
    /// caller holds the writers' lock.
    OpenSegment(std::string const& store, StorePlace const& place, ::mode_t mode);
    ~OpenSegment();
    OpenSegment(OpenSegment const&) = delete;
    OpenSegment& operator=(OpenSegment const&) = delete;

    int fd() const noexcept { return fd_.get(); }
    void keep() noexcept { isNew_ = false; }

  private:
    static OwnedDescriptor openOrCreate(std::string const& store, StorePlace const& place,
                                        ::mode_t mode, bool& isNew);

    StorePlace const place_;
    bool isNew_ = false;
    OwnedDescriptor const fd_;
};

/// The only writer of a shared-memory segment of stores.
///
///     0                     4096
///     +----------------+----+-------------+-------------+----
///     | segment header |    |    area     |    area     |        the current store and the one
///     +----------------+----+-------------+-------------+----    before or after it
///
/// Holds the writers' lock. Thread-compatible.
class SegmentWriter {
  public:
    /// Waits for the lock and opens or creates the segment. publish() sets its permissions to
    /// `mode`; if none is given, an existing segment keeps its own and a new one has 0644 less the
    /// umask. Throws StoreException as OpenSegment does, and if the segment is not one of this
    /// layout.
    SegmentWriter(std::string const& store, StorePlace const& place, std::optional<::mode_t> mode);

    /// The generation of the next store to publish.
    U64 generation() const noexcept;

    /// Writes the words of a store of that generation to a free area and makes it current. Throws
    /// StoreException on failure or if the segment is truncated concurrently; on error the current
    /// store is unchanged.
    void publish(std::span<U64 const> words);

  private:
    [[noreturn]] void throwNotASegment() const;
    U64 octetsNow() const;
    void reserve(U64 offset, U64 octets);
    void initializeHeader();
    bool isBlank() const noexcept;
    void findCurrent();
    U64 placeFor(U64 octets) const noexcept;
    void throwIfTruncated(bool isTruncated) const;

    std::string const store_;
    std::optional<::mode_t> const mode_;
    WriterLock const lock_; // released last
    OpenSegment segment_;
    U64 octets_ = 0; // initial size of the segment
    std::optional<GuardedMapping> header_;
    U64 generation_ = 0;
    U64 currentArea_ = 0; // 0 if none
    U64 currentOctets_ = 0;
};

} // namespace MoxStash
