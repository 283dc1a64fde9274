#include "GuardedMapping.h"

#include "StorePlace.h"

#include <MoxStash/StoreException.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <mutex>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace MoxStash {

struct GuardedMapping::Guard {
    std::atomic<U64> changes = 0; // odd while the fields below are changing
    std::atomic<char const*> begin = nullptr;
    std::atomic<char const*> end = nullptr;
    std::atomic<int> protection = PROT_NONE;
    std::atomic<bool> truncated = false;
    bool inUse = false;    // under guardsMutex
    Guard* next = nullptr; // constant once the guard is in the list
};

// ---- The handler --------------------------------------------------------------------------------

namespace {

using Guard = GuardedMapping::Guard;

// Guards are reused and never destroyed, because the handler may read any of them at any time.
std::atomic<Guard*> firstGuard = nullptr;
std::mutex guardsMutex;

// The action installed before ours, and whether it was a one-shot handler that has run.
struct sigaction previousAction;
std::atomic<bool> isHandlerSpent = false;

/// Other threads may change their guards concurrently, so the begin of one mapping could be
/// combined with the end of another. The counter detects that. The guard of the current access does
/// not change: the reading thread holds its mapping.
bool contains(Guard const& guard, char const* address) noexcept {
    auto const changes = guard.changes.load(std::memory_order_acquire);
    bool const inside = address >= guard.begin.load(std::memory_order_acquire) &&
                        address < guard.end.load(std::memory_order_acquire);
    return inside && changes % 2 == 0 && changes == guard.changes.load(std::memory_order_relaxed);
}

Guard* findGuard(char const* address) noexcept {
    auto* guard = firstGuard.load(std::memory_order_acquire);
    while (guard != nullptr && !contains(*guard, address)) {
        guard = guard->next;
    }
    return guard;
}

/// Replaces the mapping by zero pages, starting with the page of `address`. The processor then
/// repeats the failed access, which succeeds.
bool mapZerosFrom(char const* address, Guard& guard) noexcept {
    auto const pageOctets = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    auto const number = reinterpret_cast<std::uintptr_t>(address);
    auto* const page = reinterpret_cast<void*>(number - number % pageOctets);
    auto const octets = guard.end.load(std::memory_order_relaxed) - static_cast<char const*>(page);
    guard.truncated.store(true, std::memory_order_release);
    return ::mmap(page, static_cast<std::size_t>(octets),
                  guard.protection.load(std::memory_order_relaxed),
                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED;
}

/// Whether a process sent the signal. Otherwise an access by this thread raised it, and it has an
/// address.
bool isSentByProcess(siginfo_t const& info) noexcept {
    return info.si_code <= 0;
}

bool isHandler(struct sigaction const& action) noexcept {
    return action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN;
}

/// Terminates the process by the signal, with the default action: the failed access is repeated, or
/// the signal raised again.
void terminateBy(int signal, siginfo_t const& info) noexcept {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    ::sigaction(signal, &action, nullptr);
    if (isSentByProcess(info)) {
        ::raise(signal);
    }
}

/// Calls the previous handler with the signals blocked that it asked for. The system unblocks them
/// when our handler returns.
void callPreviousHandler(int signal, siginfo_t* info, void* context) noexcept {
    auto blocked = previousAction.sa_mask;
    if ((previousAction.sa_flags & SA_NODEFER) == 0) {
        ::sigaddset(&blocked, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    if ((previousAction.sa_flags & SA_SIGINFO) != 0) {
        previousAction.sa_sigaction(signal, info, context);
    } else {
        previousAction.sa_handler(signal);
    }
}

/// Does what the system would have done with the previous action.
void forward(int signal, siginfo_t* info, void* context) noexcept {
    bool const isForOneSignal = (previousAction.sa_flags & static_cast<int>(SA_RESETHAND)) != 0;
    if (isHandler(previousAction) && !(isForOneSignal && isHandlerSpent.exchange(true))) {
        callPreviousHandler(signal, info, context);
    } else if (previousAction.sa_handler != SIG_IGN || !isSentByProcess(*info)) {
        terminateBy(signal, *info); // a failed access cannot be ignored
    }
}

void handleBusError(int signal, siginfo_t* info, void* context) noexcept {
    int const error = errno;
    auto const* const address = static_cast<char const*>(info->si_addr);
    auto* const guard = isSentByProcess(*info) ? nullptr : findGuard(address);
    bool const isHandled = guard != nullptr && mapZerosFrom(address, *guard);
    errno = error;
    if (!isHandled) {
        forward(signal, info, context);
        errno = error;
    }
}

/// Installs the handler with the stack and the restarting of system calls that the previous handler
/// asked for. Without a previous handler it uses both: threads with small stacks need the alternate
/// stack.
void installHandler() {
    static std::once_flag once;
    std::call_once(once, [] {
        ::sigaction(SIGBUS, nullptr, &previousAction);
        constexpr int inherited = SA_ONSTACK | SA_RESTART;
        struct sigaction action = {};
        action.sa_sigaction = handleBusError;
        action.sa_flags =
            SA_SIGINFO | SA_NODEFER |
            (isHandler(previousAction) ? previousAction.sa_flags & inherited : inherited);
        ::sigaction(SIGBUS, &action, nullptr);
    });
}

// ---- Guards -------------------------------------------------------------------------------------

Guard& acquireGuard() {
    std::lock_guard const lock(guardsMutex);
    for (auto* guard = firstGuard.load(); guard != nullptr; guard = guard->next) {
        if (!guard->inUse) {
            guard->inUse = true;
            return *guard;
        }
    }
    auto* const guard = new Guard;
    guard->inUse = true;
    guard->next = firstGuard.load();
    firstGuard.store(guard, std::memory_order_release);
    return *guard;
}

void rangeIs(Guard& guard, char const* begin, char const* end, int protection) noexcept {
    guard.changes.fetch_add(1, std::memory_order_relaxed);
    guard.begin.store(begin, std::memory_order_release);
    guard.end.store(end, std::memory_order_release);
    guard.protection.store(protection, std::memory_order_release);
    guard.changes.fetch_add(1, std::memory_order_release);
}

void release(Guard& guard) noexcept {
    rangeIs(guard, nullptr, nullptr, PROT_NONE);
    guard.truncated.store(false, std::memory_order_relaxed);
    std::lock_guard const lock(guardsMutex);
    guard.inUse = false;
}

} // namespace

// ---- GuardedMapping -----------------------------------------------------------------------------

GuardedMapping::GuardedMapping(std::string const& store, int fd, U64 offset, U64 octets,
                               Access access)
  : guard_(acquireGuard())
  , octets_(octets) {
    installHandler();
    int const protection = access == Access::read ? PROT_READ : PROT_READ | PROT_WRITE;
    auto* const begin =
        ::mmap(nullptr, octets, protection, MAP_SHARED, fd, static_cast<::off_t>(offset));
    if (begin == MAP_FAILED) {
        int const error = errno;
        release(guard_);
        errno = error;
        throw StoreException(store, systemReason("cannot map"));
    }
    words_ = static_cast<U64*>(begin);
    auto const* const octetsBegin = static_cast<char const*>(begin);
    rangeIs(guard_, octetsBegin, octetsBegin + octets, protection);
}

GuardedMapping::~GuardedMapping() {
    // Release the guard first: the next mapping of the process may get these addresses.
    release(guard_);
    ::munmap(words_, octets_);
}

bool GuardedMapping::isTruncated() const noexcept {
    return guard_.truncated.load(std::memory_order_acquire);
}

} // namespace MoxStash
