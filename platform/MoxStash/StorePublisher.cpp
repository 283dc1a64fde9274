#include <MoxStash/StorePublisher.h>

#include "StoreFormat.h"
#include "StoreMapping.h"

#include <MoxStash/StoreException.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace MoxStash {

namespace {

// Less what the umask takes away.
constexpr ::mode_t permissions = 0666;

[[noreturn]] void fail(std::string const& store, char const* what) {
    throw StoreException(store, systemReason(what));
}

struct stat statusOf(std::string const& store, int fd) {
    struct stat status = {};
    if (::fstat(fd, &status) == -1) {
        fail(store, "cannot be looked at");
    }
    return status;
}

void lock(std::string const& store, int fd) {
    while (::flock(fd, LOCK_EX) == -1) {
        if (errno != EINTR) {
            fail(store, "cannot be locked");
        }
    }
}

/// Whether what is open is what has that name now.
bool isThere(std::string const& store, int fd, StorePlace const& place) {
    auto const named = openToRead(place);
    if (named.get() == -1 && errno == ENOENT) {
        return false;
    }
    if (named.get() == -1) {
        fail(store, "cannot be looked at");
    }
    auto const a = statusOf(store, fd);
    auto const b = statusOf(store, named.get());
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Opens what is there, makes it if there is nothing, and waits until this process is the only one
/// that writes there. Meanwhile another one may have taken the name away, or given what is open its
/// final name, so that it is not to be touched any more: then that was not it.
OwnedDescriptor openAlone(std::string const& store, StorePlace const& place) {
    constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    for (;;) {
        auto const* const path = place.path.c_str();
        OwnedDescriptor fd(place.isSegment ? ::shm_open(path, O_RDWR | O_CREAT, permissions)
                                           : ::open(path, flags, permissions));
        if (fd.get() == -1) {
            fail(store,
                 place.isSegment ? "cannot be opened to be written" : "cannot be written beside");
        }
        lock(store, fd.get());
        if (isThere(store, fd.get(), place)) {
            return fd;
        }
    }
}

/// The one after that; there is no generation 0.
U64 generationAfter(U64 generation) noexcept {
    return std::max<U64>(generation + 1, 1);
}

/// What the store that begins there says of itself; nothing if none of this byte order does.
std::optional<Format::StoreHeader> headerAt(int fd, U64 offset) noexcept {
    std::array<U64, Format::headerWords> words = {};
    if (::pread(fd, words.data(), sizeof words, static_cast<::off_t>(offset)) != sizeof words) {
        return std::nullopt;
    }
    auto const header = Format::load<Format::StoreHeader>(words.data());
    bool const isStore =
        header.magic == Format::storeMagic && header.byteOrder == Format::byteOrder;
    return isStore ? std::optional(header) : std::nullopt;
}

// ---- Files --------------------------------------------------------------------------------------

/// A store, or nothing yet: a file that is empty, or begins with zeros as one may whose writer was
/// killed. Anything else is somebody's, and stays as it is.
bool isReplaceable(int fd) noexcept {
    struct stat status = {};
    std::array<char, Format::storeMagic.size()> begin = {};
    return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
           ::pread(fd, begin.data(), begin.size(), 0) != -1 &&
           (begin == Format::storeMagic || begin == decltype(begin){});
}

void refuseUnlessReplaceable(std::string const& store, StorePlace const& place) {
    struct stat status = {};
    if (::lstat(store.c_str(), &status) == -1) {
        return; // nothing there, or no way to it, which will show
    }
    auto const fd = openToRead(place);
    bool const isGone = fd.get() == -1 && errno == ENOENT; // somebody removed it just now
    if (S_ISLNK(status.st_mode) || !(isGone || isReplaceable(fd.get()))) {
        throw StoreException(store, "what is there is no store, or cannot be read");
    }
}

/// A name of its own, for the time until the store is whole. It goes with this, unless it was given
/// away; what a killed writer left under it is written over.
class FileAside {
  public:
    explicit FileAside(std::string const& store)
      : store_(store)
      , fd_(openAlone(store, StorePlace(nameAside(store)))) {
        if (!isReplaceable(fd_.get())) {
            throw StoreException(store,
                                 "what is beside it, with .new behind the name, is no store");
        }
        path_ = nameAside(store);
    }

    ~FileAside() {
        if (!path_.empty()) {
            ::unlink(path_.c_str());
        }
    }

    FileAside(FileAside const&) = delete;
    FileAside& operator=(FileAside const&) = delete;

    void write(std::span<std::byte const> octets) {
        if (::ftruncate(fd_.get(), 0) == -1) {
            fail(store_, "cannot be written");
        }
        while (!octets.empty()) {
            auto const written = ::write(fd_.get(), octets.data(), octets.size());
            if (written >= 0) {
                octets = octets.subspan(static_cast<std::size_t>(written));
            } else if (errno != EINTR) {
                fail(store_, "cannot be written");
            }
        }
        if (::fsync(fd_.get()) == -1) {
            fail(store_, "cannot be written");
        }
    }

    void rename() {
        if (std::rename(path_.c_str(), store_.c_str()) == -1) {
            fail(store_, "cannot be replaced");
        }
        path_.clear();
    }

  private:
    static std::string nameAside(std::string const& store) { return store + ".new"; }

    std::string const store_;
    OwnedDescriptor const fd_;
    std::string path_; // empty while it is not ours, and once it is the store's
};

/// That of the store in the file, if there is one that says; else 0.
U64 generationOf(StorePlace const& place) noexcept {
    auto const header = headerAt(openToRead(place).get(), 0);
    return header ? header->generation : 0;
}

void syncFolderOf(std::string const& path) {
    auto const slash = path.rfind('/');
    auto const folder = slash == std::string::npos ? std::string(".") : path.substr(0, slash + 1);
    OwnedDescriptor const fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // The store has been replaced already; some file systems have nothing to sync here.
    [[maybe_unused]] int const result = ::fsync(fd.get());
}

U64 publishFile(StoreWriter const& writer, std::string const& store, StorePlace const& place) {
    refuseUnlessReplaceable(store, place);
    FileAside aside(store);
    auto const generation = generationAfter(generationOf(place));
    auto const words = writer.image(generation);
    aside.write(std::as_bytes(std::span(words)));
    aside.rename();
    syncFolderOf(store);
    return generation;
}

// ---- Segments -----------------------------------------------------------------------------------

/// Memory of a segment that is written to.
class WritableMapping {
  public:
    WritableMapping(std::string const& store, int fd, U64 offset, U64 octets)
      : octets_(octets) {
        auto* const begin = ::mmap(nullptr, octets, PROT_READ | PROT_WRITE, MAP_SHARED, fd,
                                   static_cast<::off_t>(offset));
        if (begin == MAP_FAILED) {
            fail(store, "cannot be mapped");
        }
        words_ = static_cast<U64*>(begin);
    }

    ~WritableMapping() { ::munmap(words_, octets_); }

    WritableMapping(WritableMapping const&) = delete;
    WritableMapping& operator=(WritableMapping const&) = delete;

    U64* words() const noexcept { return words_; }

  private:
    U64* words_;
    U64 octets_;
};

/// The name of a segment that was made for a store: it goes with this, unless there is one.
class NewSegment {
  public:
    /// Of one that is new; else there is nothing to do.
    NewSegment(StorePlace const& place, bool isNew)
      : path_(isNew ? place.path : std::string()) {}

    ~NewSegment() {
        if (!path_.empty()) {
            ::shm_unlink(path_.c_str());
        }
    }

    NewSegment(NewSegment const&) = delete;
    NewSegment& operator=(NewSegment const&) = delete;

    void keep() noexcept { path_.clear(); }

  private:
    std::string path_;
};

/// A segment, and this process the only one that writes there.
///
///     0                     4096
///     +----------------+----+-------------+-------------+----
///     | segment header |    |    area     |    area     |        the current store and the one
///     +----------------+----+-------------+-------------+----    before or after it
class SegmentWriter {
  public:
    SegmentWriter(std::string const& store, StorePlace const& place)
      : store_(store)
      , fd_(openAlone(store, place))
      , octets_(static_cast<U64>(statusOf(store, fd_.get()).st_size))
      , newSegment_(place, octets_ == 0) {
        if (octets_ == 0) {
            reserve(0, Format::areaAlignment);
        } else if (octets_ < Format::areaAlignment) {
            refuse();
        }
        header_.emplace(store, fd_.get(), 0, Format::areaAlignment);
        begin();
        findCurrent();
    }

    U64 generation() const noexcept { return generationAfter(generation_); }

    /// A reader attaches only by way of the current area, and a store that is not current any more
    /// stays until the next but one is begun, which is said before anything of it is written.
    void publish(std::span<U64 const> words) {
        auto const area = placeFor(words.size_bytes());
        reserve(area, words.size_bytes());
        WritableMapping const mapping(store_, fd_.get(), area, words.size_bytes());
        Format::storeWord(header_->words() + Format::begunWord, generation());
        std::atomic_thread_fence(std::memory_order_release);
        for (std::size_t index = 0; index < words.size(); ++index) {
            Format::storeWord(mapping.words() + index, words[index]);
        }
        __atomic_store_n(header_->words() + Format::currentWord, area, __ATOMIC_RELEASE);
        newSegment_.keep();
    }

  private:
    [[noreturn]] void refuse() const {
        throw StoreException(store_, "what is there is no segment of stores of this layout");
    }

    /// Memory that is promised before it is used: there is no telling a writer afterwards that
    /// there is none.
    void reserve(U64 offset, U64 octets) {
        int error = EINTR;
        while (error == EINTR) {
            error = ::posix_fallocate(fd_.get(), static_cast<::off_t>(offset),
                                      static_cast<::off_t>(octets));
        }
        if (error != 0) {
            errno = error;
            fail(store_, "cannot grow");
        }
    }

    /// Says what the segment is, if it is new; its magic comes last.
    void begin() {
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

    /// All zeros, as what is new is and what a writer left who was killed before it could say what
    /// it is: but for the word behind the magic, which that one may have written.
    bool isBlank() const noexcept {
        std::span const words(header_->words(), Format::areaAlignment / Format::wordOctets);
        auto const rest = words.subspan(2);
        return octets_ <= Format::areaAlignment && words[0] == 0 &&
               std::count(rest.begin(), rest.end(), 0U) == std::ssize(rest);
    }

    /// What its header does not show to be the current store need not be kept; whoever is attached
    /// to it all the same is told, by a generation left out, that it is overwritten.
    void findCurrent() {
        auto const begun = Format::loadWord(header_->words() + Format::begunWord);
        auto const area = Format::loadWord(header_->words() + Format::currentWord);
        auto const header = area == 0 ? std::nullopt : headerAt(fd_.get(), area);
        bool const isCurrent = header && area % Format::areaAlignment == 0 &&
                               header->octets <= octets_ - area && begun - header->generation <= 1;
        if (isCurrent) {
            generation_ = header->generation;
            currentArea_ = area;
            currentOctets_ = header->octets;
        } else {
            generation_ = begun == 0 ? 0 : generationAfter(begun);
        }
    }

    /// Before the current store, if there is room, else behind it.
    U64 placeFor(U64 octets) const noexcept {
        constexpr auto step = Format::areaAlignment;
        if (currentArea_ == 0 || octets <= currentArea_ - step) {
            return step;
        }
        return (currentArea_ + currentOctets_ + step - 1) / step * step;
    }

    std::string const store_;
    OwnedDescriptor const fd_;
    U64 const octets_; // of the segment, before this
    NewSegment newSegment_;
    std::optional<WritableMapping> header_;
    U64 generation_ = 0;
    U64 currentArea_ = 0; // 0 if there is no store
    U64 currentOctets_ = 0;
};

U64 publishSegment(StoreWriter const& writer, std::string const& store, StorePlace const& place) {
    SegmentWriter segment(store, place);
    segment.publish(writer.image(segment.generation()));
    return segment.generation();
}

} // namespace

U64 publishStore(StoreWriter const& writer, std::string const& store) {
    StorePlace const place(store);
    return place.isSegment ? publishSegment(writer, store, place)
                           : publishFile(writer, store, place);
}

void removeStore(std::string const& store) {
    StorePlace const place(store);
    int const result =
        place.isSegment ? ::shm_unlink(place.path.c_str()) : ::unlink(place.path.c_str());
    if (result == -1 && errno != ENOENT) {
        fail(store, "cannot be removed");
    }
}

} // namespace MoxStash
