#pragma once

#include <Mox/Types.h>

#include <atomic>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include <sys/types.h>

namespace MoxStash {

using Mox::U64;

/// Where a store is published: a file, or a POSIX shared-memory segment.
struct StorePlace {
    /// What names a segment begins with this: `shm:/NAME`.
    static constexpr char const* segmentPrefix = "shm:";

    explicit StorePlace(std::string const& store);

    bool isSegment;
    std::string path; // of the file, or the name of the segment
};

/// A descriptor that is closed in the end; -1 is none.
class OwnedDescriptor {
  public:
    explicit OwnedDescriptor(int fd) noexcept
      : fd_(fd) {}
    OwnedDescriptor(OwnedDescriptor&& other) noexcept
      : fd_(std::exchange(other.fd_, -1)) {}
    ~OwnedDescriptor();
    OwnedDescriptor& operator=(OwnedDescriptor&&) = delete;

    int get() const noexcept { return fd_; }

  private:
    int fd_;
};

/// What is there now, opened to be read; none, and `errno`, if that cannot be.
OwnedDescriptor openToRead(StorePlace const& place) noexcept;

/// `REASON: what errno says`.
std::string systemReason(char const* what);

/// A file or a segment, mapped to be read.
///
/// It owns the mapping. Other processes may change what is mapped, or make it shorter: octets that
/// are not there any more read as zero, and `isCutShort()` tells of it, where the system would end
/// the process by a signal. For that, the first mapping of a process installs a handler for SIGBUS
/// for good, which hands all signals that are not about a mapping to the handler before it. Who
/// installs one later does the same. Thread-compatible.
class StoreMapping {
  public:
    /// Throws StoreException, with `store` in it.
    StoreMapping(std::string const& store, StorePlace const& place);
    ~StoreMapping();
    StoreMapping(StoreMapping const&) = delete;
    StoreMapping& operator=(StoreMapping const&) = delete;

    /// All whole words of it; to be read by Format::loadWord().
    std::span<U64 const> words() const noexcept { return words_; }

    /// In octets, when it was mapped.
    U64 octets() const noexcept { return octets_; }

    bool isCutShort() const noexcept;

    /// How many octets it has now; none if there is something else, or nothing, at the place.
    std::optional<U64> octetsNow(StorePlace const& place) const noexcept;

    /// What the handler of the signal finds a mapping by.
    struct Guard {
        std::atomic<U64> changes = 0; // odd while begin and end are being changed
        std::atomic<char const*> begin = nullptr;
        std::atomic<char const*> end = nullptr;
        std::atomic<bool> cutShort = false;
        bool taken = false;
        Guard* next = nullptr; // never changes once the guard can be found
    };

  private:
    std::span<U64 const> words_;
    U64 octets_ = 0;
    ::dev_t device_ = 0;
    ::ino_t inode_ = 0;
    Guard* guard_ = nullptr;
};

} // namespace MoxStash
