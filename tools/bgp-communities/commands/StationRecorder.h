#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "bmp/BmpReader.h"
#include "bmp/TcpSocket.h"
#include "input/IntegerTypes.h"
#include "mrt/RecordWriter.h"
#include "text/TimeText.h"

namespace BgpCommunities {

/// The file of a recording, and its limits; a plain value.
struct RecordOptions {
    std::string path;                                             // empty: nothing is recorded
    U64 octets = ~U64{0};                                         // at most, of each file
    std::chrono::seconds age = std::chrono::hours(24 * 365 * 10); // at most, of each file
};

/// Writes the recording of a station. A full or already existing file is renamed to PATH.TIME, the
/// time at which it was created or found, and a new one is started.
///
/// Owns the file, which always ends with a whole record. Thread-safe. Records that cannot be
/// written are lost, which is reported on standard error once per file. If a file cannot be
/// created, tries again every second.
class StationRecorder {
  public:
    /// Creates the first file. Throws std::system_error.
    explicit StationRecorder(RecordOptions options);

    /// Appends whole records.
    void add(std::string_view records);

    /// Whether records were lost.
    bool hasLostRecords() const { return lost_; }

  private:
    using Clock = std::chrono::steady_clock;

    static std::size_t fitting(std::string_view records, U64 most);
    void write(std::string_view records);
    void setAside() const;
    void begin();
    bool beginNext();
    void lose(int error);

    RecordOptions const options_;
    std::mutex mutex_; // guards the members below
    FileDescriptor file_;
    std::string suffix_; // of the final name of the file
    U64 octets_ = 0;
    Clock::time_point begun_;
    bool isReported_ = false; // that records are lost; until the next file
    std::atomic<bool> lost_{false};
};

/// Converts the messages of one BMP session to MRT records (BGP4MP_ET).
///
/// One file holds all routers and views, so it identifies a peer by address and AS only. Messages
/// of the Adj-RIB-Out are recorded as sent to the peer. Used by one thread.
class SessionRecord {
  public:
    void peerUp(BmpPeer const& peer, BmpPeerUp const& up, Microseconds time);
    void update(BmpPeer const& peer, BmpUpdate const& update, Microseconds time);
    void peerDown(BmpPeer const& peer, Microseconds time);
    /// Records that all peers are down.
    void end(Microseconds time);

    /// Returns and removes the records.
    std::string take() { return std::exchange(records_, {}); }

  private:
    void down(RecordedSession const& session, Microseconds time);

    std::map<BmpPeerId, RecordedSession> peers_; // that are up
    std::string records_;
};

} // namespace BgpCommunities
