#pragma once

#include <cstddef>

/// Counts allocations with `new`. Initially off, so that timed work pays one predictable branch.
/// Not thread-safe while on.
namespace Bench {

void heapCountingIs(bool counting) noexcept;

/// The number of allocations made while counting was on.
std::size_t heapAllocations() noexcept;

/// The octets of live allocations made while counting was on, by malloc_usable_size().
std::ptrdiff_t heapOctets() noexcept;

} // namespace Bench
