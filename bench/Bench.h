#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Declares measurements. Each one is declared once, and either timed by Google Benchmark or
/// counted in instructions by valgrind.
///
/// Names have the form `WORK/VARIANT/.../CONTENDER/SIZE`. bench/report.py pairs subjects and
/// references by name.
namespace Bench {

/// Prevents the compiler from removing the computation of the value.
template <class T>
void keep(T const& value) {
    asm volatile("" : : "r,m"(value) : "memory");
}

/// Executes `count` operations, starting with number `first`, in thread number `thread`. Owns its
/// data.
using Operations = std::function<void(unsigned thread, std::size_t first, std::size_t count)>;

/// A measurement of the time per operation.
struct Timing {
    std::string name;
    /// Called once per run, outside the measured time.
    std::function<Operations()> setUp;
    /// The maximum number of threads: 1, or 2 to measure with one and with two.
    unsigned threads = 1;
    /// Fixed for work with a long set-up; 0 if Google Benchmark chooses.
    std::size_t iterations = 0;
};

void add(Timing timing);

/// Creates a `Work` from the arguments. Its operation is `work(i)` or `work(i, thread)`.
template <class Work, class... Args>
std::function<Operations()> work(Args... args) {
    return [=] {
        auto const made = std::make_shared<Work>(args...);
        return Operations([made](unsigned thread, std::size_t first, std::size_t count) {
            Work& operation = *made;
            for (std::size_t i = first; i < first + count; ++i) {
                if constexpr (std::invocable<Work&, std::size_t, unsigned>) {
                    operation(i, thread);
                } else {
                    operation(i);
                }
            }
        });
    };
}

/// From this population on the set-up takes long. The number of iterations is then fixed, so that
/// Google Benchmark does not repeat the set-up to determine it.
inline std::size_t iterationsFor(std::size_t population) {
    return population < 500'000 ? 0 : std::size_t{1} << 20;
}

/// Named results of a measurement other than time per operation.
using Figures = std::vector<std::pair<std::string, double>>;

/// Adds a measurement that runs in its own process, with a fresh heap.
void addFigures(std::string name, std::function<Figures()> measure);

// Defined in the other sources.
void addValues();
void addLists();
void addFlyweights();
void addObservers();
void addTexts();
void addPauses();
void addMemory();

} // namespace Bench
