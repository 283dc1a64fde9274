#pragma once

#include <Mox/Exception.h>
#include <Mox/Export.h>
#include <Mox/Types.h>

#include <string>
#include <string_view>

namespace MoxStash {

using Mox::U64;

/// Thrown if a store cannot be read or written. `what()` is `STORE: REASON`, or `STORE: octet
/// OFFSET: REASON` if the error is at an offset.
class VOBGP_EXPORT StoreException : public Mox::Exception {
  public:
    /// An error of the whole store or of a system call.
    StoreException(std::string_view store, std::string_view reason);

    /// An error of the record or field at `offset`, in octets from the beginning.
    StoreException(std::string_view store, U64 offset, std::string_view reason);

    ~StoreException() override;

    std::string const& store() const noexcept { return store_; }

    /// 0 if the error is not at an offset.
    U64 offset() const noexcept { return offset_; }

    std::string const& reason() const noexcept { return reason_; }

  private:
    std::string store_;
    U64 offset_ = 0;
    std::string reason_;
};

/// Thrown if a store was replaced or overwritten while it was read. Discard everything rebuilt
/// since the reader attached, and retry with a new `StoreManager`.
class VOBGP_EXPORT StaleStoreException : public StoreException {
  public:
    explicit StaleStoreException(std::string_view store);
    ~StaleStoreException() override;
};

} // namespace MoxStash
