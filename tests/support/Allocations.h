#pragma once

/// Counts the allocations of the test process and makes them fail on demand. The operators are in
/// Allocations.cpp, which is linked to every test.

/// The number of allocations so far.
unsigned long allocationsSoFar() noexcept;

/// The number of octets requested so far, including freed ones.
unsigned long octetsAllocatedSoFar() noexcept;

/// Additional octets requested by the first objects of a few sizes: interned objects share chunks,
/// except under the address sanitizer.
#if defined(__SANITIZE_ADDRESS__)
constexpr unsigned long objectChunks = 0;
#else
constexpr unsigned long objectChunks = 4UL * (64 << 10);
#endif

/// During its lifetime, `succeeding` more allocations succeed, the next `failing` ones fail, and
/// all later ones succeed; if `failing` is negative, all later ones fail.
class FailingAllocations {
  public:
    explicit FailingAllocations(long succeeding, long failing = -1) noexcept;
    ~FailingAllocations();
    FailingAllocations(FailingAllocations const&) = delete;
    FailingAllocations& operator=(FailingAllocations const&) = delete;
};
