#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>

#include "wire/IpAddress.h"
#include "wire/Nlri.h"
#include "wire/PathAttributes.h"
#include "wire/RouteAttributes.h"

namespace BgpCommunities {

/** Where in a dump something was found, and when that was recorded; a plain value. */
struct RecordPosition {
    std::uint64_t number = 0;       // of the MRT record, from 1
    std::uint64_t offset = 0;       // of its first octet in the plain (decompressed) stream
    std::uint32_t seconds = 0;      // since 1970, UTC
    std::uint32_t microseconds = 0; // BGP4MP_ET only

    /** Microseconds since 1970, UTC. */
    [[nodiscard]] std::uint64_t time() const {
        return std::uint64_t{seconds} * 1000000 + microseconds;
    }
};

/**
 * One BGP UPDATE message. Its spans point into the reader's memory and are good only until the
 * handler returns. Thread-compatible.
 */
struct Update {
    RecordPosition at;
    Peer peer;                     // the collector's neighbour
    bool sentByUs = false;         // the local forms: sent to the peer, not received from it
    bool brokenAttributes = false; // the area is cut: what stands before the fault is here
    std::span<CommunityAttribute const> communities; // in the order sent
    AttributeOctets attributes;                      // for RouteAttributes, which parses the others
    std::span<Route const> withdrawn;                // of the message and of MP_UNREACH_NLRI
    std::span<Route const> announced;                // of the message and of MP_REACH_NLRI
    Octets body;                                     // the message without its header
};

/** Routes with such attributes are treated as withdrawn (RFC 7606, section 2): the area is cut, or an
    attribute of communities, the first of its type, is malformed. */
template <class Carrier>
bool treatsAsWithdrawn(Carrier const& carrier) {
    return carrier.brokenAttributes ||
           std::any_of(carrier.communities.begin(), carrier.communities.end(),
                       [](CommunityAttribute const& attribute) {
                           return attribute.repetition == 0 &&
                                  attribute.form() != CommunityAttribute::Form::wellFormed;
                       });
}

/** What one peer had to say about one prefix in a table dump; otherwise as Update. */
struct RibEntry {
    RecordPosition at;
    Peer peer; // without address if the dump does not tell
    bool brokenAttributes = false;
    std::span<CommunityAttribute const> communities;
    AttributeOctets attributes;
    std::uint32_t originated = 0; // when the peer sent it: seconds since 1970, UTC
    Route route;
};

/** A change of the state of a peer; the states are those of RFC 4271, from 1 (Idle) to 6
    (Established). A peer that leaves 6 takes its routes with it. */
struct StateChange {
    static constexpr std::uint16_t established = 6;

    RecordPosition at;
    Peer peer;
    std::uint16_t oldState = 0;
    std::uint16_t newState = 0;
};

enum class ProblemKind : std::uint8_t {
    brokenRecord,        // what the record says about itself is not so
    brokenUpdate,        // too short for its own length fields; nothing of it is delivered
    brokenAttributeArea, // an attribute runs past the end; those before it are delivered
    brokenRoutes,        // NLRI that cannot be read to its end; the routes before are delivered
    emptyAttribute,      // an attribute of communities without a member; delivered as it is
    malformedAttribute,  // one whose length is no multiple of a member's; delivered as it is
    truncatedRecord,     // the input ends in the middle of a record
    damagedInput,        // compressed data are damaged, truncated or followed by other octets
};

/** Something malformed, and where. */
struct Problem {
    ProblemKind kind;
    std::string const& file;
    RecordPosition at;
    std::string reason; // one line, without file and position
};

/**
 * Who is told what a dump holds. MrtReader calls, in the order of the dump, on the thread that
 * reads; the handler owns nothing of what it is given and copies what it wants to keep. What it
 * throws passes through the reader. It is told of a problem in an UPDATE or a RIB entry before
 * it is given what was read of that.
 */
class RouteHandler {
  public:
    virtual ~RouteHandler() = default;

    virtual void handleUpdate(Update const& /*update*/) {}

    virtual void handleRibEntry(RibEntry const& /*entry*/) {}

    virtual void handleStateChange(StateChange const& /*change*/) {}

    virtual void handleProblem(Problem const& problem) = 0;
};

} // namespace BgpCommunities
