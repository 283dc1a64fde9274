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

/// Where a store is published: a file, or a POSIX shared-memory segment.
struct StorePlace {
    /// The prefix of a segment's name: `shm:/NAME`.
    static constexpr char const* segmentPrefix = "shm:";

    explicit StorePlace(std::string const& store);

    bool isSegment;
    std::string path; // of the file, or the name of the segment
};

/// A descriptor, closed by the destructor; -1 is none.
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

/// Opens what has that name, never waiting for another process; the mode is for a new one, less the
/// umask. -1, and `errno`, if that fails.
OwnedDescriptor openPlace(StorePlace const& place, int flags, ::mode_t mode = 0) noexcept;

/// Opens what is published at the place now.
inline OwnedDescriptor openToRead(StorePlace const& place) noexcept {
    return openPlace(place, O_RDONLY);
}

/// 0, or -1 and `errno`.
int removeName(StorePlace const& place) noexcept;

/// Whether it is a regular file, or a segment, of this process's user, with this name only.
bool isOwnFile(struct stat const& status) noexcept;

/// The header of the store that begins there; none if no store of this byte order does.
std::optional<Format::StoreHeader> headerAt(int fd, Mox::U64 offset) noexcept;

/// `REASON: MESSAGE`, the message for `errno`.
std::string systemReason(char const* what);

} // namespace MoxStash
