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
    std::atomic<U64> changes = 0; // odd while what follows is being changed
    std::atomic<char const*> begin = nullptr;
    std::atomic<char const*> end = nullptr;
    std::atomic<int> protection = PROT_NONE;
    std::atomic<bool> cutShort = false;
    bool taken = false;    // under guardsMutex
    Guard* next = nullptr; // never changes once the guard is in the list
};

// ---- The handler --------------------------------------------------------------------------------

namespace {

using Guard = GuardedMapping::Guard;

// Guards are reused, never destroyed: the handler may look at any of them at any time.
std::atomic<Guard*> firstGuard = nullptr;
std::mutex guardsMutex;

// The action before ours, and whether it was a handler for one signal only that has had its signal.
struct sigaction actionBefore;
std::atomic<bool> isSpent = false;

/// Other threads change their guards meanwhile: the begin of one mapping and the end of another
/// would be a range that nobody has. The guard that is looked for does not change: the thread that
/// reads there holds its mapping.
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

/// Replaces the mapping by zeros from the page of that address on. The access that failed is then
/// repeated by the processor and goes on.
bool coverFrom(char const* address, Guard& guard) noexcept {
    auto const pageOctets = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    auto const number = reinterpret_cast<std::uintptr_t>(address);
    auto* const page = reinterpret_cast<void*>(number - number % pageOctets);
    auto const octets = guard.end.load(std::memory_order_relaxed) - static_cast<char const*>(page);
    guard.cutShort.store(true, std::memory_order_release);
    return ::mmap(page, static_cast<std::size_t>(octets),
                  guard.protection.load(std::memory_order_relaxed),
                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED;
}

/// Whether a process sent the signal. Otherwise an access of this thread caused it, and it has an
/// address.
bool isSent(siginfo_t const& info) noexcept {
    return info.si_code <= 0;
}

bool isHandler(struct sigaction const& action) noexcept {
    return action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN;
}

/// Ends the process by the signal, which comes again: the access is repeated, or it is sent again.
void endBy(int signal, siginfo_t const& info) noexcept {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    ::sigaction(signal, &action, nullptr);
    if (isSent(info)) {
        ::raise(signal);
    }
}

/// Calls the handler before ours with the signals blocked that it asked for; the system unblocks
/// them when our handler returns.
void callHandlerBefore(int signal, siginfo_t* info, void* context) noexcept {
    auto blocked = actionBefore.sa_mask;
    if ((actionBefore.sa_flags & SA_NODEFER) == 0) {
        ::sigaddset(&blocked, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    if ((actionBefore.sa_flags & SA_SIGINFO) != 0) {
        actionBefore.sa_sigaction(signal, info, context);
    } else {
        actionBefore.sa_handler(signal);
    }
}

/// Does what the system would have done with the action before ours.
void passOn(int signal, siginfo_t* info, void* context) noexcept {
    bool const isForOneSignal = (actionBefore.sa_flags & static_cast<int>(SA_RESETHAND)) != 0;
    if (isHandler(actionBefore) && !(isForOneSignal && isSpent.exchange(true))) {
        callHandlerBefore(signal, info, context);
    } else if (actionBefore.sa_handler != SIG_IGN || !isSent(*info)) {
        endBy(signal, *info); // a failed access cannot be ignored
    }
}

void handleBusError(int signal, siginfo_t* info, void* context) noexcept {
    int const error = errno;
    auto const* const address = static_cast<char const*>(info->si_addr);
    auto* const guard = isSent(*info) ? nullptr : findGuard(address);
    bool const isCovered = guard != nullptr && coverFrom(address, *guard);
    errno = error;
    if (!isCovered) {
        passOn(signal, info, context);
        errno = error;
    }
}

/// On the stack and with the restarting of system calls that the handler before ours asked for; our
/// own needs neither, but threads with small stacks need an alternate one to be used.
void installHandler() {
    static std::once_flag once;
    std::call_once(once, [] {
        ::sigaction(SIGBUS, nullptr, &actionBefore);
        constexpr int inherited = SA_ONSTACK | SA_RESTART;
        struct sigaction action = {};
        action.sa_sigaction = handleBusError;
        action.sa_flags = SA_SIGINFO | SA_NODEFER |
                          (isHandler(actionBefore) ? actionBefore.sa_flags & inherited : inherited);
        ::sigaction(SIGBUS, &action, nullptr);
    });
}

// ---- Guards -------------------------------------------------------------------------------------

Guard& freeGuard() {
    std::lock_guard const lock(guardsMutex);
    for (auto* guard = firstGuard.load(); guard != nullptr; guard = guard->next) {
        if (!guard->taken) {
            guard->taken = true;
            return *guard;
        }
    }
    auto* const guard = new Guard;
    guard->taken = true;
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
    guard.cutShort.store(false, std::memory_order_relaxed);
    std::lock_guard const lock(guardsMutex);
    guard.taken = false;
}

} // namespace

// ---- GuardedMapping -----------------------------------------------------------------------------

GuardedMapping::GuardedMapping(std::string const& store, int fd, U64 offset, U64 octets,
                               Access access)
  : guard_(freeGuard())
  , octets_(octets) {
    installHandler();
    int const protection = access == Access::read ? PROT_READ : PROT_READ | PROT_WRITE;
    auto* const begin =
        ::mmap(nullptr, octets, protection, MAP_SHARED, fd, static_cast<::off_t>(offset));
    if (begin == MAP_FAILED) {
        int const error = errno;
        release(guard_);
        errno = error;
        throw StoreException(store, systemReason("cannot be mapped"));
    }
    words_ = static_cast<U64*>(begin);
    auto const* const octetsBegin = static_cast<char const*>(begin);
    rangeIs(guard_, octetsBegin, octetsBegin + octets, protection);
}

GuardedMapping::~GuardedMapping() {
    // The guard first: the next mapping of the process may get these addresses.
    release(guard_);
    ::munmap(words_, octets_);
}

bool GuardedMapping::isCutShort() const noexcept {
    return guard_.cutShort.load(std::memory_order_acquire);
}

} // namespace MoxStash
