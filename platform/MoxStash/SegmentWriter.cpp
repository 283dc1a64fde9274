#include "SegmentWriter.h"

#include "StoreFormat.h"

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
        throw StoreException(store, systemReason("cannot be examined"));
    }
    return status;
}

} // namespace

// ---- OpenSegment --------------------------------------------------------------------------------

OpenSegment::OpenSegment(std::string const& store, StorePlace const& place, ::mode_t mode)
  : place_(place)
  , fd_(opened(store, place, mode, isNew_)) {}

OpenSegment::~OpenSegment() {
    if (isNew_) {
        removeName(place_);
    }
}

/// The name may come and go meanwhile: removeStore() takes no lock.
OwnedDescriptor OpenSegment::opened(std::string const& store, StorePlace const& place,
                                    ::mode_t mode, bool& isNew) {
    for (;;) {
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
            throw StoreException(store, systemReason("cannot be opened to be written"));
        }
        auto const status = statusOf(store, fd.get());
        if (isOwnFile(status)) {
            return fd;
        }
        if (status.st_nlink != 0) {
            throw StoreException(store, "what is there is not a segment of this user alone");
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
        reserve(0, Format::areaAlignment);
    } else if (octets_ < Format::areaAlignment) {
        refuse();
    }
    header_.emplace(store, segment_.fd(), 0, Format::areaAlignment,
                    GuardedMapping::Access::readAndWrite);
    begin();
    findCurrent();
}

U64 SegmentWriter::generation() const noexcept {
    return Format::generationAfter(generation_);
}

/// A reader attaches only to the current area. A store that is no longer current stays until the
/// next but one is begun, and `begun` says so before a word of that is written.
void SegmentWriter::publish(std::span<U64 const> words) {
    auto const area = placeFor(words.size_bytes());
    GuardedMapping const mapping(store_, segment_.fd(), area, words.size_bytes(),
                                 GuardedMapping::Access::readAndWrite);
    reserve(area, words.size_bytes());
    Format::storeWord(header_->words() + Format::begunWord, generation());
    std::atomic_thread_fence(std::memory_order_release);
    for (std::size_t index = 0; index < words.size(); ++index) {
        Format::storeWord(mapping.words() + index, words[index]);
    }
    // Within its last page a segment may be cut without a signal.
    refuseIfCut(mapping.isCutShort() || octetsNow() < area + words.size_bytes());
    if (mode_ && ::fchmod(segment_.fd(), *mode_) == -1) {
        throw StoreException(store_, systemReason("cannot be given its permissions"));
    }
    __atomic_store_n(header_->words() + Format::currentWord, area, __ATOMIC_RELEASE);
    refuseIfCut(header_->isCutShort());
    segment_.keep();
}

void SegmentWriter::refuse() const {
    throw StoreException(store_, "what is there is no segment of stores of this layout");
}

void SegmentWriter::refuseIfCut(bool isCut) const {
    if (isCut) {
        throw StoreException(store_, "was cut short while it was written");
    }
}

U64 SegmentWriter::octetsNow() const {
    return static_cast<U64>(statusOf(store_, segment_.fd()).st_size);
}

/// Memory is allocated before it is used, because a store to memory cannot report that there is
/// none.
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

/// Writes the segment's header if it is new, its magic last.
void SegmentWriter::begin() {
    if (isBlank()) {
        Format::SegmentHeader header = {};
        header.byteOrder = Format::byteOrder;
        header.layoutVersion = Format::layoutVersion;
        Format::store(header_->words(), header);
        std::atomic_thread_fence(std::memory_order_release);
        header.magic = Format::segmentMagic;
        Format::store(header_->words(), header);
    }
    auto const header = Format::load<Format::SegmentHeader>(header_->words());
    if (header.magic != Format::segmentMagic || header.byteOrder != Format::byteOrder ||
        header.layoutVersion != Format::layoutVersion) {
        refuse();
    }
}

/// All zeros, like a new segment, or one whose writer was killed before it wrote the magic: it may
/// have written the word after it.
bool SegmentWriter::isBlank() const noexcept {
    std::span const words(header_->words(), Format::areaAlignment / Format::wordOctets);
    auto const rest = words.subspan(2);
    return octets_ <= Format::areaAlignment && words[0] == 0 &&
           std::count(rest.begin(), rest.end(), 0U) == std::ssize(rest);
}

/// What the header does not show to be the current store need not be kept. A reader that is
/// attached to it all the same finds it overwritten, because a generation is left out.
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

/// Before the current store if there is room, otherwise behind it.
U64 SegmentWriter::placeFor(U64 octets) const noexcept {
    constexpr auto step = Format::areaAlignment;
    if (currentArea_ == 0 || octets <= currentArea_ - step) {
        return step;
    }
    return (currentArea_ + currentOctets_ + step - 1) / step * step;
}

} // namespace MoxStash
