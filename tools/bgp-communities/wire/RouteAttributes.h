#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "AsPath.h"
#include "IpAddress.h"
#include "Nlri.h"
#include "PathAttributes.h"
#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// Type numbers of the path attributes that RouteAttributes reads.
struct AttributeType {
    static constexpr U8 origin = 1;
    static constexpr U8 asPath = 2;
    static constexpr U8 nextHop = 3;
    static constexpr U8 med = 4;
    static constexpr U8 localPref = 5;
    static constexpr U8 aggregator = 7;
    static constexpr U8 as4Path = 17;
    static constexpr U8 as4Aggregator = 18;
};

/// The unparsed path attributes of one UPDATE or RIB entry. `area` points into the record and is
/// not owned.
struct AttributeOctets {
    Octets area;                     // all attributes, with headers
    AsWidth asWidth = AsWidth::four; // of AS_PATH and AGGREGATOR
};

/// A malformed path attribute. `value` is not owned.
struct AttributeFault {
    U8 type = 0;             // 0 if truncated before the type
    bool truncated = false;  // runs past the end of the attributes
    Octets value;            // without flags, type and length
    std::string_view reason; // a string literal
};

/// The parsed AS_PATH, ORIGIN, next hop, MED and LOCAL_PREF of a route.
///
/// Constructed from AttributeOctets on demand. Owns and allocates nothing: its spans point into the
/// record. Thread-compatible. The first of duplicate attributes is used (RFC 7606). A malformed
/// attribute is absent and listed in `faults()`, and so is a truncated attribute of any type.
class RouteAttributes {
  public:
    enum class Origin : U8 { igp = 0, egp = 1, incomplete = 2 };

    RouteAttributes() = default;
    explicit RouteAttributes(AttributeOctets const& octets);

    /// Absent without an AS_PATH attribute. A path without segments is present but empty.
    [[nodiscard]] std::optional<AsPath> const& asPath() const { return asPath_; }

    [[nodiscard]] std::optional<Origin> origin() const { return origin_; }

    [[nodiscard]] std::optional<U32> med() const { return med_; }

    [[nodiscard]] std::optional<U32> localPref() const { return localPref_; }

    /// The next hop of a route: from NEXT_HOP for a route in the UPDATE itself, otherwise from
    /// MP_REACH_NLRI if that has the family of the route; no address if missing or of unknown
    /// length. The global address if MP_REACH_NLRI also has a link-local one, without the route
    /// distinguisher of VPN families.
    [[nodiscard]] IpAddress nextHop(Route const& route) const;

    [[nodiscard]] std::span<AttributeFault const> faults() const {
        return std::span(faults_).first(faultCount_);
    }

  private:
    struct Found;

    void readAsPath(Found const& found, AsWidth width);
    [[nodiscard]] Octets as4PathOf(Found const& found);
    void readOrigin(PathAttribute const& attribute);
    void readNextHop(PathAttribute const& attribute);
    void readMpReach(PathAttribute const& attribute);
    void readNumber(PathAttribute const& attribute, std::optional<U32>& number);
    void addFault(PathAttribute const& attribute, std::string_view reason, bool truncated = false);

    std::optional<AsPath> asPath_;
    std::optional<Origin> origin_;
    std::optional<U32> med_;
    std::optional<U32> localPref_;
    IpAddress nextHop_;
    IpAddress mpNextHop_;
    std::optional<Family> mpFamily_;       // absent in the short form of MP_REACH_NLRI (RFC 6396)
    std::array<AttributeFault, 8> faults_; // one for each attribute, and a truncated one
    std::size_t faultCount_ = 0;
};

/// "IGP", "EGP" or "INCOMPLETE".
std::string_view nameOf(RouteAttributes::Origin origin);

} // namespace BgpCommunities
