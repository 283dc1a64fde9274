#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// How the sources of this folder declare what is measured. Each measurement is declared once, and
/// is timed by Google Benchmark or counted in instructions by valgrind.
///
/// Names have the form `WORK/VARIANT/.../CONTENDER/SIZE`. bench/report.py pairs them.
namespace Bench {

/// Keeps the compiler from removing what computes the value.
template <class T>
void keep(T const& value) {
    asm volatile("" : : "r,m"(value) : "memory");
}

/// `count` operations from number `first` on, by the thread of that number. Owns what it works on.
using Operations = std::function<void(unsigned thread, std::size_t first, std::size_t count)>;

/// One measurement of the time that an operation takes.
struct Timing {
    std::string name;
    /// Called once a run, outside the measured time.
    std::function<Operations()> setUp;
    /// Measured with one thread, or with one and with two.
    unsigned threads = 1;
    /// Fixed for work with a long set-up; 0 lets Google Benchmark choose.
    std::size_t iterations = 0;
};

void add(Timing timing);

/// Makes a `Work` from the arguments, whose operation is `work(i)` or `work(i, thread)`.
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

/// A population from which on the set-up takes long: the number of iterations is then fixed, so
/// that Google Benchmark does not repeat the set-up to find it.
inline std::size_t iterationsFor(std::size_t population) {
    return population < 500'000 ? 0 : std::size_t{1} << 20;
}

/// Named results of a measurement that is no time per operation.
using Figures = std::vector<std::pair<std::string, double>>;

/// Adds a measurement that runs in a process of its own, with a heap that nothing has used before.
void addFigures(std::string name, std::function<Figures()> measure);

// What the other sources add.
void addValues();
void addLists();
void addFlyweights();
void addObservers();
void addTexts();
void addPauses();
void addMemory();

} // namespace Bench
