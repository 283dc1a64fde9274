#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "Deadline.h"
#include "StationCounts.h"
#include "StationPrinter.h"
#include "StationRecorder.h"
#include "bmp/BmpReader.h"
#include "bmp/BmpStream.h"
#include "bmp/TcpSocket.h"
#include "input/IntegerTypes.h"
#include "lists/Agent.h"
#include "lists/RouterRoutes.h"
#include "text/TimeText.h"

namespace BgpCommunities {

/// The limits of one session; a plain value.
struct SessionLimits {
    std::size_t messageOctets = 256 * 1024;
    std::size_t routes = 20'000'000;
    std::chrono::seconds timeout{30}; // for the first message, and for the rest of any message
    bool verbose = false;             // report all problems, not only the first few
};

/// What the sessions of one worker share. Not owned.
struct SessionContext {
    Agent const& agent;
    StationCounts& counts;
    StationPrinter* printer;   // null if routes are not printed
    StationRecorder* recorder; // null if nothing is recorded
};

/// One BMP session of a router: parses its octets, holds its routes, prints and records them, and
/// reports its events on standard error.
///
/// Owns the routes, which are withdrawn by the destructor. Used by one worker only. Functions that
/// print throw what Output throws.
class StationSession final : private BmpHandler {
  public:
    using Clock = Deadline::Clock;

    StationSession(SessionContext const& context, SessionLimits const& limits,
                   SocketAddress const& router);
    ~StationSession() override;
    StationSession(StationSession const&) = delete;
    StationSession& operator=(StationSession const&) = delete;

    /// Reads received octets. Returns false if the session must end.
    bool add(Octets octets);

    /// When the session must end unless more octets arrive. None while the router is between two
    /// messages.
    [[nodiscard]] Deadline deadline() const;

    /// Sets the reason why the session ends, unless it has one.
    void setEndReason(std::string_view reason);

    /// Reports and records that the session ends. Call once, before the destructor.
    void reportEnd();

    [[nodiscard]] RouterRoutes const& routes() const { return routes_; }

    /// The router's name, or its address and port if it has not sent one.
    [[nodiscard]] std::string const& label() const { return name_.empty() ? address_ : name_; }

    /// Appends the cause of the current change of route targets: the router and the time of the
    /// message that the calling thread is reading; "publication" and the time in a thread that
    /// releases the lists of a published store.
    static void appendCause(std::string& out);

  private:
    void handleMessage(BmpType type) override;
    void handleSystem(BmpSystem const& system) override;
    void handleTermination(std::string_view reason) override;
    void handlePeerUp(BmpPeer const& peer, BmpPeerUp const& up) override;
    void handlePeerDown(BmpPeer const& peer, std::string_view reason) override;
    void handleUpdate(BmpPeer const& peer, BmpUpdate const& update) override;
    void handleProblem(std::string const& reason) override;

    void read(BmpMessage const& message);
    void announce(BmpPeer const& peer, BmpUpdate const& update);
    void withdraw(BmpPeer const& peer, std::vector<Route> const& routes);
    void setMessageTime(BmpPeer const& peer);
    void updateGauges();
    void saveRecord();
    void report(std::string_view event) const;

    SessionContext const context_;
    SessionLimits const& limits_;
    std::string const address_; // of the router, with its port
    std::string name_;          // from its initiation message
    BmpStream stream_;
    BmpReader reader_{*this};
    RouterRoutes routes_;
    SessionRecord record_; // unused without a recorder
    RecordPosition at_;    // of the current message
    std::string endReason_;
    U64 problems_ = 0;
    Clock::time_point waitingSince_ = Clock::now(); // for the first message, or the rest of one
    std::size_t routesCounted_ = 0;                 // this session's share of the gauges
    std::size_t peersCounted_ = 0;
};

} // namespace BgpCommunities
