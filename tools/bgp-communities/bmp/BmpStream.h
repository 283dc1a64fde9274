#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "BmpMessage.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/**
 * Cuts the octets of one BMP session into messages.
 *
 *     version (1) | length of all of it (4) | type (1) | body             RFC 7854, section 4.1
 *
 * Owns the octets of the message that has not arrived completely, and no other memory: a session
 * between messages holds none. Grows with what arrives, never with a claimed length.
 * Thread-compatible.
 */
class BmpStream {
  public:
    /** Longer messages are a fault. */
    explicit BmpStream(std::size_t maxMessageOctets)
      : maxOctets_(maxMessageOctets) {}

    /**
     * Adds the octets that arrived next, and calls `take(message)` for each message that is now
     * whole; it is valid during the call. Returns false on a fault, after which nothing more can be
     * read: `fault()` says why.
     */
    template <class Take>
    bool add(Octets octets, Take const& take) {
        if (partial_.empty()) {
            octets = takeAll(octets, take);
        } else {
            octets = complete(octets);
            if (isWhole(partial_)) {
                std::vector<std::uint8_t> const whole = std::exchange(partial_, {});
                take(messageOf(whole));
                octets = takeAll(octets, take);
            }
        }
        if (fault_.empty()) {
            partial_.insert(partial_.end(), octets.begin(), octets.end());
        }
        return fault_.empty();
    }

    /** Why the octets are not BMP messages; empty if they are. */
    [[nodiscard]] std::string const& fault() const { return fault_; }

    /** How many octets of an incomplete message have arrived. */
    [[nodiscard]] std::size_t pendingOctets() const { return partial_.size(); }

  private:
    /** Takes all whole messages; returns the octets after them. */
    template <class Take>
    Octets takeAll(Octets octets, Take const& take) {
        while (isWhole(octets)) {
            std::size_t const length = lengthOf(octets);
            take(messageOf(octets.first(length)));
            octets = octets.subspan(length);
        }
        return octets;
    }

    /** A message is complete; false also on a fault. */
    bool isWhole(Octets octets);
    /** Moves octets to `partial_` until its message is complete; returns the others. */
    Octets complete(Octets octets);
    [[nodiscard]] static std::size_t lengthOf(Octets octets);
    [[nodiscard]] static BmpMessage messageOf(Octets octets);

    std::size_t const maxOctets_;
    std::vector<std::uint8_t> partial_;
    std::string fault_;
};

} // namespace BgpCommunities
