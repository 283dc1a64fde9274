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

/// A record of a store, found to be whole and of the kind that was asked for: its words, read where
/// they are.
///
/// Good for as long as its manager; it owns nothing. Thread-compatible. What never changes: nothing
/// outside the record is read. What is inside may be anything: whoever reads a word decides what it
/// may be, and refuses the rest. Integers are in this processor's byte order.
class VOBGP_EXPORT StoredRecord {
  public:
    /// How many words there are, without the record's head.
    U64 words() const noexcept { return words_.size(); }

    /// One load; the word must be there (asserted).
    U64 word(U64 index) const noexcept;

    /// The two integers of four octets that a word holds, in their order.
    std::array<U32, 2> halves(U64 index) const noexcept {
        return std::bit_cast<std::array<U32, 2>>(word(index));
    }

    /// Copies elements from that word on, all of which must be there (asserted). What follows them
    /// in their last word must be zero; else StoreException.
    template <class Element>
    void copy(U64 first, Element* to, U64 count) const {
        static_assert(std::is_trivially_copyable_v<Element>);
        copyOctets(first, reinterpret_cast<std::byte*>(to), count * sizeof(Element));
    }

    /// Throws StoreException about that word, or StaleStoreException if the store is not any more
    /// what was attached to.
    [[noreturn]] void refuse(U64 index, std::string_view reason) const;

    /// Of its first octet.
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

/// A reader of one published store.
///
/// It attaches to the store that is current when it is made: checks it whole, once, and from then
/// on answers from that one, whatever is published later. It owns its mapping of the store and
/// everything that it was asked to rebuild once; what is rebuilt by it outlives it. Thread-
/// compatible; each thread of a reading process may have its own.
///
/// Nothing outside the store is read, and what is malformed is a StoreException. Attaching takes
/// 1/64 of its octets, rebuilding a record at most 16 times the record's, members included; with
/// `sharingIs(true)`, at most 20 times those of all records rebuilt, each counted once.
class VOBGP_EXPORT StoreManager {
  public:
    /// Attaches to what is published as `store`: the path of a file, or `shm:/NAME`, a POSIX
    /// shared-memory segment. Throws StoreException, and StaleStoreException if stores are
    /// published faster than they can be checked.
    explicit StoreManager(std::string const& store);

    /// Reads a copy of these octets; `name` is for exceptions.
    StoreManager(std::string const& name, std::span<std::byte const> octets);

    ~StoreManager();
    StoreManager(StoreManager const&) = delete;
    StoreManager& operator=(StoreManager const&) = delete;

    std::string const& name() const noexcept { return name_; }

    /// How many octets the store has.
    U64 octets() const noexcept { return words_.size_bytes(); }

    /// The version anchor: the generation of the store, which each one that replaces another
    /// raises.
    U64 versionAnchor() const noexcept { return generation_; }

    /// What has been read so far is that generation: throws StaleStoreException if it may have been
    /// overwritten meanwhile, StoreException if the file was cut.
    void validateVersionAnchor() const;

    /// Whether nothing newer has been published.
    bool isCurrent() const noexcept;

    /// The record that `stored`, an offset, leads to. Throws StoreException if there is none, or
    /// one of another kind.
    StoredRecord translate(void const* stored, StoredKind kind) const;

    /// The record of that name, or null.
    void const* root(std::string_view name) const;

    /// Whether what recurs in the store is rebuilt once, and then shared by all that refer to it.
    /// Off at first; takes memory for each value.
    void sharingIs(bool sharing);

    /// What `rebuild()` makes of the record; or, where that is shared, what it made of it before.
    template <class T, class Rebuild>
    Mox::Ptr<T> rebuilt(StoredRecord const& record, Rebuild rebuild) {
        if (!sharing_) {
            return rebuild();
        }
        auto& shared = shared_[record.offset()];
        if (auto* const object = dynamic_cast<T*>(shared.get())) {
            return Mox::Ptr<T>(object);
        }
        // Nothing yet; or something else, and the record has been overwritten since.
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
    std::vector<U64> copy_;             // of a store that was handed in; else
    std::unique_ptr<StorePlace> place_; // where it was found,
    std::unique_ptr<StoreMapping> mapping_;
    U64 const* segment_ = nullptr; // the segment's header, if it is in one,
    U64 area_ = 0;                 // and where in there the store begins
    std::span<U64 const> words_;   // of the store
    U64 generation_ = 0;           // 0 until all has been checked
    U64 directory_ = 0;
    std::vector<bool> isRecord_; // by the place of the first word
    bool sharing_ = false;
    std::unordered_map<U64, Kel::DedupHandle::Ptr> shared_; // by offset
};

/// The rows of a stored table. Good for as long as its manager. Thread-compatible.
class VOBGP_EXPORT StoredTable {
  public:
    StoredTable(StoreManager const& manager, void const* stored);

    U64 size() const noexcept { return record_.words() / 2; }

    /// The row must be there (asserted).
    StoredEntry operator[](U64 index) const noexcept {
        return {storedAddress(record_.word(2 * index)), record_.word(2 * index + 1)};
    }

  private:
    StoredRecord record_;
};

} // namespace MoxStash
