#include <MoxStash/StorePublisher.h>

#include "SegmentWriter.h"
#include "StoreFormat.h"
#include "StorePlace.h"
#include "WriterLock.h"

#include <Mox/Assert.h>
#include <Mox/SchedulingPoint.h>
#include <MoxStash/StoreException.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <span>

#include <unistd.h>

namespace MoxStash {

namespace {

[[noreturn]] void fail(std::string const& store, char const* what) {
    throw StoreException(store, systemReason(what));
}

// ---- Files --------------------------------------------------------------------------------------

/// Whether it is a store or an empty file, or begins with zeros, as the file of a killed writer
/// may. Any other file belongs to somebody else and must not be replaced.
bool isReplaceable(int fd, struct stat const& status) noexcept {
    std::array<char, Format::storeMagic.size()> begin = {};
    return S_ISREG(status.st_mode) && ::pread(fd, begin.data(), begin.size(), 0) != -1 &&
           (begin == Format::storeMagic || begin == decltype(begin){});
}

/// The store published in the file now.
struct Published {
    U64 generation = 0;           // 0 if there is no store
    std::optional<::mode_t> mode; // none if there is no file
};

/// Throws StoreException if there is another kind of file.
Published publishedAt(std::string const& store, StorePlace const& place) {
    auto const fd = openPlace(place, O_RDONLY | O_NOFOLLOW);
    if (fd.get() == -1 && errno == ENOENT) {
        return {};
    }
    struct stat status = {};
    if (fd.get() == -1 || ::fstat(fd.get(), &status) == -1 || !isReplaceable(fd.get(), status)) {
        throw StoreException(store, "existing file is not a store or cannot be read");
    }
    auto const header = headerAt(fd.get(), 0);
    return {header ? header->generation : 0, status.st_mode & 0777};
}

/// `STORE.new`, which holds the new store until it is complete. The destructor removes it unless it
/// was renamed. REQUIRES: the caller holds the writers' lock.
class TemporaryFile {
  public:
    /// Removes the file of a killed writer, and creates a new one.
    TemporaryFile(std::string const& store, ::mode_t mode)
      : store_(store)
      , place_(store + ".new")
      , fd_(create(store, place_, mode)) {}

    ~TemporaryFile() {
        if (!isRenamed_) {
            removeName(place_);
        }
    }

    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    /// Ignores the umask.
    void modeIs(::mode_t mode) {
        if (::fchmod(fd_.get(), mode) == -1) {
            fail(store_, "cannot set permissions");
        }
    }

    void write(std::span<std::byte const> octets) {
        while (!octets.empty()) {
            MOX_SCHEDULING_POINT(writeNew);
            auto const written = ::write(fd_.get(), octets.data(), octets.size());
            if (written >= 0) {
                octets = octets.subspan(static_cast<std::size_t>(written));
            } else if (errno != EINTR) {
                fail(store_, "cannot write");
            }
        }
        if (::fsync(fd_.get()) == -1) {
            fail(store_, "cannot write");
        }
    }

    void rename() {
        MOX_SCHEDULING_POINT(renameNew);
        if (std::rename(place_.path.c_str(), store_.c_str()) == -1) {
            fail(store_, "cannot replace");
        }
        isRenamed_ = true;
    }

  private:
    static void removeLeftover(std::string const& store, StorePlace const& place) {
        auto const fd = openPlace(place, O_RDONLY | O_NOFOLLOW);
        if (fd.get() == -1 && errno == ENOENT) {
            return;
        }
        struct stat status = {};
        if (fd.get() == -1 || ::fstat(fd.get(), &status) == -1 || !isOwnFile(status) ||
            !isReplaceable(fd.get(), status)) {
            throw StoreException(store, "its .new is not a store owned by this user alone");
        }
        removeName(place);
    }

    static OwnedDescriptor create(std::string const& store, StorePlace const& place,
                                  ::mode_t mode) {
        MOX_SCHEDULING_POINT(removeLeftover);
        removeLeftover(store, place);
        MOX_SCHEDULING_POINT(createNew);
        auto fd = openPlace(place, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
        if (fd.get() == -1) {
            fail(store, "cannot create its .new");
        }
        return fd;
    }

    std::string const store_;
    StorePlace const place_;
    OwnedDescriptor const fd_;
    bool isRenamed_ = false;
};

OwnedDescriptor openFolderOf(std::string const& path) {
    auto const slash = path.rfind('/');
    auto const folder = slash == std::string::npos ? std::string(".") : path.substr(0, slash + 1);
    return OwnedDescriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

U64 publishFile(StoreWriter const& writer, std::string const& store, StorePlace const& place,
                std::optional<::mode_t> mode) {
    WriterLock const lock(store, place);
    MOX_SCHEDULING_POINT(publishedAt);
    auto const old = publishedAt(store, place);
    auto const wanted = mode ? mode : old.mode;
    auto const generation = Format::generationAfter(old.generation);
    auto const words = writer.image(generation);
    auto const folder = openFolderOf(store);
    TemporaryFile temporary(store, wanted.value_or(defaultMode));
    if (wanted) {
        temporary.modeIs(*wanted);
    }
    temporary.write(std::as_bytes(std::span(words)));
    temporary.rename();
    // The store is already replaced, so a failure is not reported. Some file systems cannot sync a
    // folder.
    [[maybe_unused]] int const result = ::fsync(folder.get());
    return generation;
}

// ---- Segments -----------------------------------------------------------------------------------

U64 publishSegment(StoreWriter const& writer, std::string const& store, StorePlace const& place,
                   std::optional<::mode_t> mode) {
    SegmentWriter segment(store, place, mode);
    auto const generation = segment.generation();
    segment.publish(writer.image(generation));
    return generation;
}

} // namespace

U64 publishStore(StoreWriter const& writer, std::string const& store,
                 std::optional<::mode_t> mode) {
    MOX_ASSERT(!mode || (*mode & ~::mode_t{0777}) == 0);
    StorePlace const place(store);
    return place.isSegment ? publishSegment(writer, store, place, mode)
                           : publishFile(writer, store, place, mode);
}

void removeStore(std::string const& store) {
    StorePlace const place(store);
    if (removeName(place) == -1 && errno != ENOENT) {
        fail(store, "cannot remove");
    }
    if (place.isSegment) {
        WriterLock::removeOf(place);
    }
}

} // namespace MoxStash
