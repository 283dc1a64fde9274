#pragma once

#include <compare>
#include <cstddef>
#include <map>
#include <optional>
#include <vector>

#include "BgpMessage.h"
#include "IpAddress.h"
#include "Nlri.h"
#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// Whether the NLRI of UPDATEs carry path identifiers (RFC 7911).
enum class AddPath : U8 {
    automatic, // decided for each message and family
    yes,
    no,
};

/// How reliable OPENs are that allow path identifiers. OPENs that rule them out always are.
enum class Opens : U8 {
    binding,
    evidence, // the recorder may omit the path identifiers: BMP of FRR 8 and GoBGP 3
};

/// The sender and the receiver of a message.
struct MessageEnds {
    IpAddress sender;
    IpAddress receiver;

    auto operator<=>(MessageEnds const&) const = default;
};

/// Decides which NLRI of UPDATEs carry path identifiers.
///
/// The recorder's mark (in MRT the record's subtype, RFC 8050) is unreliable: some routers mark
/// every message of a session once one family has path identifiers, others mark none. For each
/// sender, receiver and family the decision is based on, in this order:
/// - the OPENs of the session: a family has path identifiers if the sender can send and the
///   receiver can receive them (RFC 7911, section 4). One OPEN without them rules them out. With
///   `Opens::evidence`, OPENs that allow them only replace the recorder's mark;
/// - earlier messages, unless this one can only be parsed the other way;
/// - the better of both parses: one that consumes the NLRI exactly, without bits beyond a prefix
///   length, duplicates or implausible prefixes;
/// - the recorder's mark.
///
/// REQUIRES: messages of a session are passed in the order in which they were sent.
/// Memory is bounded; the state of a session is dropped when it ends. Thread-compatible.
class AddPathDecider {
  public:
    explicit AddPathDecider(AddPath mode, Opens opens = Opens::binding)
      : mode_(mode)
      , opens_(opens) {}

    /// Decides for an UPDATE, and learns from UPDATEs and OPENs. Malformed messages are ignored.
    /// `recorded` is the recorder's mark.
    PathIds decide(MessageEnds const& ends, BgpMessage const& message, bool recorded);

    /// Drops the state of the session, in both directions.
    void endSession(MessageEnds const& ends);

  private:
    /// What is known about messages from one speaker to another.
    struct Speaker {
        struct Offer {
            Family family;
            bool sends = false;
            bool receives = false;
        };

        struct Observation {
            Family family;
            bool pathIds = false;
        };

        bool hasOpen = false;
        std::vector<Offer> offers;             // of its OPEN
        std::vector<Observation> observations; // learned from its messages
    };

    /// One NLRI field of the current UPDATE.
    struct Field {
        Family family;
        Octets nlri;
        bool withdrawn = false;
        bool* pathIds = nullptr; // set to the decision
    };

    enum class Reading : U8 { impossible, doubtful, plausible };

    PathIds decideUpdate(MessageEnds const& ends, Octets update, bool recorded);
    void splitFields(Octets update, PathIds& decision);
    bool decideFamily(MessageEnds const& ends, Family family, bool recorded);
    [[nodiscard]] Reading read(Family family, bool pathIds);
    [[nodiscard]] Reading read(Field const& field, bool pathIds);
    [[nodiscard]] std::optional<bool> decideByOpens(MessageEnds const& ends, Family family) const;
    void learnOffers(MessageEnds const& ends, Octets open);
    Speaker& speaker(MessageEnds const& ends);
    static void addObservation(Speaker& speaker, Family family, bool pathIds);
    [[nodiscard]] static std::optional<bool> observed(Speaker const& speaker, Family family);

    AddPath mode_;
    Opens opens_;
    std::map<MessageEnds, Speaker> speakers_;
    std::vector<Field> fields_;  // of the current UPDATE
    std::vector<Octets> pieces_; // of the current field
};

} // namespace BgpCommunities
