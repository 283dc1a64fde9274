#pragma once

#include <string>
#include <string_view>

#include "input/IntegerTypes.h"

namespace BgpCommunities {

/// A point in time: microseconds since 1970, UTC, without leap seconds.
using Microseconds = U64;

/// The current time.
Microseconds currentTime();

/// Appends "2015-09-22T12:00:00Z", or "2015-09-22T12:00:00.000042Z" with microseconds (RFC 3339).
void appendTime(std::string& out, Microseconds time);

/// Parses the format of appendTime() with any offset from UTC; a date, or a date and a time without
/// an offset, in UTC; or seconds since 1970, optionally with a fraction.
///
/// Returns an error message, empty on success.
std::string_view readTime(std::string_view text, Microseconds& time);

} // namespace BgpCommunities
