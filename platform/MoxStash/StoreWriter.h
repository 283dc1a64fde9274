#pragma once

#include <Mox/Export.h>
#include <Mox/Types.h>

#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace MoxStash {

using Mox::U32;
using Mox::U64;

/// Which kind of record an offset leads to. Those below `firstKind` are the store's own.
using StoredKind = U32;

constexpr StoredKind kindRoot = 1;
constexpr StoredKind kindDirectory = 2;
constexpr StoredKind kindTable = 3;
/// From here on the kinds are those of whoever keeps his objects in stores.
constexpr StoredKind firstKind = 16;

/// The stored address of a record, as `destash` operations take it: its offset in the store, never
/// a place in memory. Null is the address of nothing.
inline void const* storedAddress(U64 offset) noexcept {
    return reinterpret_cast<void const*>(offset);
}

inline U64 storedOffset(void const* stored) noexcept {
    return reinterpret_cast<U64>(stored);
}

/// One row of a stored table: a record, and a number that goes with it.
struct StoredEntry {
    void const* stored = nullptr;
    U64 number = 0;
};

/// A store that is being put together, record by record, in memory; `publishStore` writes it.
///
/// It owns its records. What never changes: of equal records there is only one, and a record refers
/// only to records that were there before it. Integers are in the byte order of this processor;
/// offsets are octets. A record of 2^32 words is a `std::length_error`. Thread-compatible.
class VOBGP_EXPORT StoreWriter {
  public:
    StoreWriter();
    ~StoreWriter();
    StoreWriter(StoreWriter const&) = delete;
    StoreWriter& operator=(StoreWriter const&) = delete;

    /// The record of that kind with those words: the one that is there, or a new one.
    void const* recordIs(StoredKind kind, std::span<U64 const> body);

    /// A table whose rows are in that order.
    void const* tableIs(std::span<StoredEntry const> entries);

    /// Makes the record the one that readers find by that name, in place of the one before.
    void rootIs(std::string_view name, void const* stored);

    /// How many octets the records take.
    U64 octets() const noexcept { return words_.size() * sizeof(U64); }

    /// How many different records there are, roots not counted.
    U64 records() const noexcept { return records_.size(); }

    /// The octets of the whole store, to be published as that generation, from 1.
    std::vector<U64> image(U64 generation) const;

  private:
    struct Root {
        std::string name;
        U64 offset;
    };

    struct RecordHash {
        std::vector<U64> const* words;
        std::size_t operator()(U64 first) const noexcept;
    };

    struct SameRecord {
        std::vector<U64> const* words;
        bool operator()(U64 first, U64 second) const noexcept;
    };

    std::vector<U64> words_; // the header's place, then the records
    std::unordered_set<U64, RecordHash, SameRecord> records_; // by the place of their first word
    std::vector<Root> roots_;                                 // by name
};

} // namespace MoxStash
