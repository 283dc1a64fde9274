#pragma once

#include <Mox/Types.h>

#include <string>

namespace MoxStash {

using Mox::U64;

/// A shared mapping of a file or segment that survives the truncation of what it maps.
///
/// Owns the mapping. Octets that another process cut off read as zero, what is written to them is
/// lost, and `isCutShort()` is true from then on; without the guard the system would end the
/// process by SIGBUS. The first mapping of a process installs a handler for that signal, for good;
/// it passes every signal that is not about a guarded mapping to the handler that was installed
/// before it, in the way the system would. A handler installed later must do the same.
/// Thread-compatible.
class GuardedMapping {
  public:
    enum class Access { read, readAndWrite };

    /// Maps `octets` from `offset`, a multiple of a page, of an open file or segment. They need not
    /// exist yet. Throws StoreException, with `store` in it, if the system refuses.
    GuardedMapping(std::string const& store, int fd, U64 offset, U64 octets, Access access);
    ~GuardedMapping();
    GuardedMapping(GuardedMapping const&) = delete;
    GuardedMapping& operator=(GuardedMapping const&) = delete;

    /// The first word; other processes may change all of them at any time.
    U64* words() const noexcept { return words_; }

    /// Whether octets of it that were used have been cut off.
    bool isCutShort() const noexcept;

    /// What the signal handler finds a mapping by.
    struct Guard;

  private:
    Guard& guard_;
    U64 octets_;
    U64* words_;
};

} // namespace MoxStash
