#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// A community, or several by wildcard, as given on a command line.
///
///     64496:300  64496:*  *:300     standard, and extended ones with that administrator and number
///     no-export  NO_EXPORT          well-known
///     64496:1:2  64496:*:*          large
///     rt:64496:300  soo:192.0.2.1:* color:100  rt:2001:db8::1:100  mac-mobility:*
///     2001:db8::1:100               IPv6-address-specific extended
///     0xfde80064  0002fde800000064  octets, of any kind
///     <RouteTarget2ByteASN ...>     a text that the library prints for an extended one
///
/// Thread-compatible.
class CommunityPattern {
  public:
    /// Parses a pattern. Returns an error message, empty on success.
    std::string read(std::string_view text);

    /// Whether a member with these octets matches. REQUIRES: `member` has the size of a member of
    /// this kind.
    [[nodiscard]] bool covers(CommunityKind kind, Octets member) const;

    /// The pattern if it may be a text printed by the library, which only the library can compare;
    /// otherwise empty.
    [[nodiscard]] std::string_view printed() const { return printed_; }

  private:
    static constexpr std::size_t maxOctets = 20;

    /// Matches members that equal `value` in the bits set in `mask`.
    struct Alternative {
        CommunityKind kind = CommunityKind::standard;
        std::array<U8, maxOctets> value{};
        std::array<U8, maxOctets> mask{};

        [[nodiscard]] bool covers(Octets member) const;
    };

    class Builder;

    std::vector<Alternative> alternatives_;
    std::string name_; // if not empty, must equal the name of the member
    std::string printed_;
};

} // namespace BgpCommunities
