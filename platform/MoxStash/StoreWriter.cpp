#include <MoxStash/StoreWriter.h>

#include "StoreFormat.h"

#include <Mox/Assert.h>
#include <Mox/Hash.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace MoxStash {

namespace {

/// Appends a record. Returns the index of its first word.
U64 append(std::vector<U64>& words, StoredKind kind, std::span<U64 const> body) {
    auto const size = body.size() + 1;
    if (size > std::numeric_limits<U32>::max()) {
        throw std::length_error("MoxStash::StoreWriter: record of 2^32 words");
    }
    auto const first = words.size();
    words.resize(first + size);
    Format::store(&words[first], Format::RecordHead{kind, static_cast<U32>(size)});
    std::copy(body.begin(), body.end(), words.begin() + static_cast<std::ptrdiff_t>(first) + 1);
    return first;
}

std::span<U64 const> recordAt(std::vector<U64> const& words, U64 first) noexcept {
    auto const head = Format::load<Format::RecordHead>(&words[first]);
    return std::span(words).subspan(first, head.words);
}

/// offset (8) | length of the name in octets (8) | name, zero-padded
std::vector<U64> rootBody(std::string_view name, U64 offset) {
    std::vector<U64> body(2 + Format::wordsOf(name.size()));
    body[0] = offset;
    body[1] = name.size();
    std::memcpy(body.data() + 2, name.data(), name.size());
    return body;
}

} // namespace

std::size_t StoreWriter::RecordHash::operator()(U64 first) const noexcept {
    U64 hash = 0;
    for (U64 const word : recordAt(*words, first)) {
        hash = Mox::hashWord(hash ^ word);
    }
    return hash;
}

bool StoreWriter::SameRecord::operator()(U64 first, U64 second) const noexcept {
    auto const a = recordAt(*words, first);
    auto const b = recordAt(*words, second);
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

StoreWriter::StoreWriter()
  : words_(Format::headerWords)
  , records_(0, RecordHash{&words_}, SameRecord{&words_}) {}

StoreWriter::~StoreWriter() = default;

void const* StoreWriter::recordIs(StoredKind kind, std::span<U64 const> body) {
    // If the insertion throws, remove the record again.
    auto const first = append(words_, kind, body);
    try {
        auto const [found, isNew] = records_.insert(first);
        if (!isNew) {
            words_.resize(first);
        }
        return storedAddress(*found * Format::wordOctets);
    } catch (...) {
        words_.resize(first);
        throw;
    }
}

void const* StoreWriter::tableIs(std::span<StoredEntry const> entries) {
    std::vector<U64> body;
    body.reserve(2 * entries.size());
    for (StoredEntry const& entry : entries) {
        body.push_back(storedOffset(entry.stored));
        body.push_back(entry.number);
    }
    return recordIs(kindTable, body);
}

void StoreWriter::rootIs(std::string_view name, void const* stored) {
    auto const offset = storedOffset(stored);
    MOX_ASSERT(offset / Format::wordOctets < words_.size());
    auto const place = std::lower_bound(
        roots_.begin(), roots_.end(), name,
        [](Root const& root, std::string_view wanted) { return root.name < wanted; });
    if (place != roots_.end() && place->name == name) {
        place->offset = offset;
    } else {
        roots_.insert(place, {std::string(name), offset});
    }
}

std::vector<U64> StoreWriter::image(U64 generation) const {
    auto words = words_;
    std::vector<U64> directory;
    for (Root const& root : roots_) {
        auto const first = append(words, kindRoot, rootBody(root.name, root.offset));
        directory.push_back(first * Format::wordOctets);
    }
    Format::StoreHeader header = {};
    header.magic = Format::storeMagic;
    header.byteOrder = Format::byteOrder;
    header.layoutVersion = Format::layoutVersion;
    header.directory = append(words, kindDirectory, directory) * Format::wordOctets;
    // Repeated at the end, to detect truncation.
    words.push_back(generation);
    header.octets = words.size() * Format::wordOctets;
    header.generation = generation;
    Format::store(words.data(), header);
    words[Format::checksumWord] = Format::checksum(words);
    return words;
}

} // namespace MoxStash
