#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include "BmpMessage.h"
#include "wire/AddPath.h"
#include "wire/BgpMessage.h"
#include "wire/RouteAttributes.h"

namespace BgpCommunities {

/// A BGP UPDATE in a route monitoring message. Not owned: valid until the handler returns.
struct BmpUpdate {
    UpdateContent const& content;
    AttributeOctets attributes;
    Octets message; // with its header
    PathIds pathIds;
};

/// A router's description of itself in an initiation message. Not owned; untrusted octets.
struct BmpSystem {
    std::string_view name;
    std::string_view description;
};

/// Receives the messages of one BMP session from a BmpReader, in order, in the thread that reads.
/// Arguments are valid until the call returns. Exceptions propagate through the reader.
class BmpHandler {
  public:
    virtual ~BmpHandler() = default;

    /// Called first for every message, even a malformed one.
    virtual void handleMessage(BmpType /*type*/) {}

    virtual void handleSystem(BmpSystem const& /*system*/) {}

    /// `reason` is empty if missing.
    virtual void handleTermination(std::string_view /*reason*/) {}

    virtual void handlePeerUp(BmpPeer const& /*peer*/, BmpPeerUp const& /*up*/) {}

    /// All routes of the peer are withdrawn, in every view.
    virtual void handlePeerDown(BmpPeer const& /*peer*/, std::string_view /*reason*/) {}

    virtual void handleUpdate(BmpPeer const& /*peer*/, BmpUpdate const& /*update*/) {}

    /// Called for a message that is malformed or inconsistent with earlier ones. `reason` is one
    /// line.
    virtual void handleProblem(std::string const& reason) = 0;
};

/// Reads the messages of one BMP session (RFC 7854), with Adj-RIB-Out (RFC 8671) and Loc-RIB
/// (RFC 9069).
///
/// Remembers the peers that are up, and from their OPENs and UPDATEs which families of a view carry
/// path identifiers. A malformed message is reported and skipped, as are routes of a peer that is
/// not up (RFC 7854, section 3.3), except those of the router itself, which are reported and read.
/// The session continues. The handler is not owned. Thread-compatible.
class BmpReader {
  public:
    /// Messages of more peers are skipped.
    static constexpr std::size_t maxPeers = 65536;

    explicit BmpReader(BmpHandler& handler)
      : handler_(handler) {}

    void read(BmpMessage const& message);

    /// The peers that are up; the router itself may be one of them.
    [[nodiscard]] std::size_t peers() const { return peers_.size(); }

  private:
    /// A peer that is up, or the router itself.
    struct PeerSession {
        AddPathDecider opens{AddPath::automatic, Opens::evidence}; // has seen only the OPENs
        std::map<RibView, AddPathDecider> views;                   // copies, see their UPDATEs
        IpAddress local;
        bool isUp = false; // a peer up message was received
    };

    std::string_view readOf(BmpMessage const& message);
    std::string_view readSystem(OctetReader& in);
    std::string_view readTermination(OctetReader& in);
    std::string_view readPeerMessage(BmpType type, OctetReader& in);
    std::string_view readPeerUp(OctetReader& in, BmpPeer const& peer);
    std::string_view readPeerDown(OctetReader& in, BmpPeer const& peer);
    std::string_view readUpdate(OctetReader& in, BmpPeer const& peer);

    BmpHandler& handler_;
    std::map<BmpPeerId, PeerSession> peers_;
    UpdateContent content_;
};

} // namespace BgpCommunities
