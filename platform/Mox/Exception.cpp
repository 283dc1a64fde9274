#include <Mox/Exception.h>

namespace Mox {

// Defined here so that each class has its type information in one library and exceptions can be
// caught across library boundaries.
Exception::~Exception() = default;
RangeException::~RangeException() = default;
NonDeletableAttributeException::~NonDeletableAttributeException() = default;
NullMutatorArgumentException::~NullMutatorArgumentException() = default;

ParseException::ParseException(std::string_view expected, std::size_t offset, bool outOfRange)
  : Exception("expected " + std::string(expected) + " at offset " + std::to_string(offset))
  , expected_(expected)
  , offset_(offset)
  , outOfRange_(outOfRange) {}

ParseException::~ParseException() = default;

} // namespace Mox
