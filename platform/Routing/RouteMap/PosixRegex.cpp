#include <Routing/RouteMap/PosixRegex.h>

#include <string>

namespace Routing::RouteMap {

namespace {

[[noreturn]] void fail(int error, regex_t const* regex) {
    // The size that regerror() returns includes a NUL, for which a string has room of its own.
    std::string text(regerror(error, regex, nullptr, 0) - 1, '\0');
    regerror(error, regex, text.data(), text.size() + 1);
    throw PosixRegexException(text);
}

} // namespace

PosixRegexException::~PosixRegexException() = default;

PosixRegex::PosixRegex(Mox::String const& pattern) {
    // Compiling would end at a NUL and leave an expression that nobody wrote.
    if (std::string_view(pattern).find('\0') != std::string_view::npos) {
        fail(REG_BADPAT, nullptr);
    }
    if (int const error = regcomp(&regex_, pattern.c_str(), REG_EXTENDED | REG_NOSUB); error != 0) {
        fail(error, &regex_);
    }
}

PosixRegex::~PosixRegex() {
    regfree(&regex_);
}

int PosixRegex::execute(char const* text) const noexcept {
    return regexec(&regex_, text, 0, nullptr, 0);
}

} // namespace Routing::RouteMap
