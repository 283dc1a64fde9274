#pragma once

#include "RecordContext.h"
#include "input/IntegerTypes.h"
#include "wire/BgpMessage.h"

namespace BgpCommunities {

/// Parses BGP4MP and BGP4MP_ET records: state changes and BGP messages.
///
/// Owns the memory for the routes and attributes of one message and reuses it for the next.
/// Thread-compatible.
class Bgp4mpReader {
  public:
    /// Parses one record of a supported subtype. `body` starts after the microseconds.
    void read(RecordContext const& record, U16 subtype, Octets body, PathIds pathIds);

  private:
    void readMessage(RecordContext const& record, OctetReader& in, PathIds pathIds);
    void readUpdate(RecordContext const& record, Octets message, PathIds pathIds);

    Update update_;
    UpdateContent content_;
};

} // namespace BgpCommunities
