#include <Kel/DedupSlots.h>

#include <Mox/Assert.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include <sys/mman.h>

namespace Kel {

// ---- SlotArray ----------------------------------------------------------------------------------

namespace {

/// From here on the memory of an array is mapped, zero until it is touched, and can be given back
/// in parts. A clearing of less does not take long.
constexpr std::size_t leastMapped = std::size_t{64} << 10;

/// How much is given back to the system in one step: some microseconds.
constexpr std::size_t releasedAtOnce = std::size_t{128} << 10;

/// A page, or several: a multiple of it is where one begins.
constexpr std::size_t pageOctets = std::size_t{4} << 10;

void* mapMemory(std::size_t octets) {
    auto* const memory = ::mmap(nullptr, octets, PROT_READ | PROT_WRITE,
                                MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

SlotArray* SlotArray::create(std::size_t capacity) {
    auto const octets = octetsFor(capacity);
    bool const mapped = octets >= leastMapped;
    auto* const memory =
        mapped ? mapMemory(octets) : std::memset(::operator new(octets), 0, octets);
    return ::new (memory) SlotArray(capacity, mapped);
}

void SlotArray::destroy(SlotArray* array) noexcept {
    if (array->mapped_) {
        ::munmap(array, octetsFor(array->capacity()));
    } else {
        ::operator delete(array);
    }
}

void SlotArray::put(U64 slot, U32 place) noexcept {
    std::size_t index = place & mask_;
    while (slotAt(index) != 0) {
        index = (index + 1) & mask_;
    }
    places()[index] = place;
    slotIs(index, slot);
}

bool SlotArray::erase(DedupHandle const& handle, U32 place) noexcept {
    std::size_t hole = place & mask_;
    for (U64 slot = slotAt(hole); handleOf(slot) != &handle; slot = slotAt(hole)) {
        if (slot == 0) {
            return false;
        }
        hole = (hole + 1) & mask_;
    }
    // An entry behind the hole moves up unless that would take it before its own place, so a probe
    // never meets an empty slot on the way to what it looks for.
    for (auto next = (hole + 1) & mask_; slotAt(next) != 0; next = (next + 1) & mask_) {
        if (((next - places()[next]) & mask_) >= ((next - hole) & mask_)) {
            places()[hole] = places()[next];
            slotIs(hole, slotAt(next));
            hole = next;
        }
    }
    slotIs(hole, 0);
    return true;
}

std::size_t SlotArray::firstEmpty() const noexcept {
    std::size_t index = 0;
    while (slotAt(index) != 0) {
        ++index;
    }
    return index;
}

std::size_t SlotArray::moveRunTo(SlotArray& other, std::size_t& index) noexcept {
    for (std::size_t slots = 1;; ++slots) {
        auto const here = index & mask_;
        ++index;
        U64 const slot = slotAt(here);
        if (slot == 0) {
            return slots;
        }
        // There before it has gone here: a probe of both does not miss it for long.
        other.put(slot, places()[here]);
        slotIs(here, 0);
    }
}

bool SlotArray::releaseSomeMemory() noexcept {
    auto const octets = octetsFor(capacity());
    if (!mapped_ || releasedOctets_ >= octets) {
        return false;
    }
    // Not the first page, which says what this is.
    auto const from = std::max(releasedOctets_, pageOctets);
    auto const some = std::min(releasedAtOnce, octets - from);
    ::madvise(reinterpret_cast<std::byte*>(this) + from, some, MADV_DONTNEED);
    releasedOctets_ = from + some;
    return true;
}

// ---- DedupSlots ---------------------------------------------------------------------------------

DedupSlots::~DedupSlots() {
    for (auto* array : {current_.load(), previous_.load()}) {
        if (array != nullptr) {
            SlotArray::destroy(array);
        }
    }
    while (spares_ != nullptr) {
        SlotArray::destroy(std::exchange(spares_, spares_->nextSpare));
    }
}

std::size_t DedupSlots::capacity() const noexcept {
    auto const* const array = current_.load(std::memory_order_relaxed);
    return array == nullptr ? 0 : array->capacity();
}

std::size_t DedupSlots::octets() const noexcept {
    std::size_t octets = 0;
    for (auto const* array :
         {current_.load(std::memory_order_relaxed), previous_.load(std::memory_order_relaxed)}) {
        octets += array == nullptr ? 0 : array->octets();
    }
    for (auto const* array = spares_; array != nullptr; array = array->nextSpare) {
        octets += array->octets();
    }
    return octets;
}

/// A spare array of that capacity, or a new one.
SlotArray* DedupSlots::arrayOf(std::size_t capacity) {
    for (auto** spare = &spares_; *spare != nullptr; spare = &(*spare)->nextSpare) {
        if ((*spare)->capacity() == capacity) {
            (*spare)->reuse();
            return std::exchange(*spare, (*spare)->nextSpare);
        }
    }
    return SlotArray::create(capacity);
}

void DedupSlots::replaceBy(SlotArray* array) noexcept {
    auto* const before = current_.load(std::memory_order_relaxed);
    if (before != nullptr) {
        next_ = before->firstEmpty() + 1;
        left_ = before->capacity();
    }
    previous_.store(before, std::memory_order_release);
    current_.store(array, std::memory_order_release);
}

void DedupSlots::makeRoomForOne() {
    if (5 * (size_ + 1) <= 4 * capacity()) {
        return;
    }
    auto* const larger = arrayOf(std::max(leastCapacity, 2 * capacity()));
    Change const change(*this);
    while (previous_.load(std::memory_order_relaxed) != nullptr) {
        step();
    }
    replaceBy(larger);
}

void DedupSlots::shrinkIfEmpty() noexcept {
    if (capacity() <= leastCapacity || 8 * size_ >= capacity() ||
        previous_.load(std::memory_order_relaxed) != nullptr) {
        return;
    }
    try {
        replaceBy(arrayOf(capacity() / 2));
    } catch (std::bad_alloc const&) {
        // A release never fails: the larger array stays.
    }
}

/// The part of moving, or of giving memory back, that one change does.
void DedupSlots::step() noexcept {
    auto* const from = previous_.load(std::memory_order_relaxed);
    if (from == nullptr) {
        releaseSpareMemory();
        return;
    }
    auto& to = *current_.load(std::memory_order_relaxed);
    for (std::size_t moved = 0; moved < slotsPerStep && left_ != 0;) {
        auto const slots = from->moveRunTo(to, next_);
        moved += slots;
        left_ -= slots;
    }
    if (left_ == 0) {
        from->nextSpare = std::exchange(spares_, from);
        previous_.store(nullptr, std::memory_order_release);
        spareMemoryLeft_ = true;
    }
}

void DedupSlots::releaseSpareMemory() noexcept {
    if (!spareMemoryLeft_) {
        return;
    }
    for (auto* spare = spares_; spare != nullptr; spare = spare->nextSpare) {
        if (spare->releaseSomeMemory()) {
            return;
        }
    }
    spareMemoryLeft_ = false;
}

void DedupSlots::insert(Placement placement, DedupHandle& handle) noexcept {
    Change const change(*this);
    auto const address = reinterpret_cast<U64>(&handle);
    MOX_ASSERT_TEXT((address & Placement::fragmentMask) == 0, "an object's address fits 48 bits");
    current_.load(std::memory_order_relaxed)
        ->put(address | placement.fragment(), placement.place());
    ++size_;
    step();
}

void DedupSlots::erase(DedupHandle const& handle, U32 place) noexcept {
    Change const change(*this);
    auto* const previous = previous_.load(std::memory_order_relaxed);
    bool const erased = current_.load(std::memory_order_relaxed)->erase(handle, place) ||
                        (previous != nullptr && previous->erase(handle, place));
    MOX_ASSERT_TEXT(erased, "an interned object is in its table");
    --size_;
    step();
    shrinkIfEmpty();
}

} // namespace Kel
