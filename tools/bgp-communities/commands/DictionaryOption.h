#pragma once

#include "CommandLine.h"
#include "text/Dictionary.h"

namespace BgpCommunities {

/// Option of every command that prints communities; may be repeated.
inline constexpr Option dictionaryOption = {"--dictionary", Takes::file};

/// Reads the dictionaries of all --dictionary options. Malformed lines are reported on standard
/// error and skipped. Throws InputError.
Dictionary dictionary(Arguments const& arguments);

} // namespace BgpCommunities
