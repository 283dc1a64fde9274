#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// Replaces a four-octet AS number in a two-octet field (RFC 6793).
inline constexpr U32 asTrans = 23456;

/// Octets per AS number in an AS_PATH. Given by the session or the MRT record type, not by the
/// attribute.
enum class AsWidth : U8 { two = 2, four = 4 };

/// One segment of an AS path (RFC 4271, section 4.3; RFC 5065, section 3). `numbers` points into
/// the attribute and is not owned.
struct AsPathSegment {
    enum class Type : U8 { set = 1, sequence = 2, confedSequence = 3, confedSet = 4 };

    Type type = Type::sequence;
    AsWidth width = AsWidth::four;
    Octets numbers; // AS numbers of `width` octets each

    [[nodiscard]] std::size_t size() const {
        return numbers.size() / static_cast<std::size_t>(width);
    }

    /// What the segment adds to the path length: a set counts as 1, a confederation segment as 0
    /// (RFC 4271, section 9.1.2.2; RFC 5065, section 5.3).
    [[nodiscard]] std::size_t length() const;
};

/// Iterates over the segments of an AS_PATH or AS4_PATH value.
///
///     type (1) | number of ASes (1) | ASes (2 or 4 each)
///
/// Stops at the end or at the first malformed segment. Owns nothing. Thread-compatible.
class AsPathReader {
  public:
    AsPathReader(Octets value, AsWidth width)
      : in_(value)
      , width_(width) {}

    /// Reads the next segment; returns false at the end or on a fault.
    bool next(AsPathSegment& segment);

    /// After `next()` returned false: the fault; empty if the value is well-formed.
    [[nodiscard]] std::string_view fault() const { return fault_; }

  private:
    OctetReader in_;
    AsWidth width_;
    std::string_view fault_;
};

/// The AS path of a route, unparsed. The spans point into the attributes and are not owned.
///
/// If AS_PATH has two-octet AS numbers, AS4_PATH contains the four-octet numbers of the last part
/// of the path (RFC 6793, section 4.2.3). The functions below merge the two.
struct AsPath {
    Octets value; // of AS_PATH
    AsWidth width = AsWidth::four;
    Octets as4Path; // of AS4_PATH; empty if not to be merged
};

/// Returns the fault of the AS_PATH value; empty if it is well-formed.
std::string_view faultOf(AsPath const& path);

/// Appends the path as "64496 64497 {64498,64499}": sets in braces, confederation sequences in
/// parentheses, confederation sets in brackets. Appends nothing for an empty path. REQUIRES: the
/// path has no fault.
void appendText(std::string& out, AsPath const& path);

/// Returns the path length as compared in route selection: see `AsPathSegment::length()`. REQUIRES:
/// the path has no fault.
std::size_t lengthOf(AsPath const& path);

/// Returns the AS that originated the route, the last of the path; none if the path is empty or
/// ends with a set. REQUIRES: the path has no fault.
std::optional<U32> originAs(AsPath const& path);

} // namespace BgpCommunities
