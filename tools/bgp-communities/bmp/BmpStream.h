#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "BmpMessage.h"
#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// Splits the octets of one BMP session into messages.
///
///     version (1) | message length (4) | type (1) | body             RFC 7854, section 4.1
///
/// Owns only the octets of an incomplete message. Memory grows with the octets that arrive, never
/// with a length field. Thread-compatible.
class BmpStream {
  public:
    /// A message longer than `maxMessageOctets` is a fault.
    explicit BmpStream(std::size_t maxMessageOctets)
      : maxOctets_(maxMessageOctets) {}

    /// Adds received octets and calls `take(message)` for each message completed by them; the
    /// message is valid during the call. Returns false on a fault, see `fault()`; nothing more can
    /// be read then.
    template <class Take>
    bool add(Octets octets, Take const& take) {
        if (partial_.empty()) {
            octets = takeAll(octets, take);
        } else {
            octets = complete(octets);
            if (isWhole(partial_)) {
                std::vector<U8> const whole = std::exchange(partial_, {});
                take(messageOf(whole));
                octets = takeAll(octets, take);
            }
        }
        if (fault_.empty()) {
            partial_.insert(partial_.end(), octets.begin(), octets.end());
        }
        return fault_.empty();
    }

    /// Why the octets are not BMP messages; empty if they are.
    [[nodiscard]] std::string const& fault() const { return fault_; }

    /// How many octets of an incomplete message have arrived.
    [[nodiscard]] std::size_t pendingOctets() const { return partial_.size(); }

  private:
    /// Takes all whole messages; returns the octets after them.
    template <class Take>
    Octets takeAll(Octets octets, Take const& take) {
        while (isWhole(octets)) {
            std::size_t const length = lengthOf(octets);
            take(messageOf(octets.first(length)));
            octets = octets.subspan(length);
        }
        return octets;
    }

    /// Whether a message is complete; false also on a fault.
    bool isWhole(Octets octets);
    /// Moves octets to `partial_` until its message is complete; returns the others.
    Octets complete(Octets octets);
    [[nodiscard]] static std::size_t lengthOf(Octets octets);
    [[nodiscard]] static BmpMessage messageOf(Octets octets);

    std::size_t const maxOctets_;
    std::vector<U8> partial_;
    std::string fault_;
};

} // namespace BgpCommunities
