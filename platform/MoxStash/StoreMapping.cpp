#include "StoreMapping.h"

#include "StoreFormat.h"

#include <MoxStash/StoreException.h>

#include <sys/stat.h>

namespace MoxStash {

StoreMapping::StoreMapping(std::string const& store, StorePlace const& place) {
    auto const fd = openToRead(place);
    struct stat status = {};
    if (fd.get() == -1 || ::fstat(fd.get(), &status) == -1) {
        throw StoreException(store, systemReason("cannot open"));
    }
    if (!S_ISREG(status.st_mode)) {
        throw StoreException(store, "not a regular file");
    }
    octets_ = static_cast<U64>(status.st_size);
    device_ = status.st_dev;
    inode_ = status.st_ino;
    if (octets_ != 0) {
        mapping_.emplace(store, fd.get(), 0, octets_, GuardedMapping::Access::read);
        words_ = {mapping_->words(), octets_ / Format::wordOctets};
    }
}

std::optional<U64> StoreMapping::octetsNow(StorePlace const& place) const noexcept {
    auto const fd = openToRead(place);
    struct stat status = {};
    if (fd.get() == -1 || ::fstat(fd.get(), &status) == -1 || status.st_dev != device_ ||
        status.st_ino != inode_) {
        return std::nullopt;
    }
    return static_cast<U64>(status.st_size);
}

} // namespace MoxStash
