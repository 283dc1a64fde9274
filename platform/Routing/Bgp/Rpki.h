#pragma once

#include <Mox/Types.h>

namespace Routing::Bgp::Rpki {

/// The result of validating a route's origin AS against the RPKI (RFC 6811), as encoded in the last
/// octet of the origin validation state extended community (RFC 8097).
enum class OriginValidationState : Mox::U32 {
    valid = 0,
    notFound = 1,
    invalid = 2,
};

} // namespace Routing::Bgp::Rpki
