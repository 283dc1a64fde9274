#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Export.h>
#include <Mox/String.h>

namespace Routing::Rib {

/// Formats link bandwidths. Thread-safe.
class VOBGP_EXPORT LinkBandwidth {
  public:
    /// Returns the bandwidth in bits per second with a decimal unit and at most three decimals:
    /// `1.5 Gbps`. The unit is the largest of `bps` to `Tbps` that gives a number of at least 1.
    ///
    /// A weighted bandwidth is not a capacity but a link's share among the links of a route. It has
    /// no unit and is printed as sent, also with at most three decimals: `weight 100`.
    ///
    /// Values from the wire may be any float: negative numbers keep their sign; infinities and NaN
    /// print as `inf` and `nan`. There is never an exponent or a negative zero.
    static Mox::String toStrep(float bytesPerSecond, bool weighted);

    /// Appends the same text to `out`.
    static void format(Mox::CharBuffer& out, float bytesPerSecond, bool weighted);
};

} // namespace Routing::Rib
