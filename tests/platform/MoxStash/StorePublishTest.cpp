#include "support/StoreFolder.h"

#include <MoxStash/StoreException.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StorePublisher.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

/// A running StoreProcess. The destructor kills it.
class Process {
  public:
    Process(std::string mode, std::string store) {
        std::array<int, 2> in{}, out{};
        EXPECT_EQ(::pipe2(in.data(), O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(out.data(), O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        std::string program = VOBGP_STORE_PROCESS;
        std::array<char*, 4> const argv = {program.data(), mode.data(), store.data(), nullptr};
        EXPECT_EQ(::posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), environ),
                  0);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(in[0]);
        ::close(out[1]);
        in_ = in[1];
        out_ = out[0];
    }

    ~Process() {
        if (pid_ != -1) {
            kill();
        }
        ::close(in_);
        ::close(out_);
    }

    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    /// Waits until it reports its start.
    void expectBegun() {
        char letter = 0;
        ASSERT_EQ(::read(out_, &letter, 1), 1);
    }

    /// Whether it has written so many more letters, or has ended.
    bool hasWritten(int letters) const {
        ::pollfd output = {out_, 0, 0};
        int octets = 0;
        EXPECT_EQ(::ioctl(out_, FIONREAD, &octets), 0);
        return octets >= letters || ::poll(&output, 1, 0) != 0;
    }

    /// Returns whether it was still running.
    bool kill() {
        ::kill(pid_, SIGKILL);
        int const status = wait();
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    }

    /// Closes its input, waits for it, and returns its unread output; empty if it failed.
    std::string finish() {
        ::close(in_);
        in_ = -1;
        std::string text;
        std::array<char, 200> part{};
        for (::ssize_t got = 0; (got = ::read(out_, part.data(), part.size())) > 0;) {
            text.append(part.data(), static_cast<std::size_t>(got));
        }
        int const status = wait();
        return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? text : "";
    }

  private:
    int wait() {
        int status = 0;
        EXPECT_EQ(::waitpid(pid_, &status, 0), pid_);
        pid_ = -1;
        return status;
    }

    ::pid_t pid_ = -1;
    int in_ = -1;
    int out_ = -1;
};

/// The number of kills per writer of a file and of a segment: the environment variable
/// VOBGP_STORE_KILLS, by default 200.
int kills() {
    auto const* const wanted = std::getenv("VOBGP_STORE_KILLS");
    return wanted == nullptr ? 200 : std::stoi(wanted);
}

/// Files are in memory, like segments, where syncing is fast, so that many stores are published.
class KilledWriters : public StorePlaces {
  protected:
    KilledWriters()
      : StorePlaces("/dev/shm/") {}

    /// Kills the writer within that time and waits for the start of another one.
    void killWriter(unsigned microseconds) {
        std::this_thread::sleep_for(std::chrono::microseconds(random_() % microseconds));
        ASSERT_TRUE(writer->kill()) << "it failed";
        writer = begunWriter();
    }

    /// Waits for the first store.
    void expectStore() {
        auto const end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        for (bool isThere = false; !isThere;) {
            ASSERT_LT(std::chrono::steady_clock::now(), end) << "nothing is published";
            try {
                MoxStash::StoreManager const manager(store);
                isThere = true;
            } catch (MoxStash::StoreException const&) {
            }
        }
    }

    std::unique_ptr<Process> writer = begunWriter();

  private:
    std::unique_ptr<Process> begunWriter() {
        auto process = std::make_unique<Process>("write", store);
        process->expectBegun();
        return process;
    }

    std::mt19937 random_{1};
};

INSTANTIATE_TEST_SUITE_P(Place, KilledWriters, testing::Bool(), storePlaceName);

TEST_P(KilledWriters, LeaveCompleteStoresForReaders) {
    // Kill the writers that create the store: their leftovers must not block the next one.
    for (int count = 0; count < kills() / 20; ++count) {
        ASSERT_NO_FATAL_FAILURE(killWriter(500));
        MoxStash::removeStore(store);
    }
    ASSERT_NO_FATAL_FAILURE(expectStore());
    std::array const readers = {std::make_unique<Process>("read", store),
                                std::make_unique<Process>("read", store)};
    for (auto const& reader : readers) {
        ASSERT_NO_FATAL_FAILURE(reader->expectBegun());
    }
    // On a busy machine few writers publish before they are killed: go on, and give them more and
    // more time, until the readers have seen several stores.
    auto const seenEnough = [](auto const& reader) { return reader->hasWritten(kills() / 20 + 1); };
    auto left = kills() / 2 - kills() / 20;
    for (unsigned within = 12000; left > 0 || !std::ranges::all_of(readers, seenEnough); --left) {
        within += left > 0 ? 0 : 1000;
        ASSERT_NO_FATAL_FAILURE(killWriter(within));
    }
    for (auto const& reader : readers) {
        std::istringstream counts(reader->finish());
        std::string letters;
        int overtaken = 0;
        ASSERT_TRUE(counts >> letters >> overtaken) << "it failed";
        std::cout << letters.size() + 1 << " stores seen, overtaken " << overtaken << " times\n";
    }
    ASSERT_TRUE(writer->kill());
    std::cout << MoxStash::StoreManager(store).versionAnchor() << " stores published\n";
}

} // namespace
