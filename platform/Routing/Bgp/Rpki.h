#pragma once

#include <Mox/Types.h>

namespace Routing::Bgp::Rpki {

/// Whether the origin AS of a route is the one that the RPKI allows (RFC 6811), as the last octet
/// of the origin validation state extended community carries it (RFC 8097).
enum class OriginValidationState : Mox::U32 {
    valid = 0,
    notFound = 1,
    invalid = 2,
};

} // namespace Routing::Bgp::Rpki
