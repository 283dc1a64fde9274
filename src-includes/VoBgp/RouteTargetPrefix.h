#pragma once

#include <Mox/Export.h>
#include <Mox/Type.h>
#include <Routing/Bgp/RouteTarget.h>
#include <VoBgp/VoBgpMiscTypes.h>

#include <compare>

namespace Routing::Bgp {

/// The first bits of a route target; the remaining bits are zero. A key of a prefix tree.
///
///     bit    0                       length            63
///          +---------------------------+-----------------+
///          |          prefix           |        0        |
///          +---------------------------+-----------------+
///
/// Bits are counted from the most significant one of the route target's word. Ordered by prefix,
/// then length, so that a prefix comes before the longer ones over the same bits. A prefix parsed
/// from text keeps the bits beyond its length; a route target that does not fit in 64 bits throws a
/// `Mox::RangeException` for "prefix". Thread-compatible.
class VOBGP_EXPORT RouteTargetPrefix {
  public:
    constexpr RouteTargetPrefix() noexcept = default;

    /// The first `bitlen` bits of a route target. Throws as `bitlenIs()`.
    RouteTargetPrefix(RouteTarget prefix, U32 bitlen)
      : prefix_(prefix) {
        bitlenIs(bitlen);
    }

    constexpr RouteTarget prefix() const noexcept { return prefix_; }
    constexpr U64 prefixBits() const noexcept { return prefix_.value(); }
    constexpr U8 bitlen() const noexcept { return length_; }

    /// Sets the length and clears the bits beyond it. Throws `Mox::RangeException` for a length
    /// above 64, after setting it and leaving the bits unchanged. REQUIRES: the length fits in 8
    /// bits (asserted).
    void bitlenIs(U32 bitlen);

    /// Whether bit `i`, modulo 64, is set.
    constexpr bool extractBit(U32 i) const noexcept {
        return (prefixBits() >> (63 - i % 64) & 1) != 0;
    }

    /// The mask of the stored length; all bits for a length out of range. The argument is ignored.
    constexpr U64 mask(U32 /*len*/) const noexcept {
        constexpr auto allBits = ~U64{0};
        return length_ == 0 ? 0 : length_ >= 64 ? allBits : allBits << (64 - length_);
    }

    /// The number of common leading bits, at most the shorter length. For equal prefixes, the
    /// shorter length, even if out of range.
    U8 commonPrefixLen(RouteTargetPrefix const& other) const noexcept;

    U64 hash(U64 seed = 0) const noexcept;

    /// The route target's display form, `/`, and the length. `asDot` chooses the notation of AS
    /// numbers (RFC 5396).
    String toStrep(bool asDot = false) const;

    friend constexpr bool operator==(RouteTargetPrefix const&,
                                     RouteTargetPrefix const&) noexcept = default;
    friend constexpr auto operator<=>(RouteTargetPrefix const&,
                                      RouteTargetPrefix const&) noexcept = default;

    static Mox::Type const& staticType() noexcept;

  private:
    static Mox::Attribute prefixAttribute() noexcept;
    static Mox::Attribute lengthAttribute() noexcept;

    void lengthIs(U8 length);

    RouteTarget prefix_;
    U8 length_ = 0;
};

} // namespace Routing::Bgp
