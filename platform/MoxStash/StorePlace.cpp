#include "StorePlace.h"

#include <cerrno>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace MoxStash {

StorePlace::StorePlace(std::string const& store)
  : isSegment(store.starts_with(segmentPrefix))
  , path(isSegment ? store.substr(std::string_view(segmentPrefix).size()) : store) {}

OwnedDescriptor::~OwnedDescriptor() {
    if (fd_ != -1) {
        ::close(fd_);
    }
}

OwnedDescriptor openToRead(StorePlace const& place) noexcept {
    auto const* const path = place.path.c_str();
    return OwnedDescriptor(place.isSegment ? ::shm_open(path, O_RDONLY, 0)
                                           : ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
}

std::string systemReason(char const* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

} // namespace MoxStash
