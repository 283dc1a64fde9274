#pragma once

#include <cstdint>

#include "RecordContext.h"
#include "wire/BgpMessage.h"

namespace BgpCommunities {

/**
 * Reads the BGP4MP and BGP4MP_ET records of one dump: peers, their states and messages.
 *
 * It owns the memory for the routes and attributes of one message, which it uses again for the
 * next. Thread-compatible.
 */
class Bgp4mpReader {
  public:
    /** Reads one record of a subtype that is read; `body` begins after the microseconds. */
    void read(RecordContext const& record, std::uint16_t subtype, Octets body, PathIds pathIds);

  private:
    void readMessage(RecordContext const& record, OctetReader& in, PathIds pathIds);
    void readUpdate(RecordContext const& record, Octets message, PathIds pathIds);

    Update update_;
    UpdateContent content_;
};

} // namespace BgpCommunities
