#pragma once

#include <Mox/Types.h>

#include <bit>
#include <concepts>
#include <cstring>

namespace Mox {

/// Writes an unsigned integer in network order and returns the end of the written octets. Uses
/// byte-swap builtins because compilers do not turn a loop over eight octets into one swap.
template <std::unsigned_integral Integer>
char* writeNetworkOrder(char* place, Integer value) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        if constexpr (sizeof value == sizeof(U64)) {
            value = __builtin_bswap64(value);
        } else if constexpr (sizeof value == sizeof(U32)) {
            value = __builtin_bswap32(value);
        } else if constexpr (sizeof value == sizeof(U16)) {
            value = __builtin_bswap16(value);
        }
    }
    std::memcpy(place, &value, sizeof value);
    return place + sizeof value;
}

} // namespace Mox
