#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "bmp/BmpReader.h"
#include "bmp/TcpSocket.h"
#include "mrt/RecordWriter.h"
#include "text/TimeText.h"

namespace BgpCommunities {

/** Where a recording goes, and when a new file is begun; a plain value. */
struct RecordOptions {
    std::string path;                                             // empty: nothing is recorded
    std::uint64_t octets = ~std::uint64_t{0};                     // of a file
    std::chrono::seconds age = std::chrono::hours(24 * 365 * 10); // of a file
};

/**
 * The file that a station records into. A file that is full, or was there before, is renamed
 * PATH.TIME, when it was begun or found.
 *
 * Owns the file. Thread-safe. What cannot be written is named on standard error, once for each
 * file, and lost.
 */
class StationRecorder {
  public:
    /** Begins a file. Throws std::system_error. */
    explicit StationRecorder(RecordOptions options);

    /** Appends whole records. */
    void add(std::string_view records);

  private:
    using Clock = std::chrono::steady_clock;

    static std::size_t fitting(std::string_view records, std::uint64_t most);
    void write(std::string_view records);
    void begin();
    void setAside() const;
    void fail(std::string const& what);

    RecordOptions const options_;
    std::mutex mutex_; // of what follows
    FileDescriptor file_;
    std::string suffix_; // of the name that the file gets in the end
    std::uint64_t octets_ = 0;
    Clock::time_point begun_;
    bool failed_ = false;
};

/**
 * What one session of a station adds to a recording: MRT records (BGP4MP_ET) that say the same.
 *
 * All routers and views go into one file: a peer is known by its address and AS. Adj-RIB-Out
 * becomes what was sent to the peer. Used by one thread.
 */
class SessionRecord {
  public:
    void peerUp(BmpPeer const& peer, BmpPeerUp const& up, Microseconds time);
    void update(BmpPeer const& peer, BmpUpdate const& update, Microseconds time);
    void peerDown(BmpPeer const& peer, Microseconds time);
    /** All peers are down. */
    void end(Microseconds time);

    /** Takes the records so far. */
    std::string take() { return std::exchange(records_, {}); }

  private:
    void down(RecordedSession const& session, Microseconds time);

    std::map<BmpPeerId, RecordedSession> peers_; // that are up
    std::string records_;
};

} // namespace BgpCommunities
