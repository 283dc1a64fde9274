#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "AsPath.h"
#include "IpAddress.h"
#include "Nlri.h"
#include "PathAttributes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/** Type numbers of the path attributes that RouteAttributes reads. */
struct AttributeType {
    static constexpr std::uint8_t origin = 1;
    static constexpr std::uint8_t asPath = 2;
    static constexpr std::uint8_t nextHop = 3;
    static constexpr std::uint8_t med = 4;
    static constexpr std::uint8_t localPref = 5;
    static constexpr std::uint8_t aggregator = 7;
    static constexpr std::uint8_t as4Path = 17;
};

/** The path attributes of one UPDATE or RIB entry, not parsed yet. Not owned: the span points into
    the record. A plain value. */
struct AttributeOctets {
    Octets area;                     // all attributes, with their headers
    AsWidth asWidth = AsWidth::four; // of AS_PATH and AGGREGATOR
};

/** A path attribute whose value cannot be read; not owned. */
struct AttributeFault {
    std::uint8_t type = 0;
    Octets value;            // without flags, type and length
    std::string_view reason; // a literal
};

/**
 * What the well-known attributes of a route say: AS_PATH, ORIGIN, next hop, MED, LOCAL_PREF.
 *
 * Parsed from AttributeOctets when somebody needs it. Owns nothing: its spans point into the
 * record. Allocates nothing. Thread-compatible. Of repeated attributes the first counts
 * (RFC 7606); one that is malformed is absent and listed in `faults()`.
 */
class RouteAttributes {
  public:
    enum class Origin : std::uint8_t { igp = 0, egp = 1, incomplete = 2 };

    RouteAttributes() = default;
    explicit RouteAttributes(AttributeOctets const& octets);

    /** Absent if there is no AS_PATH; a path without segments is present and empty. */
    [[nodiscard]] std::optional<AsPath> const& asPath() const { return asPath_; }

    [[nodiscard]] std::optional<Origin> origin() const { return origin_; }

    [[nodiscard]] std::optional<std::uint32_t> med() const { return med_; }

    [[nodiscard]] std::optional<std::uint32_t> localPref() const { return localPref_; }

    /**
     * The next hop of a route that is announced with these attributes, or no address. From NEXT_HOP
     * for a route in the message itself, else from MP_REACH_NLRI if it is of the route's family: no
     * address if its next hop has an unknown length. Of a global and a link-local address, the
     * global one; without the route distinguisher of VPN families.
     */
    [[nodiscard]] IpAddress nextHop(Route const& route) const;

    [[nodiscard]] std::span<AttributeFault const> faults() const {
        return std::span(faults_).first(faultCount_);
    }

  private:
    struct Found;

    void readAsPath(Found const& found, AsWidth width);
    void readOrigin(PathAttribute const& attribute);
    void readNextHop(PathAttribute const& attribute);
    void readMpReach(PathAttribute const& attribute);
    void readNumber(PathAttribute const& attribute, std::optional<std::uint32_t>& number);
    void faultIs(PathAttribute const& attribute, std::string_view reason);

    std::optional<AsPath> asPath_;
    std::optional<Origin> origin_;
    std::optional<std::uint32_t> med_;
    std::optional<std::uint32_t> localPref_;
    IpAddress nextHop_;
    IpAddress mpNextHop_;
    std::optional<Family> mpFamily_;       // absent from the short form of MP_REACH_NLRI (RFC 6396)
    std::array<AttributeFault, 6> faults_; // one for each attribute
    std::size_t faultCount_ = 0;
};

/** "IGP", "EGP" or "INCOMPLETE". */
std::string_view nameOf(RouteAttributes::Origin origin);

} // namespace BgpCommunities
