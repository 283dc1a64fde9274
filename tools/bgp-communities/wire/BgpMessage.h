#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Nlri.h"
#include "PathAttributes.h"
#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// A BGP message (RFC 4271, section 4.1). `body` points into the input and is not owned.
struct BgpMessage {
    static constexpr U8 open = 1;
    static constexpr U8 update = 2;

    U8 type = 0;
    std::size_t length = 0; // of the whole message, from its header
    bool whole = false;     // the input has that many octets
    Octets body;            // after the header; empty if not `whole`
};

inline constexpr std::size_t bgpHeaderOctets = 19;

/// Appends the header of a message whose body has so many octets.
void appendBgpHeader(std::string& out, U8 type, std::size_t bodyOctets);

/// Reads one message; returns false if the input is too short for a header.
bool readMessage(OctetReader& in, BgpMessage& message);

/// The three fields of variable length in an UPDATE (RFC 4271, section 4.3).
struct UpdateAreas {
    Octets withdrawn;
    Octets attributes;
    Octets announced;
};

/// Returns false if the UPDATE is too short for its own length fields.
bool splitUpdate(Octets update, UpdateAreas& areas);

/// Which NLRI fields of one UPDATE carry path identifiers (RFC 7911).
struct PathIds {
    bool ipv4 = false;      // withdrawn and announced routes outside of attributes
    bool mpReach = false;   // MP_REACH_NLRI
    bool mpUnreach = false; // MP_UNREACH_NLRI
};

/// The parsed attributes and routes of one UPDATE.
///
/// Owns its arrays and reuses them for the next message; their elements point into the message.
/// Thread-compatible.
class UpdateContent {
  public:
    /// Parses the body of an UPDATE as far as possible. Returns false and parses nothing if it is
    /// too short for its own length fields.
    bool read(Octets update, PathIds pathIds);

    [[nodiscard]] AttributeArea const& attributes() const { return attributes_; }

    /// The area that `attributes()` was read from; not owned.
    [[nodiscard]] Octets attributeOctets() const { return attributeOctets_; }

    /// From the message itself and from MP_UNREACH_NLRI.
    [[nodiscard]] std::vector<Route> const& withdrawn() const { return withdrawn_; }

    /// From the message itself and from MP_REACH_NLRI.
    [[nodiscard]] std::vector<Route> const& announced() const { return announced_; }

    /// Why not all routes could be parsed; empty if they were.
    [[nodiscard]] std::string_view routesFault() const { return routesFault_; }

    /// The family whose End-of-RIB marker the message is (RFC 4724, section 2): no routes, and no
    /// attribute but an empty MP_UNREACH_NLRI, or none at all for IPv4 unicast.
    [[nodiscard]] std::optional<Family> endOfRib() const;

  private:
    std::string_view readWithdrawn(Octets nlri, PathIds pathIds);
    std::string_view readAnnounced(Octets nlri, PathIds pathIds);

    AttributeArea attributes_;
    Octets attributeOctets_;
    std::vector<Route> withdrawn_;
    std::vector<Route> announced_;
    std::string_view routesFault_;
};

} // namespace BgpCommunities
