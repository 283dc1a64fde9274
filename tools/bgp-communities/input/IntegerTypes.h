#pragma once

#include <Mox/Types.h>

namespace BgpCommunities {

using Mox::S64;
using Mox::U16;
using Mox::U32;
using Mox::U64;
using Mox::U8;

} // namespace BgpCommunities
