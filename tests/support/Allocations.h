#pragma once

/// The allocations of a test's whole process: counted, and made to fail on demand. The operators
/// that do it are in Allocations.cpp, linked to every test.

/// How many there have been so far.
unsigned long allocationsSoFar() noexcept;

/// How many octets they asked for, those that have been given back included.
unsigned long octetsAllocatedSoFar() noexcept;

/// What the first objects of a few sizes ask for beside their own octets: interned objects share
/// chunks, except under the address sanitizer.
#if defined(__SANITIZE_ADDRESS__)
constexpr unsigned long objectChunks = 0;
#else
constexpr unsigned long objectChunks = 4UL * (64 << 10);
#endif

/// While one lives, `succeeding` more allocations succeed, the next `failing` ones fail, and then
/// all succeed again; if `failing` is negative, all others fail.
class FailingAllocations {
  public:
    explicit FailingAllocations(long succeeding, long failing = -1) noexcept;
    ~FailingAllocations();
    FailingAllocations(FailingAllocations const&) = delete;
    FailingAllocations& operator=(FailingAllocations const&) = delete;
};
