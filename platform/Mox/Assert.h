#pragma once

#include <Mox/Export.h>

namespace Mox {

/// Writes `FILE:LINE: FUNCTION: Assertion 'TEXT' failed.` to standard error in one write, then
/// aborts. Called by the macros below.
[[noreturn]] VOBGP_EXPORT void assertionFailed(char const* file, int line, char const* function,
                                               char const* text) noexcept;

} // namespace Mox

/// Asserts a contract with a fixed text that differs from the condition. Checked in every build
/// type.
#define MOX_ASSERT_TEXT(condition, text)                                                           \
    (__builtin_expect(static_cast<bool>(condition), 1)                                             \
         ? static_cast<void>(0)                                                                    \
         : ::Mox::assertionFailed(__FILE__, __LINE__, __func__, text))

/// Asserts a contract. Only for bugs of the caller, never for input.
#define MOX_ASSERT(condition) MOX_ASSERT_TEXT(condition, #condition)
