#include "Bench.h"
#include "Samples.h"
#include "World.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <time.h>
#include <vector>

namespace Bench {

namespace {

using namespace Routing::Bgp;

/// The processor time of this thread in microseconds, without time of other threads and processes.
double threadTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

/// The longest of `count` operations, in microseconds.
template <class Operation>
double longest(std::size_t count, Operation const& operation) {
    double result = 0;
    double before = threadTime();
    for (std::size_t i = 0; i < count; ++i) {
        operation(i);
        double const after = threadTime();
        result = std::max(result, after - before);
        before = after;
    }
    return result;
}

/// Interns `count` objects, each created by `make(world, i)`, then releases them in another order.
template <class Make>
Figures pauses(bool threadSafe, std::size_t count, Make const& make) {
    World const world(threadSafe);
    std::vector<decltype(make(world, 0))> held(count);
    auto const insertion = longest(count, [&](std::size_t i) { held[i] = make(world, i); });
    constexpr std::size_t prime = 2'654'435'761;
    auto const release = longest(count, [&](std::size_t i) { held[i * prime % count] = nullptr; });
    return {
        {"longest", std::max(insertion, release)}, {"insertion", insertion}, {"release", release}};
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
    for (std::size_t const count : {1'000'000, 10'000'000}) {
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
