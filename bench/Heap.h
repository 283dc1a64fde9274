#pragma once

#include <cstddef>

/// What the process allocates with `new`. Counting is off at start, so that it costs timed work
/// one predictable branch. Not thread-safe while it is on.
namespace Bench {

void heapCountingIs(bool counting) noexcept;

/// Allocations made while counting was on.
std::size_t heapAllocations() noexcept;

/// Octets held from allocations made while counting was on, as malloc_usable_size() reports them.
std::ptrdiff_t heapOctets() noexcept;

} // namespace Bench
