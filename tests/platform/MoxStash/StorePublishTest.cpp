#include "support/StoreFolder.h"

#include <MoxStash/StoreException.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StorePublisher.h>

#include <gtest/gtest.h>

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
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

/// A StoreProcess that runs; killed in the end if it has not ended before.
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

    /// Waits for the letter that it writes when it has begun.
    void expectBegun() {
        char letter = 0;
        ASSERT_EQ(::read(out_, &letter, 1), 1);
    }

    /// Whether it was still running.
    bool kill() {
        ::kill(pid_, SIGKILL);
        int const status = wait();
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    }

    /// Ends its input, waits for it, and returns what it wrote since it began; nothing if it
    /// failed.
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

/// How often a writer is killed, in a file and in a segment together: as the environment variable
/// VOBGP_STORE_KILLS says, else 200 times.
int kills() {
    auto const* const wanted = std::getenv("VOBGP_STORE_KILLS");
    return wanted == nullptr ? 200 : std::stoi(wanted);
}

/// Files are in memory as segments are, where syncing takes no time: so there are many stores.
class KilledWriters : public StorePlaces {
  protected:
    KilledWriters()
      : StorePlaces("/dev/shm/") {}

    /// Kills the writer within that time, and starts another, which has then begun.
    void killWriter(unsigned microseconds) {
        std::this_thread::sleep_for(std::chrono::microseconds(random_() % microseconds));
        ASSERT_TRUE(writer->kill()) << "it failed";
        writer = begunWriter();
    }

    /// Waits for the first one.
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

TEST_P(KilledWriters, LeaveWholeStoresForReaders) {
    // Those that make the place at first; what they leave is no obstacle to the next.
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
    for (int count = 0; count < kills() / 2 - kills() / 20; ++count) {
        ASSERT_NO_FATAL_FAILURE(killWriter(12000));
    }
    for (auto const& reader : readers) {
        std::istringstream counts(reader->finish());
        int seen = 0, overtaken = 0;
        ASSERT_TRUE(counts >> seen >> overtaken) << "it failed";
        EXPECT_GT(seen, kills() / 20);
        std::cout << seen << " stores seen, overtaken " << overtaken << " times\n";
    }
    ASSERT_TRUE(writer->kill());
    std::cout << MoxStash::StoreManager(store).versionAnchor() << " stores published\n";
}

} // namespace
