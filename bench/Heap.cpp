#include "Heap.h"

#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

bool counting = false;
std::size_t allocations = 0;
std::ptrdiff_t octets = 0;

void* allocate(std::size_t size, std::size_t alignment = 0) noexcept {
    void* const memory =
        alignment == 0 ? std::malloc(size == 0 ? 1 : size)
                       : std::aligned_alloc(alignment, (size + alignment - 1) & ~(alignment - 1));
    if (counting && memory != nullptr) [[unlikely]] {
        ++allocations;
        octets += static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
    }
    return memory;
}

} // namespace

namespace Bench {

void heapCountingIs(bool on) noexcept {
    counting = on;
}

std::size_t heapAllocations() noexcept {
    return allocations;
}

std::ptrdiff_t heapOctets() noexcept {
    return octets;
}

} // namespace Bench

void* operator new(std::size_t size) {
    if (void* const memory = allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return allocate(size);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    if (void* const memory = allocate(size, static_cast<std::size_t>(alignment))) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    if (counting) [[unlikely]] {
        octets -= static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
    }
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    ::operator delete(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
    ::operator delete(memory);
}
