#include <MoxStash/StoreManager.h>

#include "StoreFormat.h"
#include "StoreMapping.h"

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
                refuse(first + whole, "octets behind the last element that are not zero");
            }
        }
    }
}

void StoredRecord::refuse(U64 index, std::string_view reason) const {
    manager_->refuse(offset_ + (index + 1) * Format::wordOctets, reason);
}

// ---- Attaching ----------------------------------------------------------------------------------

namespace {

/// How often a reader that is overtaken by writers begins anew before it gives up.
constexpr int attempts = 100;

} // namespace

StoreManager::StoreManager(std::string const& store)
  : name_(store)
  , place_(std::make_unique<StorePlace>(store)) {
    for (int attempt = 1;; ++attempt) {
        try {
            attach();
            return;
        } catch (StaleStoreException const&) {
            if (attempt == attempts) {
                throw;
            }
        }
    }
}

StoreManager::StoreManager(std::string const& name, std::span<std::byte const> octets)
  : name_(name)
  , copy_(octets.size() / Format::wordOctets) {
    if (octets.size() % Format::wordOctets != 0) {
        refuse(octets.size(), "its size is no multiple of 8 octets");
    }
    std::copy(octets.begin(), octets.end(), reinterpret_cast<std::byte*>(copy_.data()));
    words_ = copy_;
    check();
}

StoreManager::~StoreManager() = default;

/// What looks like damage is none if the store has been replaced meanwhile.
void StoreManager::attach() {
    generation_ = 0;
    mapping_ = std::make_unique<StoreMapping>(name_, *place_);
    words_ = mapping_->words();
    segment_ = place_->isSegment ? words_.data() : nullptr;
    area_ = 0;
    auto const begun = this->begun();
    try {
        if (mapping_->octets() % Format::wordOctets != 0) {
            refuse(mapping_->octets(), "its size is no multiple of 8 octets");
        }
        if (segment_ != nullptr) {
            findArea();
        }
        check();
    } catch (StoreException const&) {
        bool const same = mapping_->octetsNow(*place_) == mapping_->octets() &&
                          begun == this->begun() && area_ == current();
        if (!same) {
            throw StaleStoreException(name_);
        }
        throw;
    }
    validateVersionAnchor();
}

/// Makes `words_` those from the header of the segment's current store to the end of the mapping.
void StoreManager::findArea() {
    if (words_.size_bytes() < sizeof(Format::SegmentHeader)) {
        refuse(0, "too short for the header of a segment");
    }
    checkOrigin(Format::load<Format::SegmentHeader>(words_.data()), Format::segmentMagic);
    area_ = __atomic_load_n(segment_ + Format::currentWord, __ATOMIC_ACQUIRE);
    if (area_ == 0) {
        throw StoreException(name_, "no store has been published there yet");
    }
    if (area_ % Format::areaAlignment != 0 || area_ >= words_.size_bytes()) {
        refuse(Format::currentWord * Format::wordOctets,
               "the current store is outside the segment");
    }
    words_ = words_.subspan(area_ / Format::wordOctets);
}

template <class Header>
void StoreManager::checkOrigin(Header const& header, std::array<char, 8> const& magic) const {
    if (header.magic != magic) {
        refuse(0, "it does not begin as a store does");
    }
    if (header.byteOrder != Format::byteOrder) {
        refuse(offsetof(Header, byteOrder), "it was written in another byte order");
    }
    if (header.layoutVersion != Format::layoutVersion) {
        refuse(offsetof(Header, layoutVersion),
               "its layout version is " + std::to_string(header.layoutVersion) + ", not " +
                   std::to_string(Format::layoutVersion));
    }
}

/// Makes `words_` those of the store, if they are one.
void StoreManager::check() {
    using Header = Format::StoreHeader;
    // At least the header, the head of the directory and the generation.
    if (words_.size() < Format::headerWords + 2) {
        refuse(words_.size_bytes(), "it is too short for a store");
    }
    auto const header = Format::load<Header>(words_.data());
    checkOrigin(header, Format::storeMagic);
    if (header.octets % Format::wordOctets != 0 || header.octets > words_.size_bytes() ||
        header.octets < (Format::headerWords + 2) * Format::wordOctets ||
        (segment_ == nullptr && header.octets != words_.size_bytes())) {
        refuse(offsetof(Header, octets), "its size is not that of what is there");
    }
    words_ = words_.first(header.octets / Format::wordOctets);
    if (header.checksum != Format::checksum(words_)) {
        refuse(offsetof(Header, checksum), "its checksum is not that of its content");
    }
    if (header.generation == 0 || header.generation != Format::loadWord(&words_.back())) {
        refuse(offsetof(Header, generation), "its generation is not that at its end");
    }
    if (header.reserved != decltype(header.reserved){}) {
        refuse(offsetof(Header, reserved), "what is reserved is not zero");
    }
    findRecords(header.directory);
    generation_ = header.generation;
    directory_ = header.directory;
}

/// Records follow one another from the header to the generation at the end; the directory is last.
void StoreManager::findRecords(U64 directory) {
    auto const end = words_.size() - 1;
    isRecord_.assign(end, false);
    U64 last = 0;
    for (auto first = Format::headerWords; first < end;) {
        auto const head = Format::load<Format::RecordHead>(&words_[first]);
        if (head.words == 0 || head.words > end - first) {
            refuse(first * Format::wordOctets, "a record that is longer than the store, or empty");
        }
        isRecord_[first] = true;
        last = first;
        first += head.words;
    }
    if (directory != last * Format::wordOctets) {
        refuse(offsetof(Format::StoreHeader, directory), "the last record is not the directory");
    }
}

// ---- Overtaken by a writer ----------------------------------------------------------------------

U64 StoreManager::begun() const noexcept {
    bool const has = segment_ != nullptr && mapping_->octets() >= sizeof(Format::SegmentHeader);
    return has ? Format::loadWord(segment_ + Format::begunWord) : 0;
}

U64 StoreManager::current() const noexcept {
    bool const has = segment_ != nullptr && mapping_->octets() >= sizeof(Format::SegmentHeader);
    return has ? Format::loadWord(segment_ + Format::currentWord) : 0;
}

/// In a segment, the store of a generation stays as it is until the second next is begun, which may
/// take its place. A writer that begins says so before it writes: whoever has read a word of what
/// it wrote finds that said (the fence here and the one in publishStore()).
///
/// A file is not written to any more once it is published. The last word and the first of the
/// generation are looked at all the same, for the sake of what somebody else cuts or writes.
bool StoreManager::isOverwritten() const noexcept {
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
    // First, because this reads where the end was.
    bool const overwritten = isOverwritten();
    if (mapping_ != nullptr && mapping_->isCutShort()) {
        throw StoreException(name_, "it was cut short while it was read");
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
        refuse(offset, "no record begins there");
    }
    auto const head = Format::load<Format::RecordHead>(&words_[first]);
    if (head.kind != kind) {
        refuse(offset, "a record of kind " + std::to_string(head.kind) + " where one of kind " +
                           std::to_string(kind) + " is meant");
    }
    // Looked at again: another process may have written it since.
    if (head.words == 0 || head.words > end - first) {
        refuse(offset, "a record that is longer than the store, or empty");
    }
    return {*this, offset, words_.subspan(first + 1, head.words - 1)};
}

namespace {

/// offset (8) | length of the name in octets (8) | name, filled up with zeros
///
/// A name of another length is not even copied: there may be many records that refer to a long one.
bool isNamed(StoredRecord const& root, std::string_view wanted) {
    if (root.words() < 2) {
        root.refuse(0, "a root without a name");
    }
    auto const length = root.word(1);
    auto const words = root.words() - 2;
    if (length > words * Format::wordOctets || Format::wordsOf(length) != words) {
        root.refuse(1, "a name that is not as long as its record");
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
        record_.refuse(record_.words() - 1, "half a row of a table");
    }
}

} // namespace MoxStash
