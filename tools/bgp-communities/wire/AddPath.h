#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "IpAddress.h"
#include "Nlri.h"
#include "input/OctetReader.h"
#include "mrt/Bgp4mp.h"

namespace BgpCommunities {

/** Whether the NLRI of UPDATEs carry path identifiers (RFC 7911). */
enum class AddPath : std::uint8_t {
    automatic, // decided for each message and family
    yes,
    no,
};

/** Which fields of one UPDATE carry path identifiers; a plain value. */
struct PathIds {
    bool ipv4 = false;      // the withdrawn and announced routes of the message itself
    bool mpReach = false;   // MP_REACH_NLRI
    bool mpUnreach = false; // MP_UNREACH_NLRI
};

/**
 * Decides which NLRI of the UPDATEs in one dump carry path identifiers.
 *
 * The record's subtype (RFC 8050) is not enough: some routers record every message of a session as
 * an ADDPATH one as soon as one family has path identifiers, others never do. The decision for one
 * sender, receiver and family comes from, in this order:
 * - the OPENs of the session in the dump: a family has path identifiers if the sender can send and
 *   the receiver can receive them (RFC 7911, section 4). One OPEN is enough to rule them out;
 * - what earlier messages showed, unless this one can only be read the other way;
 * - the better of both readings: one that uses up the NLRI, has no bits beyond a prefix's length,
 * no duplicates, and no prefixes that nobody announces;
 * - the record's subtype.
 *
 * It must see the records of a dump in their order. Owns its memory, which is bounded; what it
 * learned of a session is dropped when the session ends. Thread-compatible.
 */
class AddPathDecider {
  public:
    explicit AddPathDecider(AddPath mode)
      : mode_(mode) {}

    /** Decides for a BGP4MP record; `body` begins after the microseconds. Malformed ones teach
        nothing. */
    PathIds decide(std::uint16_t subtype, Octets body);

  private:
    /** What is known of the messages from one speaker to another. */
    struct Speaker {
        struct Offer {
            Family family;
            bool sends = false;
            bool receives = false;
        };

        struct Habit {
            Family family;
            bool pathIds = false;
        };

        bool hasOpen = false;
        std::vector<Offer> offers; // of its OPEN
        std::vector<Habit> habits; // shown by its messages
    };

    using Ends = std::pair<IpAddress, IpAddress>; // sender, receiver

    /** One NLRI field of the UPDATE at hand. */
    struct Field {
        Family family;
        Octets nlri;
        bool withdrawn = false;
        bool* pathIds = nullptr; // where the decision goes
    };

    enum class Reading : std::uint8_t { impossible, doubtful, plausible };

    PathIds decideUpdate(Ends const& ends, Octets update, bool recordSays);
    void splitFields(Octets update, PathIds& decision);
    bool decideFamily(Ends const& ends, Family family, bool recordSays);
    [[nodiscard]] Reading read(Family family, bool pathIds);
    [[nodiscard]] Reading read(Field const& field, bool pathIds);
    [[nodiscard]] std::optional<bool> decideByOpens(Ends const& ends, Family family) const;
    void openIs(Ends const& ends, Octets open);
    void endSession(Ends const& ends);
    Speaker& speaker(Ends const& ends);
    static void habitIs(Speaker& speaker, Family family, bool pathIds);
    [[nodiscard]] static std::optional<bool> habit(Speaker const& speaker, Family family);

    AddPath const mode_;
    std::map<Ends, Speaker> speakers_;
    std::vector<Field> fields_;  // of the UPDATE at hand
    std::vector<Octets> pieces_; // of the field at hand
};

} // namespace BgpCommunities
