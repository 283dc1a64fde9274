#pragma once

#include <Mox/Export.h>
#include <Mox/HashMap.h>
#include <Mox/Ptr.h>
#include <Mox/PtrInterface.h>
#include <Mox/String.h>
#include <Mox/Types.h>

#include <cstddef>

namespace BgpShowCli {

using Mox::U64;

/// Caches the texts that show commands print for extended communities, so that a value is parsed
/// and formatted once. The plain and the asdot form (RFC 5396) of a value are separate entries.
///
/// Entries are never evicted: it grows with the number of distinct values shown. Reactor thread. A
/// value is the eight octets of a community, read as a big-endian integer.
class VOBGP_EXPORT ExtCommCache : public Mox::PtrInterface {
  public:
    MOX_COUNTED(ExtCommCache)

    ExtCommCache();
    ~ExtCommCache() override;

    /// Returns the text of a value in that form; empty if not found.
    Mox::String lookup(U64 const& extCommVal, bool asdot) const;

    /// Stores the text of a value in that form, replacing the current one.
    void insert(U64 const& extCommVal, Mox::String extCommStr, bool asdot);

    void extCommToStringIs(U64 const& extCommVal, Mox::String extCommStr);
    void extCommToStringDel(U64 const& extCommVal) noexcept;
    void extCommToStringDelAll() noexcept;
    bool extCommToStringHas(U64 const& extCommVal) const noexcept;
    /// Number of plain texts.
    std::size_t extCommToStrings() const noexcept { return extCommToString_.size(); }

    void extCommToAsdotStringIs(U64 const& extCommVal, Mox::String extCommStr);
    void extCommToAsdotStringDel(U64 const& extCommVal) noexcept;
    void extCommToAsdotStringDelAll() noexcept;
    bool extCommToAsdotStringHas(U64 const& extCommVal) const noexcept;
    /// Number of asdot texts.
    std::size_t extCommToAsdotStrings() const noexcept { return extCommToAsdotString_.size(); }

  private:
    Mox::HashMap<U64, Mox::String> extCommToString_;
    Mox::HashMap<U64, Mox::String> extCommToAsdotString_;
};

/// Returns a new, empty cache with notifications enabled.
VOBGP_EXPORT ExtCommCache::Ptr extCommCacheFactory();

} // namespace BgpShowCli
