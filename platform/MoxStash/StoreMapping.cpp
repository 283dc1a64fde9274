#include "StoreMapping.h"

#include "StoreFormat.h"

#include <MoxStash/StoreException.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace MoxStash {

// ---- The guards ---------------------------------------------------------------------------------

namespace {

using Guard = StoreMapping::Guard;

// Guards are never destroyed, only used again: the handler may look at any of them at any time.
std::atomic<Guard*> firstGuard = nullptr;
std::mutex guardsMutex;
struct sigaction actionBefore;

/// Other threads change their guards meanwhile: one begin and another one's end would be a range
/// that nobody has. The guard that is looked for does not change, whoever reads there holds its
/// mapping.
bool guards(Guard const& guard, char const* address) noexcept {
    auto const changes = guard.changes.load(std::memory_order_acquire);
    bool const inside = address >= guard.begin.load(std::memory_order_acquire) &&
                        address < guard.end.load(std::memory_order_acquire);
    return inside && changes % 2 == 0 && changes == guard.changes.load(std::memory_order_relaxed);
}

Guard* findGuard(char const* address) noexcept {
    auto* guard = firstGuard.load(std::memory_order_acquire);
    while (guard != nullptr && !guards(*guard, address)) {
        guard = guard->next;
    }
    return guard;
}

/// Puts zeros in the place of all that is mapped from the page of that address on. Reading goes on
/// there, and finds in the end that it was for nothing.
bool coverFrom(char const* address, Guard& guard) noexcept {
    auto const pageOctets = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    auto const number = reinterpret_cast<std::uintptr_t>(address);
    auto* const page = reinterpret_cast<void*>(number - number % pageOctets);
    auto const octets = guard.end.load(std::memory_order_relaxed) - static_cast<char const*>(page);
    guard.cutShort.store(true, std::memory_order_release);
    return ::mmap(page, static_cast<std::size_t>(octets), PROT_READ,
                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED;
}

/// Whether some process sent the signal; else it comes of what this one did, and has an address.
bool isSent(siginfo_t const& info) noexcept {
    return info.si_code <= 0;
}

/// The process ends by the signal, which comes again: by itself, or because it is sent once more.
void endBy(int signal, siginfo_t const& info) noexcept {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    ::sigaction(signal, &action, nullptr);
    if (isSent(info)) {
        ::raise(signal);
    }
}

/// As if this handler had never been.
void passOn(int signal, siginfo_t* info, void* context) noexcept {
    if ((actionBefore.sa_flags & SA_SIGINFO) != 0) {
        actionBefore.sa_sigaction(signal, info, context);
    } else if (actionBefore.sa_handler == SIG_DFL) {
        endBy(signal, *info);
    } else if (actionBefore.sa_handler != SIG_IGN) {
        actionBefore.sa_handler(signal);
    } else if (!isSent(*info)) {
        endBy(signal, *info); // no ignoring this one
    }
}

void handleBusError(int signal, siginfo_t* info, void* context) noexcept {
    int const error = errno;
    auto const* const address = static_cast<char const*>(info->si_addr);
    auto* const guard = isSent(*info) ? nullptr : findGuard(address);
    if (guard == nullptr || !coverFrom(address, *guard)) {
        passOn(signal, info, context);
    }
    errno = error;
}

void installHandler() {
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction action = {};
        action.sa_sigaction = handleBusError;
        action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
        ::sigaction(SIGBUS, &action, &actionBefore);
    });
}

Guard* freeGuard() {
    std::lock_guard const lock(guardsMutex);
    for (auto* guard = firstGuard.load(); guard != nullptr; guard = guard->next) {
        if (!guard->taken) {
            guard->taken = true;
            return guard;
        }
    }
    auto* const guard = new Guard;
    guard->taken = true;
    guard->next = firstGuard.load();
    firstGuard.store(guard, std::memory_order_release);
    return guard;
}

void rangeIs(Guard& guard, char const* begin, char const* end) noexcept {
    guard.changes.fetch_add(1, std::memory_order_relaxed);
    guard.begin.store(begin, std::memory_order_release);
    guard.end.store(end, std::memory_order_release);
    guard.changes.fetch_add(1, std::memory_order_release);
}

Guard* guardOf(char const* begin, char const* end) {
    auto* const guard = freeGuard();
    guard->cutShort.store(false, std::memory_order_relaxed);
    rangeIs(*guard, begin, end);
    return guard;
}

void release(Guard& guard) noexcept {
    rangeIs(guard, nullptr, nullptr);
    std::lock_guard const lock(guardsMutex);
    guard.taken = false;
}

} // namespace

// ---- Names and descriptors ----------------------------------------------------------------------

StorePlace::StorePlace(std::string const& store)
  : isSegment(store.starts_with(segmentPrefix))
  , path(isSegment ? store.substr(std::string_view(segmentPrefix).size()) : store) {}

OwnedDescriptor::~OwnedDescriptor() {
    if (fd_ != -1) {
        ::close(fd_);
    }
}

std::string systemReason(char const* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

OwnedDescriptor openToRead(StorePlace const& place) noexcept {
    auto const* const path = place.path.c_str();
    return OwnedDescriptor(place.isSegment ? ::shm_open(path, O_RDONLY, 0)
                                           : ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
}

// ---- StoreMapping -------------------------------------------------------------------------------

StoreMapping::StoreMapping(std::string const& store, StorePlace const& place) {
    auto const fd = openToRead(place);
    struct stat status = {};
    if (fd.get() == -1 || ::fstat(fd.get(), &status) == -1) {
        throw StoreException(store, systemReason("cannot be opened"));
    }
    if (!S_ISREG(status.st_mode)) {
        throw StoreException(store, "is no regular file");
    }
    octets_ = static_cast<U64>(status.st_size);
    device_ = status.st_dev;
    inode_ = status.st_ino;
    if (octets_ == 0) {
        return;
    }
    installHandler();
    auto* const begin = ::mmap(nullptr, octets_, PROT_READ, MAP_SHARED, fd.get(), 0);
    if (begin == MAP_FAILED) {
        throw StoreException(store, systemReason("cannot be mapped"));
    }
    words_ = {static_cast<U64 const*>(begin), octets_ / Format::wordOctets};
    try {
        guard_ =
            guardOf(static_cast<char const*>(begin), static_cast<char const*>(begin) + octets_);
    } catch (...) {
        ::munmap(begin, octets_);
        throw;
    }
}

StoreMapping::~StoreMapping() {
    if (guard_ != nullptr) {
        // The guard first: what is mapped next may get these addresses.
        release(*guard_);
        ::munmap(const_cast<U64*>(words_.data()), octets_);
    }
}

bool StoreMapping::isCutShort() const noexcept {
    return guard_ != nullptr && guard_->cutShort.load(std::memory_order_acquire);
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
