#include "WriterLock.h"

#include <Mox/SchedulingPoint.h>
#include <MoxStash/StoreException.h>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace MoxStash {

namespace {

StorePlace lockOf(StorePlace place) {
    place.path += ".lock";
    return place;
}

OwnedDescriptor openLock(StorePlace const& place, int flags) noexcept {
    constexpr ::mode_t ownerOnly = 0600;
    return openPlace(place, O_RDWR | O_NOFOLLOW | flags, ownerOnly);
}

/// Whether no other user can have opened it, and removing the name loses nothing.
bool isOwnLock(struct stat const& status) noexcept {
    return isOwnFile(status) && (status.st_mode & 077) == 0 && status.st_size == 0;
}

/// Whether the lock's name must stay.
bool isOwnSegment(StorePlace const& place) noexcept {
    auto const fd = place.isSegment ? openToRead(place) : OwnedDescriptor(-1);
    struct stat status = {};
    return fd.get() != -1 && ::fstat(fd.get(), &status) == 0 && isOwnFile(status);
}

/// Retries if the previous holder has removed the name meanwhile: a lock on that file is
/// ineffective.
OwnedDescriptor openAndLock(std::string const& store, StorePlace const& place) {
    for (;;) {
        MOX_SCHEDULING_POINT(openLock);
        auto fd = openLock(place, O_CREAT);
        struct stat status = {};
        if (fd.get() == -1 || ::fstat(fd.get(), &status) == -1) {
            throw StoreException(store, systemReason("cannot open its .lock"));
        }
        if (status.st_nlink != 0 && !isOwnLock(status)) {
            throw StoreException(store, "its .lock is not an empty file owned by this user alone");
        }
        MOX_SCHEDULING_POINT(lockWriters);
        int result = 0;
        do {
            result = ::flock(fd.get(), LOCK_EX);
        } while (result == -1 && errno == EINTR);
        MOX_SCHEDULING_POINT(checkLockName);
        if (result == -1 || ::fstat(fd.get(), &status) == -1) {
            throw StoreException(store, systemReason("cannot lock its .lock"));
        }
        if (status.st_nlink != 0) {
            return fd;
        }
    }
}

} // namespace

WriterLock::WriterLock(std::string const& store, StorePlace const& place)
  : store_(place)
  , place_(lockOf(place))
  , fd_(openAndLock(store, place_)) {}

WriterLock::~WriterLock() {
    if (!isOwnSegment(store_)) {
        MOX_SCHEDULING_POINT(removeLock);
        removeName(place_);
    }
}

void WriterLock::removeOf(StorePlace const& segment) {
    auto const place = lockOf(segment);
    auto const fd = openLock(place, 0);
    struct stat status = {};
    bool const isHeld = fd.get() != -1 && ::fstat(fd.get(), &status) == 0 && isOwnLock(status) &&
                        ::flock(fd.get(), LOCK_EX | LOCK_NB) == 0;
    if (isHeld && !isOwnSegment(segment)) {
        removeName(place);
    }
}

} // namespace MoxStash
