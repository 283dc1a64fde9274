#include "Bench.h"
#include "Samples.h"
#include "World.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace Bench {

namespace {

using namespace Routing::Bgp;

/// The processor time of this thread in microseconds, without time of other threads and processes.
double threadTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

/// Microseconds that each operation of a series took: the least of several runs, so that only
/// pauses that recur at the same operation count. On a shared machine any single run has others, of
/// up to milliseconds. Shared with child processes.
class Durations {
  public:
    explicit Durations(std::size_t count)
      : count_(count)
      , shared_(::mmap(nullptr, count * sizeof(float), PROT_READ | PROT_WRITE,
                       MAP_SHARED | MAP_ANONYMOUS | MAP_POPULATE, -1, 0)) {
        if (shared_ == MAP_FAILED) {
            throw std::bad_alloc();
        }
        std::fill_n(begin(), count_, std::numeric_limits<float>::infinity());
    }
    ~Durations() { ::munmap(shared_, count_ * sizeof(float)); }
    Durations(Durations const&) = delete;
    Durations& operator=(Durations const&) = delete;

    template <class Operation>
    void run(Operation const& operation) {
        double before = threadTime();
        for (std::size_t i = 0; i < count_; ++i) {
            operation(i);
            double const after = threadTime();
            begin()[i] = std::min(begin()[i], static_cast<float>(after - before));
            before = after;
        }
    }

    [[nodiscard]] double longest() const { return *std::max_element(begin(), begin() + count_); }

  private:
    [[nodiscard]] float* begin() const { return static_cast<float*>(shared_); }

    std::size_t const count_;
    void* const shared_;
};

/// Calls a function in a child process, which has the heap of this one.
template <class Function>
void runInChild(Function const& function) {
    pid_t const child = ::fork();
    if (child == 0) {
        function();
        std::_Exit(0);
    }
    int status = -1;
    if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error("a child process failed");
    }
}

/// Interns `count` objects, each created by `make(world, i)`, then releases them in another order.
template <class Make>
Figures pauses(bool threadSafe, std::size_t count, Make const& make) {
    Durations insertion(count), release(count);
    for (int runs = 0; runs < 4; ++runs) {
        runInChild([&] {
            World const world(threadSafe);
            std::vector<decltype(make(world, 0))> held(count);
            insertion.run([&](std::size_t i) { held[i] = make(world, i); });
            constexpr std::size_t prime = 2'654'435'761;
            release.run([&](std::size_t i) { held[i * prime % count] = nullptr; });
        });
    }
    return {{"longest", std::max(insertion.longest(), release.longest())},
            {"insertion", insertion.longest()},
            {"release", release.longest()}};
}

auto makeValue(Kind kind) {
    return [kind](World const& world, std::size_t i) { return world.intern(content(kind, i)); };
}

/// A standard list of four members, three of which encode the number `i`.
CommList::PtrConst makeList(World const& world, std::size_t i) {
    auto const number = static_cast<U32>(i);
    std::array<U32, 4> const members{number & 0xff, 0x1'0000U | (number >> 8 & 0xff),
                                     0x2'0000U | (number >> 16 & 0xff), 0x3'0000U | number >> 24};
    return world.list(std::span<U32 const>(members));
}

} // namespace

void addPauses() {
    for (std::size_t const count : {1'000'000U, 10'000'000U}) {
        for (bool const threadSafe : {false, true}) {
            auto const name = [&](std::string const& subject) {
                return "longestPause/" + subject + (threadSafe ? "/threadSafe/" : "/plain/") +
                       std::to_string(count);
            };
            addFigures(name("values"),
                       [=] { return pauses(threadSafe, count, makeValue(Kind::plain)); });
            addFigures(name("routeTargets"),
                       [=] { return pauses(threadSafe, count, makeValue(Kind::routeTarget)); });
            addFigures(name("lists"), [=] { return pauses(threadSafe, count, makeList); });
        }
    }
}

} // namespace Bench
