#include <Kel/HandleMemory.h>

#include <Mox/Assert.h>
#include <Mox/CountWord.h>
#include <Mox/Types.h>

#include <algorithm>
#include <array>
#include <bit>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include <pthread.h>

#if defined(__SANITIZE_ADDRESS__)
#define KEL_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KEL_ADDRESS_SANITIZER
#endif
#endif
#ifdef KEL_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

namespace Kel {

namespace {

using Mox::U32;
using Mox::U64;

/// A free cell. The second word remains as the last object left it.
struct FreeCell {
    FreeCell* next;
    U64 countWord;
    FreeCell* nextBatch;
};

// ---- Sizes --------------------------------------------------------------------------------------

constexpr std::size_t smallest = sizeof(FreeCell);
constexpr std::size_t fine = 256; // up to this size, one class per eight octets
constexpr std::size_t largest = std::size_t{1} << 20;
constexpr std::size_t fineClasses = (fine - smallest) / 8 + 1;
constexpr std::size_t classes = fineClasses + std::countr_zero(largest) - std::countr_zero(fine);

constexpr std::size_t classOf(std::size_t octets) noexcept {
    if (octets <= fine) {
        return (std::max(octets, smallest) - smallest + 7) / 8;
    }
    return fineClasses + static_cast<std::size_t>(std::bit_width((octets - 1) / fine)) - 1;
}

constexpr std::size_t octetsOfClass(std::size_t index) noexcept {
    return index < fineClasses ? smallest + 8 * index : 2 * fine << (index - fineClasses);
}

static_assert(classOf(smallest + 1) == 1 && octetsOfClass(classOf(fine)) == fine);
static_assert(octetsOfClass(classOf(fine + 1)) == 2 * fine);
static_assert(classOf(largest) == classes - 1 && octetsOfClass(classes - 1) == largest);

// ---- The process's cells ------------------------------------------------------------------------

constexpr std::size_t batchCells = 32;
constexpr std::size_t chunkOctets = std::size_t{64} << 10;

/// The free cells of one size that belong to no thread. Thread-safe. Never destroyed, because
/// objects may be released after static destruction.
class Depot {
  public:
    /// Returns a batch of cells: a full one, or the start of a new chunk.
    FreeCell* batch(std::size_t cellOctets) {
        std::lock_guard const lock(mutex_);
        auto* const kept = keptBatchLocked();
        return kept != nullptr ? kept : carve(cellOctets);
    }

    /// Returns a batch that was given back, or null.
    FreeCell* keptBatch() noexcept {
        std::lock_guard const lock(mutex_);
        return keptBatchLocked();
    }

    void batchIs(FreeCell* cells) noexcept {
        std::lock_guard const lock(mutex_);
        cells->nextBatch = std::exchange(batches_, cells);
    }

  private:
    FreeCell* keptBatchLocked() noexcept {
        return batches_ == nullptr ? nullptr : std::exchange(batches_, batches_->nextBatch);
    }

    FreeCell* carve(std::size_t cellOctets) {
        if (left_ < cellOctets) {
            auto const octets = std::max(chunkOctets, cellOctets);
            // Aligned, so that cells of 32 or 64 octets do not straddle cache lines.
            next_ = static_cast<std::byte*>(::operator new(octets, std::align_val_t(64)));
            left_ = octets;
        }
        FreeCell* cells = nullptr;
        for (std::size_t i = 0; i < batchCells && left_ >= cellOctets; ++i) {
            cells = ::new (next_) FreeCell{cells, 0, nullptr};
            next_ += cellOctets;
            left_ -= cellOctets;
        }
        return cells;
    }

    std::mutex mutex_;
    FreeCell* batches_ = nullptr;
    std::byte* next_ = nullptr;
    std::size_t left_ = 0;
};

constinit std::array<Depot, classes> depots;

#ifdef KEL_ADDRESS_SANITIZER

// Each object is a separate allocation, which the sanitizer checks. In thread-safe mode the memory
// is not freed but kept for the next object of its size, poisoned except for the words of FreeCell.

void* takeCell(std::size_t index) {
    auto const octets = octetsOfClass(index);
    if (auto* const cell = depots[index].keptBatch(); cell != nullptr) {
        __asan_unpoison_memory_region(cell, octets);
        return cell;
    }
    return ::operator new(octets);
}

void giveCell(std::size_t index, FreeCell* cell) noexcept {
    if (!Mox::threadSafePtrs()) {
        ::operator delete(cell);
        return;
    }
    __asan_poison_memory_region(cell + 1, octetsOfClass(index) - sizeof *cell);
    depots[index].batchIs(cell);
}

#else

// ---- A thread's cells ---------------------------------------------------------------------------

/// The cells of one size of one thread: a batch in use and a full one, so that alternating
/// allocations and frees do not exchange a batch each time.
struct Magazine {
    FreeCell* cells = nullptr;
    FreeCell* full = nullptr;
    std::size_t count = 0; // of `cells`, at most
};

class Magazines {
  public:
    ~Magazines() {
        for (std::size_t index = 0; index < classes; ++index) {
            for (auto* cells : {magazines_[index].cells, magazines_[index].full}) {
                if (cells != nullptr) {
                    depots[index].batchIs(cells);
                }
            }
        }
    }

    FreeCell* take(std::size_t index) {
        auto& magazine = magazines_[index];
        if (magazine.cells == nullptr) [[unlikely]] {
            magazine.cells = magazine.full != nullptr ? std::exchange(magazine.full, nullptr)
                                                      : depots[index].batch(octetsOfClass(index));
            magazine.count = batchCells;
        }
        --magazine.count;
        return std::exchange(magazine.cells, magazine.cells->next);
    }

    void give(std::size_t index, FreeCell* cell) noexcept {
        auto& magazine = magazines_[index];
        if (magazine.count >= batchCells) [[unlikely]] {
            if (magazine.full != nullptr) {
                depots[index].batchIs(magazine.full);
            }
            magazine.full = std::exchange(magazine.cells, nullptr);
            magazine.count = 0;
        }
        cell->next = std::exchange(magazine.cells, cell);
        ++magazine.count;
    }

  private:
    std::array<Magazine, classes> magazines_;
};

// initial-exec needs static TLS; one word is available even to a library loaded by dlopen().
[[gnu::tls_model("initial-exec")]] constinit thread_local Magazines* mine = nullptr;

constinit thread_local bool ended = false;

void returnCells(void* magazines) {
    ended = true;
    mine = nullptr;
    delete static_cast<Magazines*>(magazines);
}

/// Has the cells of the calling thread returned when it ends. Returns false if there is no memory.
/// A `thread_local` object with a destructor cannot fail: then the C library ends the process. The
/// key is never deleted, as the library is never unloaded.
bool returnAtThreadEnd(Magazines* magazines) noexcept {
    static pthread_key_t key;
    static bool const created = pthread_key_create(&key, returnCells) == 0;
    return created && pthread_setspecific(key, magazines) == 0;
}

/// Makes the calling thread's cells. Null if the thread is ending, or if there is no memory for
/// them.
[[gnu::noinline]] Magazines* makeOwnMagazines() noexcept {
    if (ended) {
        return nullptr;
    }
    std::unique_ptr<Magazines> magazines(new (std::nothrow) Magazines);
    if (magazines && returnAtThreadEnd(magazines.get())) {
        mine = magazines.release();
    }
    return mine;
}

/// The calling thread's cells, which go back to the process when it ends; or null.
Magazines* ownMagazines() noexcept {
    return mine != nullptr ? mine : makeOwnMagazines();
}

void* takeCell(std::size_t index) {
    if (auto* const magazines = ownMagazines(); magazines != nullptr) [[likely]] {
        return magazines->take(index);
    }
    auto* const cells = depots[index].batch(octetsOfClass(index));
    if (cells->next != nullptr) {
        depots[index].batchIs(cells->next);
    }
    return cells;
}

void giveCell(std::size_t index, FreeCell* cell) noexcept {
    if (auto* const magazines = ownMagazines(); magazines != nullptr) [[likely]] {
        magazines->give(index, cell);
        return;
    }
    cell->next = nullptr;
    depots[index].batchIs(cell);
}

#endif

} // namespace

void* HandleMemory::allocate(std::size_t octets) {
    if (octets > largest) {
        throw std::bad_alloc();
    }
    return takeCell(classOf(octets));
}

void HandleMemory::free(void* cell, std::size_t octets) noexcept {
    giveCell(classOf(octets), static_cast<FreeCell*>(cell));
}

} // namespace Kel
