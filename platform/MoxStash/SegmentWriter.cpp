#include "SegmentWriter.h"

#include "StoreFormat.h"

#include <Mox/SchedulingPoint.h>
#include <MoxStash/StoreException.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <iterator>

#include <unistd.h>

namespace MoxStash {

namespace {

struct stat statusOf(std::string const& store, int fd) {
    struct stat status = {};
    if (::fstat(fd, &status) == -1) {
        throw StoreException(store, systemReason("cannot get file status"));
    }
    return status;
}

} // namespace

// ---- OpenSegment --------------------------------------------------------------------------------

OpenSegment::OpenSegment(std::string const& store, StorePlace const& place, ::mode_t mode)
  : place_(place)
  , fd_(openOrCreate(store, place, mode, isNew_)) {}

OpenSegment::~OpenSegment() {
    if (isNew_) {
        removeName(place_);
    }
}

/// Loops because removeStore() takes no lock: the name may be created and removed concurrently.
OwnedDescriptor OpenSegment::openOrCreate(std::string const& store, StorePlace const& place,
                                          ::mode_t mode, bool& isNew) {
    for (;;) {
        MOX_SCHEDULING_POINT(openSegment);
        auto fd = openPlace(place, O_RDWR);
        isNew = fd.get() == -1 && errno == ENOENT;
        if (isNew) {
            auto created = openPlace(place, O_RDWR | O_CREAT | O_EXCL, mode);
            if (created.get() != -1) {
                return created;
            }
            if (errno == EEXIST) {
                continue;
            }
        }
        if (fd.get() == -1) {
            throw StoreException(store, systemReason("cannot open for writing"));
        }
        auto const status = statusOf(store, fd.get());
        if (isOwnFile(status)) {
            return fd;
        }
        if (status.st_nlink != 0) {
            throw StoreException(store, "segment belongs to another user or has a second name");
        }
    }
}

// ---- SegmentWriter ------------------------------------------------------------------------------

SegmentWriter::SegmentWriter(std::string const& store, StorePlace const& place,
                             std::optional<::mode_t> mode)
  : store_(store)
  , mode_(mode)
  , lock_(store, place)
  , segment_(store, place, mode.value_or(defaultMode))
  , octets_(octetsNow()) {
    if (octets_ == 0) {
        MOX_SCHEDULING_POINT(reserveHeader);
        reserve(0, Format::areaAlignment);
    } else if (octets_ < Format::areaAlignment) {
        throwNotASegment();
    }
    header_.emplace(store, segment_.fd(), 0, Format::areaAlignment,
                    GuardedMapping::Access::readAndWrite);
    initializeHeader();
    MOX_SCHEDULING_POINT(findCurrent);
    findCurrent();
}

U64 SegmentWriter::generation() const noexcept {
    return Format::generationAfter(generation_);
}

/// Readers attach only to the current area. A replaced store stays intact until the store after the
/// next is begun; `begun` is set before the first word of that one is written.
void SegmentWriter::publish(std::span<U64 const> words) {
    auto const area = placeFor(words.size_bytes());
    GuardedMapping const mapping(store_, segment_.fd(), area, words.size_bytes(),
                                 GuardedMapping::Access::readAndWrite);
    reserve(area, words.size_bytes());
    MOX_SCHEDULING_POINT(beginStore);
    Format::storeWord(header_->words() + Format::begunWord, generation());
    std::atomic_thread_fence(std::memory_order_release);
    for (std::size_t index = 0; index < words.size(); ++index) {
        MOX_SCHEDULING_POINT(storeWord);
        Format::storeWord(mapping.words() + index, words[index]);
    }
    // Truncation within the last page raises no signal.
    throwIfTruncated(mapping.isTruncated() || octetsNow() < area + words.size_bytes());
    if (mode_ && ::fchmod(segment_.fd(), *mode_) == -1) {
        throw StoreException(store_, systemReason("cannot set permissions"));
    }
    MOX_SCHEDULING_POINT(storeCurrent);
    __atomic_store_n(header_->words() + Format::currentWord, area, __ATOMIC_RELEASE);
    throwIfTruncated(header_->isTruncated());
    segment_.keep();
}

void SegmentWriter::throwNotASegment() const {
    throw StoreException(store_, "not a segment of stores with this layout version");
}

void SegmentWriter::throwIfTruncated(bool isTruncated) const {
    if (isTruncated) {
        throw StoreException(store_, "truncated while it was written");
    }
}

U64 SegmentWriter::octetsNow() const {
    return static_cast<U64>(statusOf(store_, segment_.fd()).st_size);
}

/// Allocates memory before it is used, because a write to a mapping cannot report lack of memory.
void SegmentWriter::reserve(U64 offset, U64 octets) {
    int error = EINTR;
    while (error == EINTR) {
        error = ::posix_fallocate(segment_.fd(), static_cast<::off_t>(offset),
                                  static_cast<::off_t>(octets));
    }
    if (error != 0) {
        errno = error;
        throw StoreException(store_, systemReason("cannot grow"));
    }
}

/// Writes the header of a new segment, with the magic number last.
void SegmentWriter::initializeHeader() {
    if (isBlank()) {
        Format::SegmentHeader header = {};
        header.byteOrder = Format::byteOrder;
        header.layoutVersion = Format::layoutVersion;
        Format::store(header_->words(), header);
        std::atomic_thread_fence(std::memory_order_release);
        MOX_SCHEDULING_POINT(writeMagic);
        header.magic = Format::segmentMagic;
        Format::store(header_->words(), header);
    }
    auto const header = Format::load<Format::SegmentHeader>(header_->words());
    if (header.magic != Format::segmentMagic || header.byteOrder != Format::byteOrder ||
        header.layoutVersion != Format::layoutVersion) {
        throwNotASegment();
    }
}

/// Whether the header is all zeros, as in a new segment. The second word may be set if a writer was
/// killed before it wrote the magic number.
bool SegmentWriter::isBlank() const noexcept {
    std::span const words(header_->words(), Format::areaAlignment / Format::wordOctets);
    auto const rest = words.subspan(2);
    return octets_ <= Format::areaAlignment && words[0] == 0 &&
           std::count(rest.begin(), rest.end(), 0U) == std::ssize(rest);
}

/// Finds the current store. If the header is inconsistent, no store is kept; a generation is
/// skipped so that a reader attached to the old one finds it overwritten.
void SegmentWriter::findCurrent() {
    auto const begun = Format::loadWord(header_->words() + Format::begunWord);
    auto const area = Format::loadWord(header_->words() + Format::currentWord);
    auto const header = area == 0 ? std::nullopt : headerAt(segment_.fd(), area);
    bool const isCurrent = header && area % Format::areaAlignment == 0 &&
                           header->octets <= octets_ - area && begun - header->generation <= 1;
    if (isCurrent) {
        generation_ = header->generation;
        currentArea_ = area;
        currentOctets_ = header->octets;
    } else {
        generation_ = begun == 0 ? 0 : Format::generationAfter(begun);
    }
}

/// Returns an offset before the current store if there is room, otherwise after it.
U64 SegmentWriter::placeFor(U64 octets) const noexcept {
    constexpr auto step = Format::areaAlignment;
    if (currentArea_ == 0 || octets <= currentArea_ - step) {
        return step;
    }
    return (currentArea_ + currentOctets_ + step - 1) / step * step;
}

} // namespace MoxStash
