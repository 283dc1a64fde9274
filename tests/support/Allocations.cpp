#include "Allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<unsigned long> allocations{0};
std::atomic<unsigned long> octetsAllocated{0};
/// Unlimited if negative.
std::atomic<long> allocationsLeft{-1};
std::atomic<long> failuresLeft{-1};

void* allocate(std::size_t octets, std::size_t alignment = 0) noexcept {
    allocations.fetch_add(1, std::memory_order_relaxed);
    octetsAllocated.fetch_add(octets, std::memory_order_relaxed);
    auto left = allocationsLeft.load(std::memory_order_relaxed);
    if (left == 0) {
        auto const failures = failuresLeft.load(std::memory_order_relaxed);
        failuresLeft.store(failures - 1, std::memory_order_relaxed);
        if (failures == 1) {
            allocationsLeft.store(-1, std::memory_order_relaxed);
        }
        return nullptr;
    }
    if (left > 0) {
        allocationsLeft.store(left - 1, std::memory_order_relaxed);
    }
    return alignment == 0
               ? std::malloc(octets == 0 ? 1 : octets)
               : std::aligned_alloc(alignment, (octets + alignment - 1) & ~(alignment - 1));
}

} // namespace

unsigned long allocationsSoFar() noexcept {
    return allocations.load(std::memory_order_relaxed);
}

unsigned long octetsAllocatedSoFar() noexcept {
    return octetsAllocated.load(std::memory_order_relaxed);
}

FailingAllocations::FailingAllocations(long succeeding, long failing) noexcept {
    failuresLeft.store(failing, std::memory_order_relaxed);
    allocationsLeft.store(succeeding, std::memory_order_relaxed);
}

FailingAllocations::~FailingAllocations() {
    allocationsLeft.store(-1, std::memory_order_relaxed);
}

void* operator new(std::size_t octets) {
    if (auto* const memory = allocate(octets)) {
        return memory;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t octets, std::nothrow_t const&) noexcept {
    return allocate(octets);
}

void* operator new(std::size_t octets, std::align_val_t alignment) {
    if (auto* const memory = allocate(octets, static_cast<std::size_t>(alignment))) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

// The sanitizers define their own array forms, which do not call these.
void* operator new[](std::size_t octets) {
    return ::operator new(octets);
}

void* operator new[](std::size_t octets, std::nothrow_t const& nothrow) noexcept {
    return ::operator new(octets, nothrow);
}

void operator delete[](void* memory) noexcept {
    ::operator delete(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    ::operator delete(memory);
}
