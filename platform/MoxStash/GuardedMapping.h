#pragma once

#include <Mox/Types.h>

#include <string>

namespace MoxStash {

using Mox::U64;

/// A shared mapping of a file or segment that survives truncation.
///
/// Owns the mapping. Truncated octets read as zero, writes to them are lost, and `isTruncated()` is
/// true from then on; without the guard, SIGBUS would terminate the process. The first mapping of a
/// process installs a SIGBUS handler that stays installed. It forwards each signal that does not
/// concern a guarded mapping to the previous handler, as the system would; a handler installed
/// later must do the same. Thread-compatible.
class GuardedMapping {
  public:
    enum class Access { read, readAndWrite };

    /// Maps `octets` octets of an open file or segment from `offset`, which must be a multiple of
    /// the page size. The octets need not exist yet. Throws StoreException about `store` on
    /// failure.
    GuardedMapping(std::string const& store, int fd, U64 offset, U64 octets, Access access);
    ~GuardedMapping();
    GuardedMapping(GuardedMapping const&) = delete;
    GuardedMapping& operator=(GuardedMapping const&) = delete;

    /// Other processes may change the words at any time.
    U64* words() const noexcept { return words_; }

    /// Whether an access found octets truncated.
    bool isTruncated() const noexcept;

    /// The entry by which the signal handler finds a mapping.
    struct Guard;

  private:
    Guard& guard_;
    U64 octets_;
    U64* words_;
};

} // namespace MoxStash
