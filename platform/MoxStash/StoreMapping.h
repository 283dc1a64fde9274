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

/// A read-only mapping of a file or segment. Other processes may change or truncate it.
/// Thread-compatible.
class StoreMapping {
  public:
    /// Throws StoreException about `store`.
    StoreMapping(std::string const& store, StorePlace const& place);

    /// All whole words of the mapping. Read them with Format::loadWord().
    std::span<U64 const> words() const noexcept { return words_; }

    /// The size in octets when it was mapped.
    U64 octets() const noexcept { return octets_; }

    bool isTruncated() const noexcept { return mapping_ && mapping_->isTruncated(); }

    /// The current size in octets; none if the place is empty or holds something else.
    std::optional<U64> octetsNow(StorePlace const& place) const noexcept;

  private:
    std::optional<GuardedMapping> mapping_; // none for an empty file
    std::span<U64 const> words_;
    U64 octets_ = 0;
    ::dev_t device_ = 0;
    ::ino_t inode_ = 0;
};

} // namespace MoxStash
