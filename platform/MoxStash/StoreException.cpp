#include <MoxStash/StoreException.h>

namespace MoxStash {

namespace {

std::string joined(std::string_view store, std::string_view reason) {
    return std::string(store).append(": ").append(reason);
}

} // namespace

StoreException::StoreException(std::string_view store, std::string_view reason)
  : Exception(joined(store, reason))
  , store_(store)
  , reason_(reason) {}

StoreException::StoreException(std::string_view store, U64 offset, std::string_view reason)
  : Exception(joined(store, "octet " + std::to_string(offset) + ": " + std::string(reason)))
  , store_(store)
  , offset_(offset)
  , reason_(reason) {}

StoreException::~StoreException() = default;

StaleStoreException::StaleStoreException(std::string_view store)
  : StoreException(store, "replaced while it was read") {}

StaleStoreException::~StaleStoreException() = default;

} // namespace MoxStash
