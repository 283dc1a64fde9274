#pragma once

#include "GuardedMapping.h"
#include "StorePlace.h"

#include <Mox/Types.h>

#include <optional>
#include <span>
#include <string>

#include <sys/types.h>

namespace MoxStash {

using Mox::U64;

/// A file or a segment, mapped to be read. Owns the mapping; other processes may change it or cut
/// it. Thread-compatible.
class StoreMapping {
  public:
    /// Throws StoreException, with `store` in it.
    StoreMapping(std::string const& store, StorePlace const& place);

    /// All whole words of it; to be read by Format::loadWord().
    std::span<U64 const> words() const noexcept { return words_; }

    /// In octets, when it was mapped.
    U64 octets() const noexcept { return octets_; }

    bool isCutShort() const noexcept { return mapping_ && mapping_->isCutShort(); }

    /// How many octets it has now; none if something else, or nothing, is at the place.
    std::optional<U64> octetsNow(StorePlace const& place) const noexcept;

  private:
    std::optional<GuardedMapping> mapping_; // none of an empty file
    std::span<U64 const> words_;
    U64 octets_ = 0;
    ::dev_t device_ = 0;
    ::ino_t inode_ = 0;
};

} // namespace MoxStash
