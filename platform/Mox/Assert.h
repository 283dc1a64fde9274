#pragma once

#include <Mox/Export.h>

namespace Mox {

/// Writes `FILE:LINE: FUNCTION: Assertion 'TEXT' failed.` to standard error in one piece and
/// aborts. Called by the macros below.
[[noreturn]] VOBGP_EXPORT void assertionFailed(char const* file, int line, char const* function,
                                               char const* text) noexcept;

} // namespace Mox

/// A contract whose text is published in other words than the condition is spelled in.
/// Contracts are checked in every build type.
#define MOX_ASSERT_TEXT(condition, text)                                                           \
    (__builtin_expect(static_cast<bool>(condition), 1)                                             \
         ? static_cast<void>(0)                                                                    \
         : ::Mox::assertionFailed(__FILE__, __LINE__, __func__, text))

/// A contract: a caller's bug, never the content of a message.
#define MOX_ASSERT(condition) MOX_ASSERT_TEXT(condition, #condition)
