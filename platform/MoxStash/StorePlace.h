#pragma once

#include <string>
#include <utility>

namespace MoxStash {

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

/// Opens what is published at the place now; -1, and `errno`, if that fails.
OwnedDescriptor openToRead(StorePlace const& place) noexcept;

/// `REASON: MESSAGE`, the message for `errno`.
std::string systemReason(char const* what);

} // namespace MoxStash
