#include "Bench.h"
#include "Heap.h"
#include "Samples.h"
#include "World.h"

#include <cstddef>
#include <fstream>
#include <malloc.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace Bench {

namespace {

using namespace Routing::Bgp;

/// The resident memory of the process in octets.
double residentOctets() {
    std::ifstream rollup("/proc/self/smaps_rollup");
    std::string word;
    while (rollup >> word) {
        double kibibytes = 0;
        if (word == "Rss:" && rollup >> kibibytes) {
            return 1024 * kibibytes;
        }
    }
    throw std::runtime_error("cannot read Rss from /proc/self/smaps_rollup");
}

/// Measures the memory of `count` objects, each created by `make(world, i)`, and their tables, in
/// octets per object: resident memory, and the part allocated by `new`. Pointers to the objects are
/// not counted.
template <class Make>
Figures memoryOf(std::size_t count, Make const& make) {
    // Return large arrays to the system as soon as they are freed.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    std::vector<decltype(make(std::declval<World const&>(), 0))> held(count);
    World const world(false);
    auto const before = residentOctets();
    heapCountingIs(true);
    for (std::size_t i = 0; i < count; ++i) {
        held[i] = make(world, i);
    }
    heapCountingIs(false);
    malloc_trim(0);
    auto const each = static_cast<double>(count);
    return {{"resident", (residentOctets() - before) / each},
            {"newed", static_cast<double>(heapOctets()) / each}};
}

/// A list of eight members. Its route targets and its route origins are each one of 4,096 sets, so
/// lists share their classification lists.
ExtCommList::PtrConst makeExtendedList(World const& world, std::size_t i) {
    static auto const sets = lists<ExtCommContent>(8, 4'096);
    auto const targets = sets[i % sets.size()].first(4);
    auto const origins = sets[i / sets.size() % sets.size()].last(4);
    std::vector<ExtCommContent> members(targets.begin(), targets.end());
    members.insert(members.end(), origins.begin(), origins.end());
    return world.list(std::span<ExtCommContent const>(members));
}

CommList::PtrConst makeStandardList(World const& world, std::size_t i) {
    static std::mt19937_64 random(0);
    static_cast<void>(i);
    auto const members = nextList<U32>(random, 8);
    return world.list(std::span<U32 const>(members));
}

auto makeValue(Kind kind) {
    return [kind](World const& world, std::size_t i) { return world.intern(content(kind, i)); };
}

} // namespace

void addMemory() {
    for (std::size_t const count : {1'000U, 10'000U, 100'000U, 1'000'000U, 10'000'000U}) {
        auto const size = "/" + std::to_string(count);
        addFigures("octets/value" + size, [=] { return memoryOf(count, makeValue(Kind::plain)); });
        addFigures("octets/routeTarget" + size,
                   [=] { return memoryOf(count, makeValue(Kind::routeTarget)); });
        addFigures("octets/standardListOf8" + size,
                   [=] { return memoryOf(count, makeStandardList); });
        addFigures("octets/extendedListOf8" + size,
                   [=] { return memoryOf(count, makeExtendedList); });
    }
}

} // namespace Bench
