#pragma once

#include <Mox/Types.h>

#include <string_view>

namespace Routing::Bgp::Rpki {

/// The result of validating a route's origin AS against the RPKI (RFC 6811), as encoded in the last
/// octet of the origin validation state extended community (RFC 8097).
enum class OriginValidationState : Mox::U32 {
    valid = 0,
    notFound = 1,
    invalid = 2,
};

/// Returns the name of a state; empty if unknown.
constexpr std::string_view nameOf(OriginValidationState state) noexcept {
    switch (state) {
    case OriginValidationState::valid:
        return "valid";
    case OriginValidationState::notFound:
        return "not-found";
    case OriginValidationState::invalid:
        return "invalid";
    }
    return {};
}

} // namespace Routing::Bgp::Rpki
