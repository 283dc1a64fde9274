#pragma once

#include "StoreFormat.h"

#include <optional>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace MoxStash {

/// The permissions of a new store, less the umask.
constexpr ::mode_t defaultMode = 0644;

/// The location of a store: a file or a POSIX shared-memory segment.
struct StorePlace {
    /// The prefix of a segment's name: `shm:/NAME`.
    static constexpr char const* segmentPrefix = "shm:";

    explicit StorePlace(std::string const& store);

    bool isSegment;
    std::string path; // of the file, or name of the segment
};

/// Owns a file descriptor; -1 if none.
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

/// Opens the place without waiting for another process. `mode`, less the umask, applies to a new
/// file. On failure the descriptor is -1 and `errno` is set.
OwnedDescriptor openPlace(StorePlace const& place, int flags, ::mode_t mode = 0) noexcept;

/// Opens the published store for reading.
inline OwnedDescriptor openToRead(StorePlace const& place) noexcept {
    return openPlace(place, O_RDONLY);
}

/// Returns 0, or -1 with `errno` set.
int removeName(StorePlace const& place) noexcept;

/// Whether it is a regular file or segment of this process's user with only one name.
bool isOwnFile(struct stat const& status) noexcept;

/// Reads the header of a store at `offset`; none if there is no store of this byte order.
std::optional<Format::StoreHeader> headerAt(int fd, Mox::U64 offset) noexcept;

/// Returns `WHAT: MESSAGE`, with the message for `errno`.
std::string systemReason(char const* what);

} // namespace MoxStash
