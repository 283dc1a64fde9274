#pragma once

#include <Mox/Exception.h>
#include <Mox/Export.h>
#include <Mox/Types.h>

#include <string>
#include <string_view>

namespace MoxStash {

using Mox::U64;

/// A store that cannot be read or written; `what()` is `STORE: REASON`, or `STORE: octet OFFSET:
/// REASON` where an octet of the store is to blame.
class VOBGP_EXPORT StoreException : public Mox::Exception {
  public:
    /// What is wrong with a store as a whole, or with what the system says of it.
    StoreException(std::string_view store, std::string_view reason);

    /// What is wrong with the record, or the field, at `offset`, in octets from the beginning.
    StoreException(std::string_view store, U64 offset, std::string_view reason);

    ~StoreException() override;

    std::string const& store() const noexcept { return store_; }

    /// 0 where no single octet is to blame.
    U64 offset() const noexcept { return offset_; }

    std::string const& reason() const noexcept { return reason_; }

  private:
    std::string store_;
    U64 offset_ = 0;
    std::string reason_;
};

/// A store that was replaced, or is being overwritten, while it was read: what has been rebuilt
/// since the reader attached is to be thrown away, and may be tried again with a new
/// `StoreManager`.
class VOBGP_EXPORT StaleStoreException : public StoreException {
  public:
    explicit StaleStoreException(std::string_view store);
    ~StaleStoreException() override;
};

} // namespace MoxStash
