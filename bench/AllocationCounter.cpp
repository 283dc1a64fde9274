#include "AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<unsigned long> allocations{0};
} // namespace

unsigned long allocationsSoFar() noexcept {
    return allocations.load(std::memory_order_relaxed);
}

void* operator new(std::size_t octets) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (auto* const memory = std::malloc(octets == 0 ? 1 : octets)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
