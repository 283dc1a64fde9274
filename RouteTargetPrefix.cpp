#include <VoBgp/RouteTargetPrefix.h>

#include <Mox/Assert.h>
#include <Mox/CharBuffer.h>
#include <Mox/Exception.h>
#include <Mox/Hash.h>

#include <algorithm>
#include <bit>

namespace Routing::Bgp {

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Attribute RouteTargetPrefix::prefixAttribute() noexcept {
    auto attribute =
        Mox::readOnlyAttribute<RouteTargetPrefix, &RouteTargetPrefix::prefix>("prefix");
    attribute.read = [](Mox::ValueReader& in, void* object) {
        try {
            static_cast<RouteTargetPrefix*>(object)->prefix_ =
                Mox::ValueText<RouteTarget>::read(in);
        } catch (Mox::ParseException const& error) {
            if (error.isOutOfRange()) {
                throw Mox::RangeException("prefix");
            }
            throw;
        }
    };
    return attribute;
}

Mox::Attribute RouteTargetPrefix::lengthAttribute() noexcept {
    // Not bitlenIs(): reading does not mask the prefix.
    return Mox::attribute<RouteTargetPrefix, &RouteTargetPrefix::bitlen,
                          &RouteTargetPrefix::lengthIs>("length");
}

Mox::Type const& RouteTargetPrefix::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::value, "Routing::Bgp::RouteTargetPrefix",
                                {prefixAttribute(), lengthAttribute()});
    return type;
}

namespace {
Mox::TypeRegistration const routeTargetPrefixRegistration(RouteTargetPrefix::staticType());
} // namespace

// ---- The prefix ---------------------------------------------------------------------------------

void RouteTargetPrefix::lengthIs(U8 length) {
    length_ = length;
    if (length > 64) {
        throw Mox::RangeException("RouteTargetPrefix::length < 0 or > 64 not allowed");
    }
}

void RouteTargetPrefix::bitlenIs(U32 bitlen) {
    MOX_ASSERT_TEXT((bitlen >> 8) == 0, "0 == ( bitlen >> 8 )");
    if (bitlen != length_) {
        lengthIs(static_cast<U8>(bitlen));
    }
    prefix_.valueIs(prefixBits() & mask(bitlen));
}

U8 RouteTargetPrefix::commonPrefixLen(RouteTargetPrefix const& other) const noexcept {
    auto const shorter = std::min(length_, other.length_);
    if (prefix_ == other.prefix_) {
        // Even if it is out of range.
        return shorter;
    }
    auto const commonBits = std::countl_zero(prefixBits() ^ other.prefixBits());
    return static_cast<U8>(std::min<int>(shorter, commonBits));
}

U64 RouteTargetPrefix::hash(U64 seed) const noexcept {
    auto const state = Mox::hashWord(seed ^ prefix_.hash());
    return Mox::hashWord(state ^ length_);
}

String RouteTargetPrefix::toStrep(bool asDot) const {
    Mox::LocalCharBuffer<42> out;
    prefix_.format(out, asDot);
    return out.append('/').appendDecimal(length_).string();
}

} // namespace Routing::Bgp
