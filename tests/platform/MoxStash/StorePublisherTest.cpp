#include "StoreNumbers.h"
#include "support/StoreFolder.h"

#include "support/Allocations.h"

#include <Mox/Export.h>
#include <MoxStash/StoreFormat.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <future>
#include <map>
#include <new>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

/// Hooks of the system calls that the end of this file replaces; empty by default.
namespace {

struct Interposed {
    std::function<void(std::string const&)> onCall; // on every call
    std::function<void(int)> onAllocate;            // after a segment's memory is reserved
    std::function<void()> onOpen;                   // on opening a file or a segment
    std::function<void(int)> onStat;                // before the status of an open file is read
    int failingSync = -1;                           // the index of the call that fails
    ::ino_t foreignFile = 0;                        // reported as owned by another user
};

Interposed* interposed = nullptr;

} // namespace

namespace MoxStash {
namespace {

using namespace Test;
namespace fs = std::filesystem;

/// A file and a segment, with intercepted system calls.
class StorePublisher : public StorePlaces {
  protected:
    StorePublisher() { interposed = &calls; }
    ~StorePublisher() override { interposed = nullptr; }

    std::string const lock = file + ".lock";
    std::string const aside = file + ".new"; // for a file only
    Interposed calls;

    static struct stat statusOf(std::string const& path) {
        struct stat status = {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0);
        return status;
    }

    ::mode_t mode() const { return statusOf(file).st_mode & 07777; }

    /// The files of the store: hashes of their contents, by name.
    std::map<std::string, std::size_t> all() const {
        std::map<std::string, std::size_t> contents;
        for (auto const& path : {file, lock, aside}) {
            if (fs::exists(path)) {
                contents[path] = std::hash<std::string>()(contentOf(path));
            }
        }
        return contents;
    }
};

INSTANTIATE_TEST_SUITE_P(Place, StorePublisher, testing::Bool(), storePlaceName);

class FilePublisher : public StorePublisher {};
INSTANTIATE_TEST_SUITE_P(Place, FilePublisher, testing::Values(false), storePlaceName);

class SegmentPublisher : public StorePublisher {};
INSTANTIATE_TEST_SUITE_P(Place, SegmentPublisher, testing::Values(true), storePlaceName);

// ---- Permissions --------------------------------------------------------------------------------

TEST_P(StorePublisher, IgnoresLocksThatReadersCanTake) {
    publish(store, 1);
    auto const readable = GetParam() ? file : aside;
    if (!GetParam()) {
        fs::copy_file(file, aside); // the leftover of a killed writer
    }
    int const fd = ::open(readable.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(fd, LOCK_EX), 0);
    auto publishing = std::async(std::launch::async, [&] { return publish(store, 2); });
    EXPECT_EQ(publishing.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    ::close(fd);
    EXPECT_EQ(publishing.get(), 2U);
    if (fs::exists(lock)) {
        EXPECT_EQ(fs::status(lock).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    }
}

TEST_P(StorePublisher, RefusesFilesThatOtherUsersCanAccess) {
    publish(store, 1);
    auto const whole = contentOf(file);
    auto const refuses = [&] {
        auto const before = all();
        EXPECT_THROW(publish(store, 2), StoreException);
        EXPECT_EQ(all(), before);
    };
    for (auto const& path : {lock, GetParam() ? file : aside}) {
        SCOPED_TRACE(path);
        bool const isLock = path == lock;
        std::ofstream(path) << (isLock ? "" : whole);
        fs::permissions(path, fs::perms(isLock ? 0600 : 0644));
        auto const twin = path + ".twin";
        fs::create_hard_link(path, twin);
        refuses();
        fs::remove(twin);
        calls.foreignFile = statusOf(path).st_ino;
        refuses();
        calls.foreignFile = 0;
        if (isLock) {
            fs::permissions(path, fs::perms(0644));
            refuses();
            fs::permissions(path, fs::perms(0600));
            std::ofstream(path) << "foreign";
            refuses();
            fs::remove(path);
        }
    }
    EXPECT_EQ(publish(store, 2), 2U);
}

TEST_P(StorePublisher, SetsTheRequestedPermissions) {
    StoreWriter writer;
    auto const umaskBefore = ::umask(0);
    publishStore(writer, store);
    EXPECT_EQ(mode(), 0644U);
    ::umask(027);
    publishStore(writer, store, 0606);
    EXPECT_EQ(mode(), 0606U);
    publishStore(writer, store);
    EXPECT_EQ(mode(), 0606U) << "a replaced store keeps its permissions";
    removeStore(store);
    publishStore(writer, store);
    EXPECT_EQ(mode(), 0640U);
    removeStore(store);
    publishStore(writer, store, 0666);
    EXPECT_EQ(mode(), 0666U);
    ::umask(umaskBefore);
}

// ---- Failures -----------------------------------------------------------------------------------

TEST_P(StorePublisher, ChangesNothingIfAllocationFails) {
    StoreWriter writer;
    put(writer, 5, 100);
    for (U64 const generation : {1U, 2U}) {
        for (long allocations = 0;; ++allocations) {
            auto const before = all();
            try {
                FailingAllocations const few(allocations);
                publishStore(writer, store);
                EXPECT_GT(allocations, 3);
                break;
            } catch (std::bad_alloc const&) {
            }
            ASSERT_EQ(all(), before) << allocations << " allocations";
        }
        EXPECT_EQ(StoreManager(store).versionAnchor(), generation);
    }
}

TEST_P(FilePublisher, SyncsTheFileBeforeAndTheFolderAfterRenaming) {
    std::vector<std::string> order;
    calls.onCall = [&](std::string const& call) {
        order.push_back(call);
        if (call.starts_with("rename")) {
            EXPECT_EQ(statusOf(aside).st_mode & 0777U, 0644U);
        }
    };
    StoreWriter writer;
    put(writer, 1, 1);
    auto const umaskBefore = ::umask(077);
    publishStore(writer, store, 0644);
    ::umask(umaskBefore);
    std::vector<std::string> const wanted = {
        "fsync " + aside + " of " + std::to_string(fs::file_size(file)),
        "rename " + aside + " " + file, "fsync " + folder.path() + " of folder"};
    EXPECT_EQ(order, wanted);
    calls.failingSync = 0;
    EXPECT_NE(refusalOf([&] { publish(store, 2); }).reason().find("Input/output"),
              std::string::npos);
    EXPECT_EQ(numberIn(StoreManager(store)), 1U);
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"store"});
    calls.failingSync = 1;
    EXPECT_EQ(publish(store, 3), 2U) << "it was replaced";
}

TEST_P(SegmentPublisher, CreatesASegmentAgainThatIsRemovedOnceItIsOpen) {
    publish(store, 1);
    calls.onStat = [this](int fd) {
        if (fs::read_symlink("/proc/self/fd/" + std::to_string(fd)) == file) {
            fs::remove(file);
            calls.onStat = nullptr;
        }
    };
    EXPECT_EQ(publish(store, 2), 1U);
    calls.onStat = nullptr;
    EXPECT_EQ(numberIn(StoreManager(store)), 2U);
    int const fd = ::open(lock.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(fd, LOCK_EX), 0);
    removeStore(store);
    EXPECT_TRUE(fs::exists(lock)) << "a writer holds it";
    ::close(fd);
    publish(store, 3);
    removeStore(store);
    EXPECT_FALSE(fs::exists(lock));
}

TEST_P(SegmentPublisher, DetectsTruncation) {
    constexpr std::size_t words = 3000;
    publish(store, 1, words);
    auto const end = fs::file_size(file); // where the next area begins, except for the padding
    auto const next = (end + 4095) / 4096 * 4096;
    for (auto const left : {end, next + 4096, next + 64}) {
        SCOPED_TRACE(left);
        StoreManager const manager(store);
        calls.onAllocate = [&](int fd) {
            ASSERT_EQ(::ftruncate(fd, static_cast<::off_t>(left)), 0);
        };
        auto const size = left == next + 64 ? 10 : words;
        EXPECT_NE(refusalOf([&] { publish(store, 2, size); }).reason().find("truncated"),
                  std::string::npos);
        calls.onAllocate = nullptr;
        U64 begun = 0;
        std::memcpy(&begun, contentOf(file).data() + 8 * Format::begunWord, sizeof begun);
        EXPECT_EQ(begun, 2U) << "must be set before the first word is written";
        EXPECT_EQ(numberIn(manager), 1U);
        EXPECT_TRUE(manager.isCurrent());
    }
    // Left by a killed writer: the store is complete, and keeps its place.
    StoreManager const manager(store);
    EXPECT_EQ(publish(store, 2, words), 2U);
    EXPECT_EQ(numberIn(manager), 1U);
    calls.onAllocate = [](int fd) { ASSERT_EQ(::ftruncate(fd, 0), 0); };
    EXPECT_THROW(publish(store, 3), StoreException);
}

/// Damage is not reported if the store is replaced while it is checked.
TEST_P(StorePublisher, ReplacementHidesDamageFromAttachingReaders) {
    publish(store, 1);
    auto const flip = [&] {
        std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
        stream.seekp(GetParam() ? 4096 + 100 : 100);
        stream.put('x');
    };
    flip();
    EXPECT_THROW(StoreManager{store}, StoreException);
    int opened = 0;
    calls.onOpen = [&] {
        if (++opened == 2) { // to check whether it has changed
            publish(store, 2);
        }
    };
    EXPECT_EQ(numberIn(StoreManager(store)), 2U);
}

// ---- A store that is being written --------------------------------------------------------------

TEST(StoreWriter, IsUnchangedIfAllocationFails) {
    std::function<void(MoxStash::StoreWriter&)> const steps[] = {
        [](auto& writer) {
            writer.recordIs(kindNumbers, std::array<U64, 2>{1, 2});
        },
        [](auto& writer) {
            writer.tableIs(std::array<StoredEntry, 1>{{{storedAddress(64), 7}}});
        },
        [](auto& writer) { writer.rootIs("numbers", storedAddress(64)); },
        [](auto& writer) { writer.rootIs(std::string(100, 'n'), storedAddress(64)); },
        [](auto& writer) { writer.recordIs(kindNumbers, std::vector<U64>(1000, 3)); },
    };
    MoxStash::StoreWriter writer, sound;
    for (auto const& step : steps) {
        step(sound);
        auto const before = writer.image(1);
        for (long allocations = 0;; ++allocations) {
            try {
                FailingAllocations const few(allocations);
                step(writer);
                break;
            } catch (std::bad_alloc const&) {
            }
            ASSERT_EQ(writer.image(1), before) << allocations << " allocations";
        }
        ASSERT_EQ(writer.image(1), sound.image(1));
    }
}

} // namespace
} // namespace MoxStash

// ---- System calls -------------------------------------------------------------------------------

namespace {

bool isWatched() {
    return interposed != nullptr && interposed->onCall;
}

void beforeOpen() {
    if (interposed != nullptr && interposed->onOpen) {
        interposed->onOpen();
    }
}

template <class Function>
Function* real(char const* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

/// The path and size of an open file.
std::string describe(int fd) {
    auto const path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd));
    struct stat status = {};
    ::fstat(fd, &status);
    return path.string() + " of " +
           (S_ISDIR(status.st_mode) ? "folder" : std::to_string(status.st_size));
}

} // namespace

extern "C" {

VOBGP_EXPORT int fsync(int fd) {
    if (isWatched()) {
        interposed->onCall("fsync " + describe(fd));
    }
    if (interposed != nullptr && interposed->failingSync-- == 0) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fsync, fd));
}

VOBGP_EXPORT int rename(char const* from, char const* to) noexcept {
    if (isWatched()) {
        interposed->onCall(std::string("rename ") + from + " " + to);
    }
    return static_cast<int>(::syscall(SYS_rename, from, to));
}

VOBGP_EXPORT int posix_fallocate(int fd, ::off_t offset, ::off_t octets) {
    int const error = real<int(int, ::off_t, ::off_t)>("posix_fallocate")(fd, offset, octets);
    if (error == 0 && interposed != nullptr && interposed->onAllocate) {
        interposed->onAllocate(fd);
    }
    return error;
}

VOBGP_EXPORT int shm_open(char const* name, int flags, ::mode_t mode) {
    beforeOpen();
    return real<int(char const*, int, ::mode_t)>("shm_open")(name, flags, mode);
}

VOBGP_EXPORT int open(char const* path, int flags, ...) {
    beforeOpen();
    std::va_list arguments;
    va_start(arguments, flags);
    auto const mode = (flags & O_CREAT) != 0 ? va_arg(arguments, ::mode_t) : 0;
    va_end(arguments);
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

VOBGP_EXPORT int fstat(int fd, struct stat* status) noexcept {
    if (interposed != nullptr && interposed->onStat) {
        interposed->onStat(fd);
    }
    int const result = real<int(int, struct stat*)>("fstat")(fd, status);
    if (result == 0 && interposed != nullptr && interposed->foreignFile == status->st_ino) {
        ++status->st_uid;
    }
    return result;
}

} // extern "C"
