#pragma once

#include <Mox/Export.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Mox {

/// Base of every exception that the platform and the library throw. `what()` is exactly the
/// text that it was constructed with.
class VOBGP_EXPORT Exception : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    ~Exception() override;
};

/// Thrown for a value outside the range of its type, an index outside its view, a number or name
/// that is not a member of its enumeration.
class VOBGP_EXPORT RangeException : public Exception {
  public:
    using Exception::Exception;
    ~RangeException() override;
};

/// Thrown on an attempt to delete an attribute that cannot be deleted; `what()` is the qualified
/// operation.
class VOBGP_EXPORT NonDeletableAttributeException : public Exception {
  public:
    using Exception::Exception;
    ~NonDeletableAttributeException() override;
};

/// Thrown for a null argument to an operation that stores it; `what()` is the qualified operation.
class VOBGP_EXPORT NullMutatorArgumentException : public Exception {
  public:
    using Exception::Exception;
    ~NullMutatorArgumentException() override;
};

/// Thrown for text that cannot be parsed. `what()` is `expected EXPECTED at offset OFFSET`, with
/// the offset in octets from the start of the text.
class VOBGP_EXPORT ParseException : public Exception {
  public:
    ParseException(std::string_view expected, std::size_t offset, bool outOfRange = false);
    ~ParseException() override;

    std::string const& expected() const noexcept { return expected_; }
    std::size_t offset() const noexcept { return offset_; }

    /// Whether the text is a well-formed number that is out of range.
    bool isOutOfRange() const noexcept { return outOfRange_; }

  private:
    std::string expected_;
    std::size_t offset_;
    bool outOfRange_;
};

} // namespace Mox
