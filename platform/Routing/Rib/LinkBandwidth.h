#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Export.h>
#include <Mox/String.h>

namespace Routing::Rib {

/// How the routing information base shows the bandwidth of a link. Thread-safe.
class VOBGP_EXPORT LinkBandwidth {
  public:
    /// Bits per second with a decimal unit and at most three decimals: `1.5 Gbps`. The unit is the
    /// greatest that leaves a whole number before the point, of `bps` to `Tbps`.
    ///
    /// A weighted one is not the capacity of a link but its share among the links of a route, a
    /// number without a unit. It is shown as it was sent: `weight 100`, also with at most three
    /// decimals.
    ///
    /// What the octets of a community hold need not be a sensible number: a negative one has its
    /// sign, others are `inf` and `nan`. There is never an exponent, and no negative zero.
    static Mox::String toStrep(float bytesPerSecond, bool weighted);

    /// Appends the same.
    static void format(Mox::CharBuffer& out, float bytesPerSecond, bool weighted);
};

} // namespace Routing::Rib
