#include "Bench.h"

#include "Heap.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sched.h>
#include <stdexcept>
#include <string_view>
#include <unistd.h>

namespace Bench {

namespace {

struct FigureBench {
    std::string name;
    std::function<Figures()> measure;
};

std::vector<Timing>& timings() {
    static std::vector<Timing> all;
    return all;
}

std::vector<FigureBench>& figureBenches() {
    static std::vector<FigureBench> all;
    return all;
}

template <class Named>
Named const& find(std::vector<Named> const& all, std::string_view name) {
    for (auto const& each : all) {
        if (each.name == name) {
            return each;
        }
    }
    throw std::runtime_error("no bench is called " + std::string(name));
}

// ---- Time ---------------------------------------------------------------------------------------

/// The processors available to the process when it started.
std::vector<int> const& processors() {
    static std::vector<int> const all = [] {
        std::vector<int> found;
        cpu_set_t allowed;
        CPU_ZERO(&allowed);
        sched_getaffinity(0, sizeof allowed, &allowed);
        for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
            if (CPU_ISSET(cpu, &allowed)) {
                found.push_back(cpu);
            }
        }
        return found;
    }();
    return all;
}

void pinThread(unsigned thread) {
    auto const& all = processors();
    if (!all.empty()) {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(all[thread % all.size()], &one);
        sched_setaffinity(0, sizeof one, &one);
    }
}

/// Runs one timing. The first thread does the set-up; the start and the end of the loop are
/// barriers.
void time(benchmark::State& state, Timing const& timing, Operations& operations) {
    auto const thread = static_cast<unsigned>(state.thread_index());
    pinThread(thread);
    if (thread == 0) {
        operations = timing.setUp();
    }
    constexpr std::size_t batch = 64;
    std::size_t next = 0;
    while (state.KeepRunningBatch(batch)) {
        operations(thread, next, batch);
        next += batch;
    }
    if (thread == 0) {
        operations = nullptr;
    }
}

void registerTiming(Timing const& timing) {
    auto const operations = std::make_shared<Operations>();
    auto* const bench = benchmark::RegisterBenchmark(
        timing.name.c_str(),
        [&timing, operations](benchmark::State& state) { time(state, timing, *operations); });
    if (timing.iterations != 0) {
        bench->Iterations(static_cast<benchmark::IterationCount>(timing.iterations));
    }
    if (timing.threads != 1) {
        bench->UseRealTime()->Threads(1)->Threads(static_cast<int>(timing.threads));
    }
}

// ---- Figures ------------------------------------------------------------------------------------

std::string selfPath() {
    std::array<char, 4096> path{};
    auto const length = readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0) {
        throw std::runtime_error("cannot read /proc/self/exe");
    }
    return {path.data(), static_cast<std::size_t>(length)};
}

/// Prints the results of one figure as lines `NAME VALUE`.
Figures figuresOfFreshProcess(std::string const& name) {
    auto const command = "'" + selfPath() + "' --figures '" + name + "'";
    std::unique_ptr<FILE, int (*)(FILE*)> const pipe(popen(command.c_str(), "r"), pclose);
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    Figures figures;
    std::array<char, 64> label{};
    double value = 0;
    while (std::fscanf(pipe.get(), "%63s %lf", label.data(), &value) == 2) {
        figures.emplace_back(label.data(), value);
    }
    return figures;
}

void registerFigures(FigureBench const& bench) {
    benchmark::RegisterBenchmark(bench.name.c_str(),
                                 [&bench](benchmark::State& state) {
                                     for ([[maybe_unused]] auto const& once : state) {
                                         auto const figures = figuresOfFreshProcess(bench.name);
                                         if (figures.empty()) {
                                             state.SkipWithError(
                                                 "the process that measures it failed");
                                         }
                                         for (auto const& [label, value] : figures) {
                                             state.counters[label] = value;
                                         }
                                     }
                                 })
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
}

int printFigures(std::string_view name) {
    for (auto const& [label, value] : find(figureBenches(), name).measure()) {
        std::printf("%s %.3f\n", label.c_str(), value);
    }
    return 0;
}

// ---- Instructions -------------------------------------------------------------------------------

/// Valgrind counts the instructions inside this function, which it finds by name.
[[gnu::noinline]] void measuredOperations(Operations const& operations, std::size_t count) {
    operations(0, 0, count);
    asm volatile("" : : : "memory");
}

/// Executes `count` operations under valgrind, then as many to count allocations.
int countOperations(std::string_view name, std::size_t count) {
    auto const operations = find(timings(), name).setUp();
    operations(0, count, count);
    measuredOperations(operations, count);
    heapCountingIs(true);
    operations(0, 0, count);
    heapCountingIs(false);
    std::printf("allocations %.3f\n",
                static_cast<double>(heapAllocations()) / static_cast<double>(count));
    return 0;
}

int run(int argc, char** argv) {
    for (auto* const addSome :
         {addValues, addLists, addFlyweights, addObservers, addTexts, addPauses, addMemory}) {
        addSome();
    }
    if (argc == 3 && std::strcmp(argv[1], "--figures") == 0) {
        return printFigures(argv[2]);
    }
    if (argc == 4 && std::strcmp(argv[1], "--operations") == 0) {
        return countOperations(argv[2], std::strtoul(argv[3], nullptr, 10));
    }
    processors();
    for (auto const& timing : timings()) {
        registerTiming(timing);
    }
    for (auto const& bench : figureBenches()) {
        registerFigures(bench);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

} // namespace

void add(Timing timing) {
    timings().push_back(std::move(timing));
}

void addFigures(std::string name, std::function<Figures()> measure) {
    figureBenches().push_back({std::move(name), std::move(measure)});
}

} // namespace Bench

/// VoBgpBench [FLAG...]: Google Benchmark's flags. Or, for bench/report.py, one of
///   --figures NAME           measures one figure in this process and prints it
///   --operations NAME COUNT  runs one timing's operations, for valgrind to count
int main(int argc, char** argv) {
    try {
        return Bench::run(argc, argv);
    } catch (std::exception const& problem) {
        std::fprintf(stderr, "VoBgpBench: %s\n", problem.what());
        return 1;
    }
}
