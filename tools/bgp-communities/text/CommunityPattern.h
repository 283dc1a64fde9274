#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "input/OctetReader.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/**
 * The communities that somebody named on a command line: one, or all that a wildcard covers.
 *
 *     64496:300  64496:*  *:300     standard, and extended ones with that administrator and number
 *     no-export  NO_EXPORT          well-known
 *     64496:1:2  64496:*:*          large
 *     rt:64496:300  soo:192.0.2.1:* color:100  rt:2001:db8::1:100  mac-mobility:*
 *     2001:db8::1:100               IPv6-address-specific extended
 *     0xfde80064  0002fde800000064  octets, of any kind
 *     <RouteTarget2ByteASN ...>     a text that the library prints for an extended one
 *
 * A value once it has been read; thread-compatible.
 */
class CommunityPattern {
  public:
    /** Returns what is wrong with the text, or nothing. */
    std::string read(std::string_view text);

    /** Whether a member with these octets is covered. REQUIRES: as many as the kind has. */
    [[nodiscard]] bool covers(CommunityKind kind, Octets member) const;

    /** The text if it may be one that the library prints, which only the library can compare; else
        empty. */
    [[nodiscard]] std::string_view printed() const { return printed_; }

  private:
    static constexpr std::size_t maxOctets = 20;

    /** Covers what has the octets of `value` where `mask` is set. */
    struct Alternative {
        CommunityKind kind = CommunityKind::standard;
        std::array<std::uint8_t, maxOctets> value{};
        std::array<std::uint8_t, maxOctets> mask{};

        [[nodiscard]] bool covers(Octets member) const;
    };

    class Builder;

    std::vector<Alternative> alternatives_;
    std::string name_; // of a member, if it is to be compared with that
    std::string printed_;
};

} // namespace BgpCommunities
