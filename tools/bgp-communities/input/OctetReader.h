#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "IntegerTypes.h"

namespace BgpCommunities {

using Octets = std::span<const U8>;

/// The octets of a string, such as a serialized attribute.
inline Octets octetsOf(std::string_view text) {
    return {reinterpret_cast<U8 const*>(text.data()), text.size()};
}

/// A cursor over untrusted octets; the only code of the program that accesses them directly.
///
/// Owns nothing: the octets must outlive the reader and all spans that it returns.
/// Thread-compatible. Never reads out of bounds. A read past the end returns zero (or an empty
/// span), consumes the rest and makes `ok()` false permanently, so a caller may read several fields
/// and check `ok()` once. Integers are big-endian (RFC 4271, RFC 6396).
class OctetReader {
  public:
    explicit OctetReader(Octets octets)
      : left_(octets) {}

    /// No read has gone past the end.
    [[nodiscard]] bool ok() const { return ok_; }

    [[nodiscard]] std::size_t left() const { return left_.size(); }

    [[nodiscard]] bool empty() const { return left_.empty(); }

    U8 u8() {
        Octets const in = octets(1);
        return in.empty() ? U8{0} : in[0];
    }

    U16 u16() {
        Octets const in = octets(2);
        return in.empty() ? U16{0} : static_cast<U16>(in[0] << 8 | in[1]);
    }

    U32 u32() {
        Octets const in = octets(4);
        return in.empty() ? 0U : U32{in[0]} << 24 | U32{in[1]} << 16 | U32{in[2]} << 8 | U32{in[3]};
    }

    /// Takes the next `count` octets. If fewer are left, returns an empty span and makes `ok()`
    /// false.
    Octets octets(std::size_t count) {
        if (count > left_.size()) {
            ok_ = false;
            left_ = {};
            return {};
        }
        Octets const taken = left_.first(count);
        left_ = left_.subspan(count);
        return taken;
    }

    /// Takes all octets that are left.
    Octets rest() { return octets(left_.size()); }

  private:
    Octets left_;
    bool ok_ = true;
};

} // namespace BgpCommunities
