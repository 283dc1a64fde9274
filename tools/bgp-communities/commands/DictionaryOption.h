#pragma once

#include <string_view>

#include "CommandLine.h"
#include "text/Dictionary.h"

namespace BgpCommunities {

/** Of every command that prints communities; may be given more than once. */
inline constexpr Option dictionaryOption = {"--dictionary", Takes::file};

/** What the files of all --dictionary say; empty without any. Bad lines are named on standard error
    and skipped. Throws InputError. */
Dictionary dictionary(Arguments const& arguments);

} // namespace BgpCommunities
