/// A library to preload into a program. Of its allocations, those from the one with the number in
/// the environment variable FAIL_AT on fail, FAIL_COUNT of them. When the program ends, writes the
/// number of its allocations to the file FAIL_LOG. Counts what `new`, the C library and other
/// libraries allocate, with one call for each function of glibc that allocates.
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

extern "C" {
void* __libc_malloc(std::size_t octets);
void* __libc_calloc(std::size_t count, std::size_t octets);
void* __libc_realloc(void* memory, std::size_t octets);
void* __libc_memalign(std::size_t alignment, std::size_t octets);
}

namespace {

long numberIn(char const* variable) {
    auto const* const text = std::getenv(variable);
    return text == nullptr ? 0 : std::atol(text);
}

constinit std::atomic<long> allocations{0};
// Zero until the initialisers of this library have run.
constinit long failAt = 0;
constinit long failEnd = 0;

struct Log {
    Log() {
        failAt = numberIn("FAIL_AT");
        failEnd = failAt + numberIn("FAIL_COUNT");
    }
    ~Log() {
        auto const count = allocations.load();
        auto const* const path = std::getenv("FAIL_LOG");
        if (auto* const file = path == nullptr ? nullptr : std::fopen(path, "w")) {
            std::fprintf(file, "%ld\n", count);
            std::fclose(file);
        }
    }
} const log;

bool fails() noexcept {
    auto const number = allocations.fetch_add(1, std::memory_order_relaxed);
    if (number < failAt || number >= failEnd) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

} // namespace

extern "C" {

void* malloc(std::size_t octets) {
    return fails() ? nullptr : __libc_malloc(octets);
}

void* calloc(std::size_t count, std::size_t octets) {
    return fails() ? nullptr : __libc_calloc(count, octets);
}

void* realloc(void* memory, std::size_t octets) {
    return fails() ? nullptr : __libc_realloc(memory, octets);
}

void* aligned_alloc(std::size_t alignment, std::size_t octets) {
    return fails() ? nullptr : __libc_memalign(alignment, octets);
}

void* memalign(std::size_t alignment, std::size_t octets) {
    return fails() ? nullptr : __libc_memalign(alignment, octets);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t octets) {
    if (fails()) {
        return ENOMEM;
    }
    *memory = __libc_memalign(alignment, octets);
    return *memory == nullptr ? ENOMEM : 0;
}
}
