#include "AllocationCounter.h"
#include "Reference.h"

#include <Mox/CountWord.h>
#include <Routing/Bgp/VoBgpGlobals.h>
#include <VoBgp/Parse/ExtComm.h>
#include <VoBgp/VoBgpCommunity.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

namespace {

using namespace Routing::Bgp;

/// Values of a type that no rule types further: what is measured is the table.
std::vector<ExtCommContent> randomContents(std::size_t count) {
    std::mt19937_64 random(1);
    std::vector<ExtCommContent> contents;
    for (std::size_t i = 0; i < count; ++i) {
        contents.emplace_back(U64{0x06} << 56 | (random() >> 8));
    }
    return contents;
}

/// The order in which values are asked for, unlike the one in which they came.
std::vector<U32> randomOrder(std::size_t values) {
    std::mt19937_64 random(2);
    std::vector<U32> order(1 << 20);
    for (auto& each : order) {
        each = static_cast<U32>(random() % values);
    }
    return order;
}

/// A table with its rule in one of the two pointer modes.
struct World {
    explicit World(bool threadSafe) {
        Mox::threadSafePtrsIs(threadSafe);
        VoBgpGlobals::multiThreadedIs(threadSafe);
        container = bgpParseExtCommContainerSmFactory();
        table = extCommDedupTableFactory(container->extCommParser());
    }
    ~World() {
        table = nullptr;
        container = nullptr;
        VoBgpGlobals::multiThreadedIs(false);
        Mox::threadSafePtrsIs(false);
    }
    BgpParseExtCommContainerSm::Ptr container;
    ExtCommDedupTable::Ptr table;
};

/// Look-up, take, drop of values that are interned already.
void hit(benchmark::State& state, bool threadSafe) {
    World const world(threadSafe);
    auto const contents = randomContents(static_cast<std::size_t>(state.range(0)));
    auto const order = randomOrder(contents.size());
    std::vector<ExtComm::PtrConst> held;
    for (auto const& content : contents) {
        held.push_back(ExtComm::dedupContent(world.table.get(), content));
    }
    std::size_t i = 0;
    for (auto _ : state) {
        auto const found =
            ExtComm::dedupContent(world.table.get(), contents[order[i++ % order.size()]]);
        benchmark::DoNotOptimize(found.get());
    }
}

void hitPlain(benchmark::State& state) {
    hit(state, false);
}

void hitThreadSafe(benchmark::State& state) {
    hit(state, true);
}

template <void (ReferenceTable::*Hit)(U64)>
void reference(benchmark::State& state) {
    auto const contents = randomContents(static_cast<std::size_t>(state.range(0)));
    auto const order = randomOrder(contents.size());
    ReferenceTable table(contents.size());
    for (auto const& content : contents) {
        table.insert(content.community());
    }
    std::size_t i = 0;
    for (auto _ : state) {
        (table.*Hit)(contents[order[i++ % order.size()]].community());
    }
}

void limP(benchmark::State& state) {
    reference<&ReferenceTable::hitPlain>(state);
}

void limA(benchmark::State& state) {
    reference<&ReferenceTable::hitAtomic>(state);
}

/// Miss, parse, insert, release, destroy.
void miss(benchmark::State& state, bool threadSafe) {
    World const world(threadSafe);
    auto const contents = randomContents(1 << 16);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            ExtComm::dedupContent(world.table.get(), contents[i++ % contents.size()]).get());
    }
}

void missPlain(benchmark::State& state) {
    miss(state, false);
}

void missThreadSafe(benchmark::State& state) {
    miss(state, true);
}

/// A parse alone, of values that a plug-in types; with the allocations that each one makes.
void parse(benchmark::State& state) {
    World const world(false);
    auto const& rule = world.table->parseExtCommRule();
    auto const before = allocationsSoFar();
    U64 local = 0;
    for (auto _ : state) {
        auto const parsed = rule->parseExtendedCommunity(
            ExtCommContent(0x0002'fde8'0000'0000U | (local++ & 0xffffffff)));
        benchmark::DoNotOptimize(parsed.get());
    }
    state.counters["allocations"] = benchmark::Counter(
        static_cast<double>(allocationsSoFar() - before), benchmark::Counter::kAvgIterations);
}

BENCHMARK(limP)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(hitPlain)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(limA)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(hitThreadSafe)->Arg(1000)->Arg(100000)->Arg(1000000);
BENCHMARK(missPlain);
BENCHMARK(missThreadSafe);
BENCHMARK(parse);

} // namespace

BENCHMARK_MAIN();
