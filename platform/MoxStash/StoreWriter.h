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

/// The kind of a record. Kinds below `firstKind` are the store's own.
using StoredKind = U32;

constexpr StoredKind kindRoot = 1;
constexpr StoredKind kindDirectory = 2;
constexpr StoredKind kindTable = 3;
/// The first kind available to the owners of stored types.
constexpr StoredKind firstKind = 16;

/// The stored address of a record, as `destash` operations take it: an offset in the store, not a
/// memory address. 0 is null.
inline void const* storedAddress(U64 offset) noexcept {
    return reinterpret_cast<void const*>(offset);
}

inline U64 storedOffset(void const* stored) noexcept {
    return reinterpret_cast<U64>(stored);
}

/// One row of a stored table: a record and a number.
struct StoredEntry {
    void const* stored = nullptr;
    U64 number = 0;
};

/// A store under construction in memory; `publishStore` publishes it.
///
/// Equal records are stored once, and a record refers only to earlier records. Integers are in host
/// byte order; offsets are in octets. Throws `std::length_error` for a record of 2^32 words.
/// Thread-compatible.
class VOBGP_EXPORT StoreWriter {
  public:
    StoreWriter();
    ~StoreWriter();
    StoreWriter(StoreWriter const&) = delete;
    StoreWriter& operator=(StoreWriter const&) = delete;

    /// Adds a record, or returns the equal one that exists.
    void const* recordIs(StoredKind kind, std::span<U64 const> body);

    /// Adds a table with its rows in the given order.
    void const* tableIs(std::span<StoredEntry const> entries);

    /// Gives a record a name by which readers find it. Replaces the previous record of that name.
    void rootIs(std::string_view name, void const* stored);

    /// The size of the records in octets.
    U64 octets() const noexcept { return words_.size() * sizeof(U64); }

    /// The number of distinct records, not counting roots.
    U64 records() const noexcept { return records_.size(); }

    /// Returns the words of the complete store with that generation, which must not be 0.
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

    std::vector<U64> words_; // space for the header, then the records
    std::unordered_set<U64, RecordHash, SameRecord> records_; // by index of the first word
    std::vector<Root> roots_;                                 // by name
};

} // namespace MoxStash
