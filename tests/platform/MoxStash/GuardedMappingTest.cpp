#include "StoreNumbers.h"
#include "support/StoreFolder.h"

#include "support/Allocations.h"

#include <Mox/Export.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>
#include <utility>

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace MoxStash {
namespace {

using namespace Test;
namespace fs = std::filesystem;

/// If not 0, mmap() below succeeds and sets errno to this value.
int errorOfMmap = 0;

std::array<char, 1 << 16> alternateStack;

/// The state that the program's own handler sees.
struct Call {
    bool blocksBus = false;
    bool blocksUser = false;
    bool isOnAlternateStack = false;
    bool hasInfo = false;
    bool operator==(Call const&) const = default;
};

Call lastCall;

void noteCall(siginfo_t const* info) {
    sigset_t blocked;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    auto const* const frame = static_cast<char const*>(__builtin_frame_address(0));
    lastCall = {::sigismember(&blocked, SIGBUS) == 1, ::sigismember(&blocked, SIGUSR1) == 1,
                frame >= alternateStack.begin() && frame < alternateStack.end(),
                info != nullptr && info->si_signo == SIGBUS};
}

void handleBy(int flags) {
    struct sigaction action = {};
    action.sa_flags = flags;
    ::sigaddset(&action.sa_mask, SIGUSR1);
    if ((flags & SA_SIGINFO) != 0) {
        action.sa_sigaction = [](int, siginfo_t* info, void*) { noteCall(info); };
    } else {
        action.sa_handler = [](int) { noteCall(nullptr); };
    }
    ::sigaction(SIGBUS, &action, nullptr);
}

void ignoreWithInfo() {
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGBUS, &action, nullptr);
}

constexpr int stackAndRestart = SA_ONSTACK | SA_RESTART;

/// The current flags of the signal's action.
int stackAndRestartNow() {
    struct sigaction now = {};
    ::sigaction(SIGBUS, nullptr, &now);
    return now.sa_flags & stackAndRestart;
}

/// Run in child processes, because the first mapping of a store installs the handler permanently.
class StoreSignalDeathTest : public testing::Test {
  protected:
    StoreSignalDeathTest() {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        publish(store, 1);
    }

    void attach() { manager.emplace(store); }

    void attachAfter(void (*handler)(int)) {
        std::signal(SIGBUS, handler);
        attach();
    }

    /// Maps another file, at `place` if given, truncates it and reads it.
    [[noreturn]] void readBehindTheEndOfAFile(void* place = nullptr) {
        auto const path = folder.path() + "/other";
        std::ofstream(path) << std::string(4096, 'o');
        int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        auto const* const octets = static_cast<char const volatile*>(
            ::mmap(place, 4096, PROT_READ, MAP_SHARED | (place == nullptr ? 0 : MAP_FIXED), fd, 0));
        fs::resize_file(path, 0);
        std::fputs(octets[100] == 'o' ? "read" : "zero", stderr);
        std::_Exit(1);
    }

    /// Exits with 0 if a handler with these flags is called in the same way after a store is
    /// mapped.
    [[noreturn]] void compareCalls(int flags) {
        ::stack_t const stack = {alternateStack.data(), 0, alternateStack.size()};
        ::sigaltstack(&stack, nullptr);
        handleBy(flags);
        ::raise(SIGBUS);
        auto const before = std::exchange(lastCall, {});
        auto const flagsBefore = stackAndRestartNow();
        attach();
        ::raise(SIGBUS);
        bool const same = before == lastCall && flagsBefore == stackAndRestartNow();
        lastCall = {};
        noteCall(nullptr);
        std::_Exit(same && before.blocksUser && lastCall == Call{} ? 0 : 1);
    }

    StoreFolder const folder;
    std::string const store = folder.store(false);
    std::optional<StoreManager> manager;
    testing::KilledBySignal const killed{SIGBUS};
};

testing::ExitedWithCode exits(int status) {
    return testing::ExitedWithCode(status);
}

TEST_F(StoreSignalDeathTest, ForwardsSignalsThatDoNotConcernStores) {
    auto const exit = [](int) { std::_Exit(42); };
    EXPECT_EXIT((attachAfter(SIG_DFL), readBehindTheEndOfAFile()), killed, "^$");
    EXPECT_EXIT((attachAfter(SIG_IGN), readBehindTheEndOfAFile()), killed, "^$");
    EXPECT_EXIT((attachAfter(exit), readBehindTheEndOfAFile()), exits(42), "");
    EXPECT_EXIT((attachAfter(SIG_DFL), ::raise(SIGBUS), std::_Exit(1)), killed, "");
    EXPECT_EXIT((attachAfter(SIG_IGN), ::raise(SIGBUS), std::_Exit(44)), exits(44), "");
    EXPECT_EXIT((ignoreWithInfo(), attach(), ::raise(SIGBUS), std::_Exit(44)), exits(44), "");
}

TEST_F(StoreSignalDeathTest, ForwardsSignalsAsTheSystemWould) {
    for (int const flags : {0, SA_SIGINFO, SA_NODEFER, SA_ONSTACK, SA_RESTART,
                            SA_SIGINFO | SA_NODEFER | SA_ONSTACK | SA_RESTART}) {
        EXPECT_EXIT(compareCalls(flags), exits(0), "") << "flags " << flags;
    }
    // A program without a handler may still have threads with small stacks, or slow system calls.
    EXPECT_EXIT(
        (attachAfter(SIG_DFL), std::_Exit(stackAndRestartNow() == stackAndRestart ? 45 : 1)),
        exits(45), "");
    // A one-shot handler: the next signal terminates the process.
    EXPECT_EXIT((handleBy(static_cast<int>(SA_RESETHAND)), attach(), ::raise(SIGBUS),
                 std::fputs(lastCall.blocksBus ? "once" : "", stderr), ::raise(SIGBUS),
                 std::_Exit(1)),
                killed, "^once$");
}

// ---- Signals about stores -----------------------------------------------------------------------

TEST_F(StoreSignalDeathTest, HandlesSignalsOnlyWhileTheStoreIsMapped) {
    auto const place = [&] {
        std::ifstream maps("/proc/self/maps");
        std::string line;
        while (std::getline(maps, line) && line.find(store) == std::string::npos) {
        }
        return reinterpret_cast<void*>(std::stoul(line, nullptr, 16));
    };
    void* where = nullptr;
    EXPECT_EXIT(
        (attachAfter(SIG_DFL), where = place(), manager.reset(), readBehindTheEndOfAFile(where)),
        killed, "^$");
}

TEST_F(StoreSignalDeathTest, ReusesGuardsOfUnmappedStores) {
    auto const allocations = [&] {
        auto const before = allocationsSoFar();
        attach();
        return allocationsSoFar() - before;
    };
    auto const again = [&] {
        auto const first = allocations();
        manager.reset();
        return allocations() < first;
    };
    EXPECT_EXIT(std::_Exit(again() ? 0 : 1), exits(0), "");
}

TEST(StoreSignal, PreservesErrno) {
    StoreFolder const folder;
    auto const store = folder.store(false);
    publish(store, 1, 5000);
    StoreManager const manager(store);
    fs::resize_file(store, 4096);
    errorOfMmap = EDOM;
    errno = ERANGE;
    auto const isCurrent = manager.isCurrent(); // reads the end
    int const error = errno;
    errorOfMmap = 0;
    EXPECT_FALSE(isCurrent);
    EXPECT_EQ(error, ERANGE);
}

} // namespace
} // namespace MoxStash

// The thread sanitizer maps memory before it can instrument calls.
extern "C" VOBGP_EXPORT __attribute__((no_sanitize("thread"))) void*
mmap(void* place, std::size_t octets, int protection, int flags, int fd, ::off_t offset) noexcept {
    auto const result = ::syscall(SYS_mmap, place, octets, protection, flags, fd, offset);
    if (MoxStash::errorOfMmap != 0) {
        errno = MoxStash::errorOfMmap;
    }
    return reinterpret_cast<void*>(result);
}
