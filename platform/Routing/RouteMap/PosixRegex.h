#pragma once

#include <Mox/Exception.h>
#include <Mox/Export.h>
#include <Mox/String.h>

#include <regex.h>

namespace Routing::RouteMap {

/// A pattern that is no regular expression; `what()` is the text that POSIX has for the fault.
class VOBGP_EXPORT PosixRegexException : public Mox::Exception {
  public:
    using Exception::Exception;
    ~PosixRegexException() override;
};

/// A compiled POSIX extended regular expression.
///
/// Owned by the policy that holds it; owns what the C library compiled. Immutable: any thread may
/// match with it.
class VOBGP_EXPORT PosixRegex {
  public:
    /// Throws PosixRegexException.
    explicit PosixRegex(Mox::String const& pattern);
    ~PosixRegex();
    PosixRegex(PosixRegex const&) = delete;
    PosixRegex& operator=(PosixRegex const&) = delete;

    /// 0 if the expression matches anywhere in the text, of any length and up to its first NUL.
    int execute(char const* text) const noexcept;
    int execute(Mox::String const& text) const noexcept { return execute(text.c_str()); }

  private:
    regex_t regex_;
};

} // namespace Routing::RouteMap
