#include <Kel/DedupSlots.h>

#include <Mox/Assert.h>
#include <Mox/SchedulingPoint.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

namespace Kel {

// ---- SlotArray ----------------------------------------------------------------------------------

namespace {

/// Arrays of at least this size are mapped: their memory is zero on first use and can be released
/// in parts. Smaller ones are cleared quickly.
constexpr std::size_t leastMapped = std::size_t{64} << 10;

/// How much memory one step releases, in a few microseconds.
constexpr std::size_t releasedAtOnce = std::size_t{128} << 10;

/// The first page of an array has its header and is never returned.
std::size_t pageOctets() noexcept {
    static auto const octets = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return octets;
}

void* mapMemory(std::size_t octets) {
    auto* const memory = ::mmap(nullptr, octets, PROT_READ | PROT_WRITE,
                                MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

SlotArray* SlotArray::create(std::size_t buckets) {
    auto const octets = octetsFor(buckets);
    bool const mapped = octets >= leastMapped;
    auto* const memory =
        mapped
            ? mapMemory(octets)
            : std::memset(::operator new(octets, std::align_val_t(alignof(SlotArray))), 0, octets);
    auto const shift = placeBits - static_cast<unsigned>(std::countr_zero(buckets));
    return ::new (memory) SlotArray(shift, mapped);
}

void SlotArray::destroy(SlotArray* array) noexcept {
    if (array->mapped_) {
        ::munmap(array, octetsFor(array->bucketCount()));
    } else {
        ::operator delete(array, std::align_val_t(alignof(SlotArray)));
    }
}

void SlotArray::put(DedupHandle& handle, U32 placeOfHandle, U8 tag) noexcept {
    auto bucket = homeOf(placeOfHandle);
    auto empty = SlotBucket::emptySlots(buckets()[bucket].control());
    while (!empty) {
        buckets()[bucket].passedOver();
        bucket = next(bucket);
        empty = SlotBucket::emptySlots(buckets()[bucket].control());
    }
    place(bucket, empty.first()).store(placeOfHandle, std::memory_order_release);
    buckets()[bucket].put(empty.first(), handle, tag);
}

bool SlotArray::erase(DedupHandle const& handle, U32 placeOfHandle) noexcept {
    auto const home = homeOf(placeOfHandle);
    auto& bucket = buckets()[home];
    auto const index = bucket.indexOf(handle);
    if (index != SlotBucket::slots) [[likely]] {
        bucket.clear(index);
        return true;
    }
    return SlotBucket::isPassedOver(bucket.control()) && eraseAfter(home, handle);
}

/// Removes an object that is not in its bucket.
bool SlotArray::eraseAfter(std::size_t home, DedupHandle const& handle) noexcept {
    auto bucket = next(home);
    for (auto left = bucketCount() - 1; left != 0; --left, bucket = next(bucket)) {
        auto const index = buckets()[bucket].indexOf(handle);
        if (index != SlotBucket::slots) {
            remove(bucket, index, home);
            return true;
        }
        if (!SlotBucket::isPassedOver(buckets()[bucket].control())) {
            break;
        }
    }
    return false;
}

/// Empties the slot of an object whose bucket is `home`.
void SlotArray::remove(std::size_t bucket, unsigned index, std::size_t home) noexcept {
    buckets()[bucket].clear(index);
    for (auto passed = home; passed != bucket; passed = next(passed)) {
        buckets()[passed].passedOverRemoved();
    }
}

void SlotArray::moveBucketTo(SlotArray& other, std::size_t index) noexcept {
    for (unsigned i = 0; i < SlotBucket::slots; ++i) {
        if (auto* const handle = buckets()[index].slot(i); handle != nullptr) {
            auto const placeOfHandle = place(index, i).load(std::memory_order_relaxed);
            // Insert before erasing, so that a look-up in both arrays rarely misses the entry.
            other.put(*handle, placeOfHandle, buckets()[index].tag(i));
            MOX_SCHEDULING_POINT(moveBucketTo);
            remove(index, i, homeOf(placeOfHandle));
        }
    }
}

std::size_t SlotArray::octets() const noexcept {
    auto const octets = octetsFor(bucketCount());
    return releasedOctets_ == 0 ? octets : octets - releasedOctets_ + pageOctets();
}

bool SlotArray::releaseSomeMemory() noexcept {
    auto const octets = octetsFor(bucketCount());
    if (!mapped_ || releasedOctets_ >= octets) {
        return false;
    }
    auto const from = std::max(releasedOctets_, pageOctets());
    auto const some = std::min(releasedAtOnce, octets - from);
    ::madvise(reinterpret_cast<std::byte*>(this) + from, some, MADV_DONTNEED);
    releasedOctets_ = from + some;
    return true;
}

// ---- DedupSlots ---------------------------------------------------------------------------------

DedupSlots::~DedupSlots() {
    for (auto* array : {current(), previous_.load()}) {
        if (array != nullptr) {
            SlotArray::destroy(array);
        }
    }
    while (spares_ != nullptr) {
        SlotArray::destroy(std::exchange(spares_, spares_->nextSpare));
    }
}

std::size_t DedupSlots::capacity() const noexcept {
    return current() == nullptr ? 0 : current()->capacity();
}

std::size_t DedupSlots::octets() const noexcept {
    std::size_t octets = 0;
    for (auto const* array : {current(), previous_.load(std::memory_order_relaxed)}) {
        octets += array == nullptr ? 0 : array->octets();
    }
    for (auto const* array = spares_; array != nullptr; array = array->nextSpare) {
        octets += array->octets();
    }
    return octets;
}

/// Returns a spare array with this many buckets, or a new one.
SlotArray* DedupSlots::arrayOf(std::size_t buckets) {
    for (auto** spare = &spares_; *spare != nullptr; spare = &(*spare)->nextSpare) {
        if ((*spare)->bucketCount() == buckets) {
            (*spare)->reuse();
            return std::exchange(*spare, (*spare)->nextSpare);
        }
    }
    return SlotArray::create(buckets);
}

void DedupSlots::replaceBy(SlotArray* array) noexcept {
    next_ = 0;
    // At two thirds, one entry in twenty is not in its own bucket.
    fullSize_ = 2 * array->capacity() / 3;
    emptySize_ = array->bucketCount() == 1 ? 0 : (array->capacity() + 7) / 8;
    previous_.store(current(), std::memory_order_release);
    MOX_SCHEDULING_POINT(replaceBy);
    current_.store(SlotArray::Reference(*array), std::memory_order_release);
}

void DedupSlots::grow() {
    auto* const larger = arrayOf(current() == nullptr ? 1 : 2 * current()->bucketCount());
    Change const change(*this);
    while (isMoving()) {
        move();
    }
    replaceBy(larger);
}

void DedupSlots::shrink() noexcept {
    if (isMoving()) {
        return;
    }
    try {
        replaceBy(arrayOf(current()->bucketCount() / 2));
    } catch (std::bad_alloc const&) {
        // Releases must not fail: keep the larger array.
    }
}

/// The work of one change: moves some entries or releases some memory.
void DedupSlots::step() noexcept {
    if (isMoving()) {
        move();
    } else if (spareMemoryLeft_) {
        releaseSpareMemory();
    }
}

void DedupSlots::move() noexcept {
    auto* const from = previous_.load(std::memory_order_relaxed);
    auto const end = std::min(next_ + bucketsPerStep, from->bucketCount());
    for (; next_ != end; ++next_) {
        from->moveBucketTo(*current(), next_);
    }
    if (next_ == from->bucketCount()) {
        from->nextSpare = std::exchange(spares_, from);
        previous_.store(nullptr, std::memory_order_release);
        spareMemoryLeft_ = true;
    }
}

void DedupSlots::releaseSpareMemory() noexcept {
    for (auto* spare = spares_; spare != nullptr; spare = spare->nextSpare) {
        if (spare->releaseSomeMemory()) {
            return;
        }
    }
    spareMemoryLeft_ = false;
}

void DedupSlots::insert(Placement placement, DedupHandle& handle) noexcept {
    Change const change(*this);
    current()->put(handle, placement.place(), placement.tag());
    ++size_;
    step();
}

void DedupSlots::erase(DedupHandle const& handle, U32 place) noexcept {
    Change const change(*this);
    auto* const previous = previous_.load(std::memory_order_relaxed);
    bool const erased =
        current()->erase(handle, place) || (previous != nullptr && previous->erase(handle, place));
    MOX_ASSERT_TEXT(erased, "an interned object is in its table");
    --size_;
    step();
    shrinkIfEmpty();
}

} // namespace Kel
