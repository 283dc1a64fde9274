#pragma once

#include <Mox/Types.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StoreWriter.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <array>
#include <bit>
#include <cstddef>

/// The layout of values and lists in a store (see docs/store-format.md), for the sources that write
/// and rebuild them. Not installed.
namespace Routing::Bgp {

using Mox::U32;
using Mox::U64;

constexpr MoxStash::StoredKind storedExtComm = MoxStash::firstKind;
constexpr MoxStash::StoredKind storedExtCommIp6 = MoxStash::firstKind + 1;
constexpr MoxStash::StoredKind storedCommList = MoxStash::firstKind + 2;
constexpr MoxStash::StoredKind storedLargeCommList = MoxStash::firstKind + 3;
constexpr MoxStash::StoredKind storedExtCommList = MoxStash::firstKind + 4;
constexpr MoxStash::StoredKind storedExtCommIp6List = MoxStash::firstKind + 5;

/// The first word of every list; the members follow.
struct StoredListHead {
    /// The members are sorted and distinct.
    static constexpr U32 sorted = 1;
    /// The list was split into classification lists.
    static constexpr U32 classified = 2;

    U32 count;
    U32 flags;

    bool has(U32 flag) const noexcept { return (flags & flag) != 0; }
    U64 word() const noexcept { return std::bit_cast<U64>(*this); }
};

/// Reads the head of a list with members of `memberOctets` octets. Throws `StoreException` if the
/// count does not match the record size or a flag is unknown.
StoredListHead storedListHead(MoxStash::StoredRecord const& record, std::size_t memberOctets,
                              U32 flags);

/// Throws `StoreException` for a list that is marked as sorted but is not.
[[noreturn]] void refuseUnsorted(MoxStash::StoredRecord const& record);

/// Throws `StoreException` unless the record has `words` words.
void expectStoredWords(MoxStash::StoredRecord const& record, U64 words);

/// Returns the classification with this number. Throws `StoreException` if it is unknown.
ExtCommClassification storedClassification(MoxStash::StoredRecord const& record, U64 index,
                                           U32 number);

} // namespace Routing::Bgp
