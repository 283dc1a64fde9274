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

/// The texts that show commands have printed for extended communities, so that a value that comes
/// up again is neither parsed nor formatted again. The plain and the asdot form (RFC 5396) of a
/// value are kept apart, and either may be there without the other.
///
/// Owned by whoever runs the show commands; holds values and texts. It formats nothing itself, and
/// forgets nothing by itself: it grows with the number of distinct values shown. Reactor thread.
/// Values are extended communities of eight octets, the wire order read as a big-endian integer.
class VOBGP_EXPORT ExtCommCache : public Mox::PtrInterface {
  public:
    MOX_COUNTED(ExtCommCache)

    ExtCommCache();
    ~ExtCommCache() override;

    /// The text of a value in the form asked for. Empty for a miss, and so for an empty text.
    Mox::String lookup(U64 const& extCommVal, bool asdot) const;

    /// Stores the text of a value in that form, in place of the one there is.
    void insert(U64 const& extCommVal, Mox::String extCommStr, bool asdot);

    void extCommToStringIs(U64 const& extCommVal, Mox::String extCommStr);
    void extCommToStringDel(U64 const& extCommVal) noexcept;
    void extCommToStringDelAll() noexcept;
    bool extCommToStringHas(U64 const& extCommVal) const noexcept;
    /// How many values have a plain text.
    std::size_t extCommToStrings() const noexcept { return extCommToString_.size(); }

    void extCommToAsdotStringIs(U64 const& extCommVal, Mox::String extCommStr);
    void extCommToAsdotStringDel(U64 const& extCommVal) noexcept;
    void extCommToAsdotStringDelAll() noexcept;
    bool extCommToAsdotStringHas(U64 const& extCommVal) const noexcept;
    /// How many values have an asdot text.
    std::size_t extCommToAsdotStrings() const noexcept { return extCommToAsdotString_.size(); }

  private:
    Mox::HashMap<U64, Mox::String> extCommToString_;
    Mox::HashMap<U64, Mox::String> extCommToAsdotString_;
};

/// A new, empty cache with its notifications switched on.
VOBGP_EXPORT ExtCommCache::Ptr extCommCacheFactory();

} // namespace BgpShowCli
