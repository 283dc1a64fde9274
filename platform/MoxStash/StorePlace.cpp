#include "StorePlace.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

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

OwnedDescriptor openPlace(StorePlace const& place, int flags, ::mode_t mode) noexcept {
    auto const* const path = place.path.c_str();
    return OwnedDescriptor(place.isSegment ? ::shm_open(path, flags, mode)
                                           : ::open(path, flags | O_CLOEXEC | O_NONBLOCK, mode));
}

int removeName(StorePlace const& place) noexcept {
    auto const* const path = place.path.c_str();
    return place.isSegment ? ::shm_unlink(path) : ::unlink(path);
}

bool isOwnFile(struct stat const& status) noexcept {
    return S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_nlink == 1;
}

std::optional<Format::StoreHeader> headerAt(int fd, Mox::U64 offset) noexcept {
    std::array<Mox::U64, Format::headerWords> words = {};
    if (::pread(fd, words.data(), sizeof words, static_cast<::off_t>(offset)) != sizeof words) {
        return std::nullopt;
    }
    auto const header = Format::load<Format::StoreHeader>(words.data());
    bool const isStore =
        header.magic == Format::storeMagic && header.byteOrder == Format::byteOrder;
    return isStore ? std::optional(header) : std::nullopt;
}

std::string systemReason(char const* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

} // namespace MoxStash
