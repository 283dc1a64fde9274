#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "StationCounts.h"
#include "StationPrinter.h"
#include "StationRecorder.h"
#include "bmp/BmpReader.h"
#include "bmp/BmpStream.h"
#include "bmp/TcpSocket.h"
#include "lists/Agent.h"
#include "lists/RouterRoutes.h"
#include "text/TimeText.h"

namespace BgpCommunities {

/** What one session may take; a plain value. */
struct SessionLimits {
    std::size_t messageOctets = 256 * 1024;
    std::size_t routes = 20'000'000;
    std::chrono::seconds timeout{30}; // for the first message, and for the rest of any message
    bool verbose = false;             // names all problems, not only the first few
};

/** What the sessions of one worker share. Not owned. */
struct SessionShares {
    Agent const& agent;
    StationCounts& counts;
    StationPrinter* printer;   // null if routes are not printed
    StationRecorder* recorder; // null if nothing is recorded
};

/**
 * One BMP session of a router: its octets, its routes, and what is said about both.
 *
 * Owns the routes, which are withdrawn when it is destroyed. Used by one worker only. Functions
 * that print throw what Output throws.
 */
class StationSession final : private BmpHandler {
  public:
    using Clock = std::chrono::steady_clock;

    StationSession(SessionShares const& shares, SessionLimits const& limits,
                   SocketAddress const& router);
    ~StationSession() override;
    StationSession(StationSession const&) = delete;
    StationSession& operator=(StationSession const&) = delete;

    /** Reads what arrived; false if the session has to end: `endReason()` says why. */
    bool add(Octets octets);

    /** The router has been silent for too long. */
    [[nodiscard]] bool isOverdue(Clock::time_point now) const;

    /** The session has to end; the first reason counts. */
    void endIs(std::string_view reason);

    /** Says that the session ends, and why. Call it once, before the session is destroyed. */
    void sayEnd();

    [[nodiscard]] RouterRoutes const& routes() const { return routes_; }

    /** The name that the router gives itself, or its address and port. */
    [[nodiscard]] std::string const& label() const { return name_.empty() ? address_ : name_; }

    /** Appends the session and the message that the calling thread is reading: why route targets
        come and go. */
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
    void timeIs(BmpPeer const& peer);
    void updateGauges();
    void saveRecord();
    void say(std::string_view what) const;

    SessionShares const shares_;
    SessionLimits const& limits_;
    std::string const address_; // of the router, with its port
    std::string name_;          // that it gives itself
    BmpStream stream_;
    BmpReader reader_{*this};
    RouterRoutes routes_;
    SessionRecord record_; // if there is a recorder
    RecordPosition at_;    // the message at hand
    std::string endReason_;
    std::uint64_t problems_ = 0;
    Clock::time_point waitingSince_ = Clock::now(); // for the rest of a message, or the first one
    std::size_t routesCounted_ = 0;                 // in the gauges
    std::size_t peersCounted_ = 0;
};

} // namespace BgpCommunities
