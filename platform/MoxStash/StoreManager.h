#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Assert.h>
#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/Types.h>
#include <MoxStash/StoreException.h>
#include <MoxStash/StoreWriter.h>

#include <array>
#include <bit>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace MoxStash {

class StoreManager;
class StoreMapping;
struct StorePlace;

/// A checked record of a store: within bounds and of the requested kind. Its words are read in
/// place.
///
/// Invalidated by the destruction of its manager. Nothing outside the record is read, but its
/// content is unchecked: the caller must validate each word and refuse() invalid ones. Integers are
/// in host byte order. Thread-compatible.
class VOBGP_EXPORT StoredRecord {
  public:
    /// The number of words, not counting the record head.
    U64 words() const noexcept { return words_.size(); }

    /// Reads a word with one load. REQUIRES: `index` is less than words() (asserted).
    U64 word(U64 index) const noexcept;

    /// The two four-octet integers of a word, in memory order.
    std::array<U32, 2> halves(U64 index) const noexcept {
        return std::bit_cast<std::array<U32, 2>>(word(index));
    }

    /// Copies `count` elements, starting at word `first`. REQUIRES: the record holds them all
    /// (asserted). Throws StoreException if the padding after the last element is not zero.
    template <class Element>
    void copy(U64 first, Element* to, U64 count) const {
        static_assert(std::is_trivially_copyable_v<Element>);
        copyOctets(first, reinterpret_cast<std::byte*>(to), count * sizeof(Element));
    }

    /// Throws StoreException about that word, or StaleStoreException if the store has been
    /// overwritten.
    [[noreturn]] void refuse(U64 index, std::string_view reason) const;

    /// The offset of the record in octets.
    U64 offset() const noexcept { return offset_; }

  private:
    friend class StoreManager;

    StoredRecord(StoreManager const& manager, U64 offset, std::span<U64 const> words) noexcept
      : manager_(&manager)
      , offset_(offset)
      , words_(words) {}

    void copyOctets(U64 first, std::byte* to, U64 octets) const;

    StoreManager const* manager_;
    U64 offset_;
    std::span<U64 const> words_;
};

/// Reads one published store.
///
/// The constructor attaches to the current store and checks all of it once. The manager keeps
/// reading that store, whatever is published later. It owns its mapping of the store and references
/// to shared rebuilt objects; rebuilt objects may outlive it. Thread-compatible; each thread may
/// have its own.
///
/// Nothing outside the store is read; malformed content throws StoreException. Attaching allocates
/// 1/64 of the store's size. Rebuilding a record allocates at most 16 times the record's size,
/// members included; with `sharingIs(true)`, at most 20 times the size of all records rebuilt, each
/// counted once.
class VOBGP_EXPORT StoreManager {
  public:
    /// Attaches to `store`: the path of a file, or `shm:/NAME` for a POSIX shared-memory segment.
    /// Throws StoreException, or StaleStoreException if stores are published faster than they can
    /// be checked.
    explicit StoreManager(std::string const& store);

    /// Reads a copy of `octets`. `name` is used in exceptions.
    StoreManager(std::string const& name, std::span<std::byte const> octets);

    ~StoreManager();
    StoreManager(StoreManager const&) = delete;
    StoreManager& operator=(StoreManager const&) = delete;

    std::string const& name() const noexcept { return name_; }

    /// The size of the store in octets.
    U64 octets() const noexcept { return words_.size_bytes(); }

    /// The version anchor: the generation of the store. Each publication increments it.
    U64 versionAnchor() const noexcept { return generation_; }

    /// Validates everything read so far. Throws StaleStoreException if the store may have been
    /// overwritten since, StoreException if the file was truncated.
    void validateVersionAnchor() const;

    /// Whether no newer store has been published.
    bool isCurrent() const noexcept;

    /// Returns the record at offset `stored`. Throws StoreException if it is missing or its kind is
    /// not `kind`.
    StoredRecord translate(void const* stored, StoredKind kind) const;

    /// Returns the record with that name, or null if not found. What it returns is valid if
    /// validateVersionAnchor() succeeds afterwards, as the functions that rebuild objects check.
    void const* root(std::string_view name) const;

    /// Sets whether records are rebuilt only once and shared by all that refer to them. Off by
    /// default. Takes memory for each value.
    void sharingIs(bool sharing);

    /// Returns `rebuild()`, or with sharing the object built from the record before.
    template <class T, class Rebuild>
    Mox::Ptr<T> rebuilt(StoredRecord const& record, Rebuild rebuild) {
        if (!sharing_) {
            return rebuild();
        }
        auto& shared = shared_[record.offset()];
        if (auto* const object = dynamic_cast<T*>(shared.get())) {
            return Mox::Ptr<T>(object);
        }
        // Not built yet, or an object of another type because the record has been overwritten
        // since.
        auto object = rebuild();
        shared = object;
        return object;
    }

  private:
    friend class StoredRecord;

    [[noreturn]] void refuse(U64 offset, std::string_view reason) const;
    void attach();
    void findArea();
    template <class Header>
    void checkOrigin(Header const& header, std::array<char, 8> const& magic) const;
    void check();
    void findRecords(U64 directory);
    U64 begun() const noexcept;
    U64 current() const noexcept;
    bool isOverwritten() const noexcept;

    std::string const name_;
    std::vector<U64> copy_;             // the store, if constructed from octets
    std::unique_ptr<StorePlace> place_; // null if constructed from octets
    std::unique_ptr<StoreMapping> mapping_;
    U64 const* segment_ = nullptr; // the segment's header, or null
    U64 area_ = 0;                 // offset of the store in the segment
    std::span<U64 const> words_;   // of the store
    U64 generation_ = 0;           // 0 until the store is checked
    U64 directory_ = 0;
    std::vector<bool> isRecord_; // by index of the first word
    bool sharing_ = false;
    std::unordered_map<U64, Kel::DedupHandle::Ptr> shared_; // by offset
};

/// The rows of a stored table. Invalidated by the destruction of its manager. Thread-compatible.
class VOBGP_EXPORT StoredTable {
  public:
    StoredTable(StoreManager const& manager, void const* stored);

    U64 size() const noexcept { return record_.words() / 2; }

    /// REQUIRES: `index` is less than size() (asserted).
    StoredEntry operator[](U64 index) const noexcept {
        return {storedAddress(record_.word(2 * index)), record_.word(2 * index + 1)};
    }

  private:
    StoredRecord record_;
};

} // namespace MoxStash
