#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "RecordContext.h"
#include "wire/AddPath.h"
#include "wire/Nlri.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/**
 * Reads the BGP4MP and BGP4MP_ET records of one dump: peers, their states and messages.
 *
 * It owns the memory for the routes and attributes of one message, which it uses again for the
 * next. Thread-compatible.
 */
class UpdateReader {
  public:
    /** The subtype is read; the others are the deprecated and the unassigned ones. */
    static bool reads(std::uint16_t subtype);

    /** Reads one record whose subtype `reads()`; `body` begins after the microseconds. */
    void read(RecordContext const& record, std::uint16_t subtype, Octets body, PathIds pathIds);

  private:
    void readMessage(RecordContext const& record, OctetReader& in, PathIds pathIds);
    void readUpdate(RecordContext const& record, Octets message, PathIds pathIds);
    std::string_view readWithdrawn(Octets nlri, PathIds pathIds);
    std::string_view readAnnounced(Octets nlri, PathIds pathIds);

    Update update_;
    AttributeArea area_;
    std::vector<Route> announced_;
    std::vector<Route> withdrawn_;
};

} // namespace BgpCommunities
