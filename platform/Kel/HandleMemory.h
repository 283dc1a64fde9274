#pragma once

#include <Mox/CountWord.h>
#include <Mox/Export.h>

#include <cstddef>

namespace Kel {

/// Allocates interned objects in cells that are never used for anything else.
///
/// A look-up without a lock may follow a slot to an object that another thread has just destroyed.
/// It reads only the count word of that object, which says that the object is gone. Therefore a
/// cell is never returned to the system and never changes its size, and every object begins at the
/// start of its cell: the memory of a count word is always a count word.
///
///     cell:  | table of virtuals | count word | the rest of the object           |  in use
///            | next free cell    | count word | next batch |                      |  free
///
/// Cells of one size are carved from chunks and kept in batches. Each thread allocates from and
/// frees to its own batches and exchanges full ones with the process, so contention is rare.
/// Thread-safe.
class VOBGP_EXPORT HandleMemory {
  public:
    /// Allocates memory for an object of `octets` octets, suitably aligned. Throws
    /// `std::bad_alloc`.
    static void* allocate(std::size_t octets);

    /// Frees memory from `allocate(octets)`. Preserves the count word.
    static void free(void* cell, std::size_t octets) noexcept;

    /// The count word of the object that is, or was, in a cell.
    static Mox::CountWord& countWordOf(void* cell) noexcept {
        return *reinterpret_cast<Mox::CountWord*>(static_cast<std::byte*>(cell) + sizeof(void*));
    }
};

} // namespace Kel
