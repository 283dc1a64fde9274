#include <MoxStash/StoreManager.h>

#include "StoreFormat.h"
#include "StoreMapping.h"

#include <Mox/SchedulingPoint.h>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace MoxStash {

// ---- StoredRecord -------------------------------------------------------------------------------

U64 StoredRecord::word(U64 index) const noexcept {
    MOX_ASSERT(index < words_.size());
    return Format::loadWord(&words_[index]);
}

void StoredRecord::copyOctets(U64 first, std::byte* to, U64 octets) const {
    auto const whole = octets / Format::wordOctets;
    auto const rest = octets % Format::wordOctets;
    MOX_ASSERT(first + Format::wordsOf(octets) <= words_.size());
    for (U64 index = 0; index < whole; ++index, to += Format::wordOctets) {
        U64 const word = Format::loadWord(&words_[first + index]);
        std::memcpy(to, &word, Format::wordOctets);
    }
    if (rest != 0) {
        std::array<std::byte, Format::wordOctets> last;
        U64 const word = Format::loadWord(&words_[first + whole]);
        std::memcpy(last.data(), &word, last.size());
        std::memcpy(to, last.data(), rest);
        for (auto at = rest; at < last.size(); ++at) {
            if (last[at] != std::byte{0}) {
                refuse(first + whole, "padding is not zero");
            }
        }
    }
}

void StoredRecord::refuse(U64 index, std::string_view reason) const {
    manager_->refuse(offset_ + (index + 1) * Format::wordOctets, reason);
}

// ---- Attaching ----------------------------------------------------------------------------------

namespace {

/// How often a reader overtaken by writers retries.
constexpr int maxAttempts = 100;

} // namespace

StoreManager::StoreManager(std::string const& store)
  : name_(store)
  , place_(std::make_unique<StorePlace>(store)) {
    for (int attempt = 1;; ++attempt) {
        try {
            attach();
            return;
        } catch (StaleStoreException const&) {
            if (attempt == maxAttempts) {
                throw;
            }
        }
    }
}

StoreManager::StoreManager(std::string const& name, std::span<std::byte const> octets)
  : name_(name)
  , copy_(octets.size() / Format::wordOctets) {
    if (octets.size() % Format::wordOctets != 0) {
        refuse(octets.size(), "size is not a multiple of 8 octets");
    }
    std::copy(octets.begin(), octets.end(), reinterpret_cast<std::byte*>(copy_.data()));
    words_ = copy_;
    check();
}

StoreManager::~StoreManager() = default;

/// Throws StaleStoreException instead of another error if the store was replaced in the meantime.
///
/// The current store is of generation `begun` at most. A newer one in its area overwrote it after
/// findArea(). It may be complete but not current, and if its writer is killed, the next writer uses
/// its generation again: the anchor would not show that it is overwritten.
void StoreManager::attach() {
    generation_ = 0;
    MOX_SCHEDULING_POINT(attach);
    mapping_ = std::make_unique<StoreMapping>(name_, *place_);
    words_ = mapping_->words();
    segment_ = place_->isSegment ? words_.data() : nullptr;
    area_ = 0;
    MOX_SCHEDULING_POINT(loadBegun);
    auto const begun = this->begun();
    std::atomic_thread_fence(std::memory_order_acquire); // before `current`
    try {
        if (mapping_->octets() % Format::wordOctets != 0) {
            refuse(mapping_->octets(), "size is not a multiple of 8 octets");
        }
        if (segment_ != nullptr) {
            findArea();
        }
        MOX_SCHEDULING_POINT(check);
        check();
        if (segment_ != nullptr && generation_ > begun) {
            refuse(Format::begunWord * Format::wordOctets, "current store has not been begun");
        }
    } catch (StoreException const&) {
        MOX_SCHEDULING_POINT(octetsNow);
        bool const same = mapping_->octetsNow(*place_) == mapping_->octets() &&
                          begun == this->begun() && area_ == current();
        if (!same) {
            throw StaleStoreException(name_);
        }
        throw;
    }
    validateVersionAnchor();
}

/// Reduces `words_` to the range from the header of the segment's current store to the end of the
/// mapping.
void StoreManager::findArea() {
    if (words_.size_bytes() < sizeof(Format::SegmentHeader)) {
        refuse(0, "too short for a segment header");
    }
    checkOrigin(Format::load<Format::SegmentHeader>(words_.data()), Format::segmentMagic);
    MOX_SCHEDULING_POINT(loadCurrent);
    area_ = __atomic_load_n(segment_ + Format::currentWord, __ATOMIC_ACQUIRE);
    if (area_ == 0) {
        throw StoreException(name_, "no store has been published yet");
    }
    if (area_ % Format::areaAlignment != 0 || area_ >= words_.size_bytes()) {
        refuse(Format::currentWord * Format::wordOctets, "current store is outside the segment");
    }
    words_ = words_.subspan(area_ / Format::wordOctets);
}

template <class Header>
void StoreManager::checkOrigin(Header const& header, std::array<char, 8> const& magic) const {
    if (header.magic != magic) {
        refuse(0, "not a store: bad magic number");
    }
    if (header.byteOrder != Format::byteOrder) {
        refuse(offsetof(Header, byteOrder), "wrong byte order");
    }
    if (header.layoutVersion != Format::layoutVersion) {
        refuse(offsetof(Header, layoutVersion),
               "layout version is " + std::to_string(header.layoutVersion) + ", expected " +
                   std::to_string(Format::layoutVersion));
    }
}

/// Checks the store and reduces `words_` to it.
void StoreManager::check() {
    using Header = Format::StoreHeader;
    // The minimum is the header, the head of the directory and the generation.
    if (words_.size() < Format::headerWords + 2) {
        refuse(words_.size_bytes(), "too short for a store");
    }
    auto const header = Format::load<Header>(words_.data());
    checkOrigin(header, Format::storeMagic);
    if (header.octets % Format::wordOctets != 0 || header.octets > words_.size_bytes() ||
        header.octets < (Format::headerWords + 2) * Format::wordOctets ||
        (segment_ == nullptr && header.octets != words_.size_bytes())) {
        refuse(offsetof(Header, octets), "wrong store size");
    }
    words_ = words_.first(header.octets / Format::wordOctets);
    if (header.checksum != Format::checksum(words_)) {
        refuse(offsetof(Header, checksum), "wrong checksum");
    }
    if (header.generation == 0 || header.generation != Format::loadWord(&words_.back())) {
        refuse(offsetof(Header, generation), "generation differs from the one at the end");
    }
    if (header.reserved != decltype(header.reserved){}) {
        refuse(offsetof(Header, reserved), "reserved field is not zero");
    }
    findRecords(header.directory);
    generation_ = header.generation;
    directory_ = header.directory;
}

/// Records are contiguous from the header to the generation at the end; the directory is the last
/// one.
void StoreManager::findRecords(U64 directory) {
    auto const end = words_.size() - 1;
    isRecord_.assign(end, false);
    U64 last = 0;
    for (auto first = Format::headerWords; first < end;) {
        auto const head = Format::load<Format::RecordHead>(&words_[first]);
        if (head.words == 0 || head.words > end - first) {
            refuse(first * Format::wordOctets, "record is empty or longer than the store");
        }
        isRecord_[first] = true;
        last = first;
        first += head.words;
    }
    if (directory != last * Format::wordOctets) {
        refuse(offsetof(Format::StoreHeader, directory), "last record is not the directory");
    }
}

U64 StoreManager::begun() const noexcept {
    bool const has = segment_ != nullptr && mapping_->octets() >= sizeof(Format::SegmentHeader);
    return has ? Format::loadWord(segment_ + Format::begunWord) : 0;
}

U64 StoreManager::current() const noexcept {
    bool const has = segment_ != nullptr && mapping_->octets() >= sizeof(Format::SegmentHeader);
    return has ? Format::loadWord(segment_ + Format::currentWord) : 0;
}

// ---- Detecting newer stores ---------------------------------------------------------------------

/// In a segment, a store stays intact until the store after the next is begun, which may overwrite
/// it. A writer sets `begun` before it writes, so a reader that has read a word of the new store
/// sees the new `begun` (the fence here and the one in SegmentWriter::publish()).
///
/// A published file is not written to any more. The generation in its first and last words is still
/// checked, in case another program writes to it or truncates it.
bool StoreManager::isOverwritten() const noexcept {
    MOX_SCHEDULING_POINT(isOverwritten);
    std::atomic_thread_fence(std::memory_order_acquire);
    return Format::loadWord(&words_.back()) != generation_ ||
           Format::loadWord(&words_[Format::generationWord]) != generation_ ||
           begun() > generation_ + 1;
}

void StoreManager::refuse(U64 offset, std::string_view reason) const {
    if (generation_ != 0) {
        validateVersionAnchor();
    }
    throw StoreException(name_, offset, reason);
}

void StoreManager::validateVersionAnchor() const {
    // Must come first, because it reads the end of the store and so detects truncation.
    bool const overwritten = isOverwritten();
    if (mapping_ != nullptr && mapping_->isTruncated()) {
        throw StoreException(name_, "truncated while it was read");
    }
    if (overwritten) {
        throw StaleStoreException(name_);
    }
}

bool StoreManager::isCurrent() const noexcept {
    return mapping_ == nullptr ||
           (mapping_->octetsNow(*place_) && area_ == current() && !isOverwritten());
}

// ---- Records ------------------------------------------------------------------------------------

StoredRecord StoreManager::translate(void const* stored, StoredKind kind) const {
    auto const offset = storedOffset(stored);
    auto const first = offset / Format::wordOctets;
    auto const end = isRecord_.size();
    if (offset % Format::wordOctets != 0 || first >= end || !isRecord_[first]) {
        refuse(offset, "no record begins here");
    }
    auto const head = Format::load<Format::RecordHead>(&words_[first]);
    if (head.kind != kind) {
        refuse(offset, "record kind is " + std::to_string(head.kind) + ", expected " +
                           std::to_string(kind));
    }
    // Check again: another process may have written it since.
    if (head.words == 0 || head.words > end - first) {
        refuse(offset, "record is empty or longer than the store");
    }
    return {*this, offset, words_.subspan(first + 1, head.words - 1)};
}

namespace {

/// offset (8) | length of the name in octets (8) | name, zero-padded
///
/// A name of another length is not copied: many records may refer to a long one.
bool isNamed(StoredRecord const& root, std::string_view wanted) {
    if (root.words() < 2) {
        root.refuse(0, "root has no name");
    }
    auto const length = root.word(1);
    auto const words = root.words() - 2;
    if (length > words * Format::wordOctets || Format::wordsOf(length) != words) {
        root.refuse(1, "name length does not match the record size");
    }
    if (length != wanted.size()) {
        return false;
    }
    std::string name(length, '\0');
    root.copy(2, name.data(), length);
    return name == wanted;
}

} // namespace

void const* StoreManager::root(std::string_view name) const {
    auto const directory = translate(storedAddress(directory_), kindDirectory);
    for (U64 index = 0; index < directory.words(); ++index) {
        auto const root = translate(storedAddress(directory.word(index)), kindRoot);
        if (isNamed(root, name)) {
            return storedAddress(root.word(0));
        }
    }
    validateVersionAnchor();
    return nullptr;
}

void StoreManager::sharingIs(bool sharing) {
    sharing_ = sharing;
    if (!sharing) {
        shared_.clear();
    }
}

// ---- StoredTable --------------------------------------------------------------------------------

StoredTable::StoredTable(StoreManager const& manager, void const* stored)
  : record_(manager.translate(stored, kindTable)) {
    if (record_.words() % 2 != 0) {
        record_.refuse(record_.words() - 1, "table ends with half a row");
    }
}

} // namespace MoxStash
