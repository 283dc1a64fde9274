#pragma once

#include <Mox/Export.h>

#include <cstddef>

namespace Kel {

/// Where interned objects live: memory in cells that, once used, only ever hold interned objects.
///
/// A look-up without a lock may follow a slot to an object that another thread has just destroyed.
/// It reads that object's count word, and nothing else, and learns from it that the object is gone.
/// So a cell is never returned to the system, never changes its size, and every object begins at
/// the start of its cell: at the place of a count word there has always been a count word.
///
///     cell:  | table of virtuals | count word | the rest of the object           |  in use
///            | next free cell    | count word | next batch |                      |  free
///
/// Cells of one size are carved from chunks and kept in batches. A thread allocates from and frees
/// to batches of its own and exchanges whole ones with the process, so threads rarely meet.
/// Thread-safe.
class VOBGP_EXPORT HandleMemory {
  public:
    /// Memory for an object of that many octets, aligned as that size needs. Throws
    /// `std::bad_alloc`.
    static void* allocate(std::size_t octets);

    /// Takes back what allocate() returned for that many octets. The object's count word, in the
    /// second eight octets, is left as it is.
    static void free(void* cell, std::size_t octets) noexcept;
};

} // namespace Kel
