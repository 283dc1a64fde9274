#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "input/OctetReader.h"

namespace BgpCommunities {

/** How many octets an AS number takes in an AS_PATH: it depends on the session, or the type of the
    MRT record, not on the attribute. */
enum class AsWidth : std::uint8_t { two = 2, four = 4 };

/** One segment of an AS path (RFC 4271, section 4.3; RFC 5065, section 3). Not owned: `numbers`
    points into the attribute. */
struct AsPathSegment {
    enum class Type : std::uint8_t { set = 1, sequence = 2, confedSequence = 3, confedSet = 4 };

    Type type = Type::sequence;
    AsWidth width = AsWidth::four;
    Octets numbers; // AS numbers of `width` octets each

    [[nodiscard]] std::size_t size() const {
        return numbers.size() / static_cast<std::size_t>(width);
    }

    /** What the segment adds to the length of a path: a set counts once, a confederation not at all
        (RFC 4271, section 9.1.2.2; RFC 5065, section 5.3). */
    [[nodiscard]] std::size_t length() const;
};

/**
 * A walk over the segments of an AS_PATH or AS4_PATH value.
 *
 *     type (1) | number of ASes (1) | ASes (2 or 4 each)
 *
 * Owns nothing. Thread-compatible. Stops at the end, or before a segment that cannot be read.
 */
class AsPathReader {
  public:
    AsPathReader(Octets value, AsWidth width)
      : in_(value)
      , width_(width) {}

    /** Takes the next segment; false if there is none. */
    bool next(AsPathSegment& segment);

    /** After `next()` was false: what is wrong with the value, or nothing. */
    [[nodiscard]] std::string_view fault() const { return fault_; }

  private:
    OctetReader in_;
    AsWidth width_;
    std::string_view fault_;
};

/**
 * The AS path of a route, as its attributes hold it. Not owned: the spans point into the
 * attributes. A plain value.
 *
 * Where AS numbers have two octets, AS4_PATH has the four-octet numbers of the end of the path
 * (RFC 6793, section 4.2.3). The functions below merge the two.
 */
struct AsPath {
    Octets value; // of AS_PATH
    AsWidth width = AsWidth::four;
    Octets as4Path; // of AS4_PATH; empty unless it is to be merged
};

/** What is wrong with the value of AS_PATH, or nothing. */
std::string_view faultOf(AsPath const& path);

/**
 * Appends the path as "64496 64497 {64498,64499}": a set in braces, a sequence of a confederation
 * in parentheses, a set of one in brackets; nothing for an empty path.
 * REQUIRES: the path has no fault.
 */
void appendText(std::string& out, AsPath const& path);

/** The length that the selection of routes compares: see `AsPathSegment::length()`.
    REQUIRES: the path has no fault. */
std::size_t lengthOf(AsPath const& path);

/** The AS that originated the route: the last one of a path that ends with a sequence; none of a
    path that is empty or ends with a set. REQUIRES: the path has no fault. */
std::optional<std::uint32_t> originAs(AsPath const& path);

} // namespace BgpCommunities
