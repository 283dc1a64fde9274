#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "BgpMessage.h"
#include "IpAddress.h"
#include "Nlri.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/** Whether the NLRI of UPDATEs carry path identifiers (RFC 7911). */
enum class AddPath : std::uint8_t {
    automatic, // decided for each message and family
    yes,
    no,
};

/** The speakers of a session; messages go from one to the other. */
struct MessageEnds {
    IpAddress sender;
    IpAddress receiver;

    auto operator<=>(MessageEnds const&) const = default;
};

/**
 * Decides which NLRI of UPDATEs carry path identifiers.
 *
 * What the recorder of a message says about it (in MRT the record's subtype, RFC 8050) is not
 * enough: some routers record every message of a session as one with path identifiers as soon as
 * one family has them, others never do. The decision for one sender, receiver and family comes
 * from, in this order:
 * - the OPENs of the session: a family has path identifiers if the sender can send and the receiver
 *   can receive them (RFC 7911, section 4). One OPEN is enough to rule them out;
 * - what earlier messages showed, unless this one can only be read the other way;
 * - the better of both readings: one that uses up the NLRI, has no bits beyond a prefix's length,
 *   no duplicates, and no prefixes that nobody announces;
 * - the recorder.
 *
 * REQUIRES: the messages of a session arrive in the order in which they were sent.
 * Owns its memory, which is bounded; what it learned of a session is dropped when the session ends.
 * Thread-compatible.
 */
class AddPathDecider {
  public:
    explicit AddPathDecider(AddPath mode)
      : mode_(mode) {}

    /** Decides for an UPDATE, and learns from it or from an OPEN. Malformed messages teach
        nothing. `recorded`: what the recorder says. */
    PathIds decide(MessageEnds const& ends, BgpMessage const& message, bool recorded);

    /** Forgets what both speakers said. */
    void endSession(MessageEnds const& ends);

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

    /** One NLRI field of the UPDATE at hand. */
    struct Field {
        Family family;
        Octets nlri;
        bool withdrawn = false;
        bool* pathIds = nullptr; // where the decision goes
    };

    enum class Reading : std::uint8_t { impossible, doubtful, plausible };

    PathIds decideUpdate(MessageEnds const& ends, Octets update, bool recorded);
    void splitFields(Octets update, PathIds& decision);
    bool decideFamily(MessageEnds const& ends, Family family, bool recorded);
    [[nodiscard]] Reading read(Family family, bool pathIds);
    [[nodiscard]] Reading read(Field const& field, bool pathIds);
    [[nodiscard]] std::optional<bool> decideByOpens(MessageEnds const& ends, Family family) const;
    void openIs(MessageEnds const& ends, Octets open);
    Speaker& speaker(MessageEnds const& ends);
    static void habitIs(Speaker& speaker, Family family, bool pathIds);
    [[nodiscard]] static std::optional<bool> habit(Speaker const& speaker, Family family);

    AddPath const mode_;
    std::map<MessageEnds, Speaker> speakers_;
    std::vector<Field> fields_;  // of the UPDATE at hand
    std::vector<Octets> pieces_; // of the field at hand
};

} // namespace BgpCommunities
