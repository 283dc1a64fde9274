#pragma once

#include <algorithm>
#include <span>
#include <string>

#include "input/IntegerTypes.h"
#include "wire/IpAddress.h"
#include "wire/Nlri.h"
#include "wire/PathAttributes.h"
#include "wire/RouteAttributes.h"

namespace BgpCommunities {

/// A position in a dump, and the time recorded there.
struct RecordPosition {
    U64 number = 0;       // of the MRT record, from 1
    U64 offset = 0;       // of its first octet in the decompressed stream
    U32 seconds = 0;      // since 1970, UTC
    U32 microseconds = 0; // BGP4MP_ET only

    /// Microseconds since 1970, UTC.
    [[nodiscard]] U64 time() const { return U64{seconds} * 1000000 + microseconds; }
};

/// One BGP UPDATE message. Its spans point into the reader's memory and are valid until the handler
/// returns.
struct Update {
    RecordPosition at;
    Peer peer;                     // the collector's neighbour
    bool sentByUs = false;         // sent to the peer, not received from it
    bool brokenAttributes = false; // truncated: only those before the fault are here
    std::span<CommunityAttribute const> communities; // in the order sent
    AttributeOctets attributes;                      // input of RouteAttributes
    std::span<Route const> withdrawn;                // from the message and MP_UNREACH_NLRI
    std::span<Route const> announced;                // from the message and MP_REACH_NLRI
    Octets body;                                     // the message without its header
};

/// Whether the routes are treated as withdrawn (RFC 7606, section 2): the attributes are truncated,
/// or the first community attribute of some type is malformed.
template <class Carrier>
bool treatsAsWithdrawn(Carrier const& carrier) {
    return carrier.brokenAttributes ||
           std::any_of(carrier.communities.begin(), carrier.communities.end(),
                       [](CommunityAttribute const& attribute) {
                           return attribute.repetition == 0 &&
                                  attribute.form() != CommunityAttribute::Form::wellFormed;
                       });
}

/// The route of one peer for one prefix in a table dump. Spans as in Update.
struct RibEntry {
    RecordPosition at;
    Peer peer; // no address if unknown
    bool brokenAttributes = false;
    std::span<CommunityAttribute const> communities;
    AttributeOctets attributes;
    U32 originated = 0; // when it was received: seconds since 1970, UTC
    Route route;
};

/// A change of the state of a peer, from 1 (Idle) to 6 (Established) as in RFC 4271. When a peer
/// leaves state 6, its routes are withdrawn.
struct StateChange {
    static constexpr U16 established = 6;

    RecordPosition at;
    Peer peer;
    U16 oldState = 0;
    U16 newState = 0;
};

enum class ProblemKind : U8 {
    brokenRecord,        // the record contradicts its length fields
    brokenUpdate,        // too short for its own length fields; not delivered
    brokenAttributeArea, // truncated attribute; those before it are delivered
    brokenRoutes,        // malformed NLRI; the routes before the fault are delivered
    emptyAttribute,      // an attribute without communities; delivered
    malformedAttribute,  // length is not a multiple of a member's; delivered
    truncatedRecord,     // the input ends in the middle of a record
    damagedInput,        // compressed data are damaged, truncated or have trailing data
};

/// A problem in the input, and its position.
struct Problem {
    ProblemKind kind;
    std::string const& file;
    RecordPosition at;
    std::string reason; // one line, without file and position
};

/// Receives the content of a dump. MrtReader calls it in the order of the dump, in the thread that
/// reads. The arguments are valid until the call returns. Exceptions propagate through the reader.
/// Problems of an UPDATE or a RIB entry are reported before it is delivered.
class RouteHandler {
  public:
    virtual ~RouteHandler() = default;

    virtual void handleUpdate(Update const& /*update*/) {}

    virtual void handleRibEntry(RibEntry const& /*entry*/) {}

    virtual void handleStateChange(StateChange const& /*change*/) {}

    virtual void handleProblem(Problem const& problem) = 0;
};

} // namespace BgpCommunities
