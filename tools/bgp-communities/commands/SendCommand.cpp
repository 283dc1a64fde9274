#include "Commands.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <sys/socket.h>

#include "BmpOptions.h"
#include "DumpFiles.h"
#include "bmp/BmpWriter.h"
#include "bmp/TcpSocket.h"
#include "text/Output.h"
#include "wire/UpdateWriter.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view rateOption = "--rate";
constexpr std::string_view repeatOption = "--repeat";
constexpr std::string_view holdOption = "--hold";

constexpr Option sendOptions[] = {{bmpOption, Takes::value},
                                  {rateOption, Takes::value},
                                  {repeatOption, Takes::value},
                                  {holdOption},
                                  addPathOption,
                                  {verboseOption}};

constexpr std::string_view sendHelp =
    R"(usage: bgp-communities send --bmp ADDRESS:PORT [OPTION...] FILE...

Sends MRT dumps (RFC 6396, RFC 8050) to a BMP station as a router would (RFC 7854): initiation, peer up
for each peer, the UPDATEs, an UPDATE for each entry of a table dump, End-of-RIB, peer down when a peer
leaves the state Established, termination. Prints how much it sent. A FILE may be compressed (gzip,
bzip2, xz, zstd). Each FILE is read twice and must not be a pipe.

  --bmp ADDRESS:PORT
                     the station; an IPv6 address in brackets; without ADDRESS, 127.0.0.1
  --rate N           send at most N UPDATEs per second
  --repeat N         send the dumps N times
  --hold             after the last message, keep the connection open until the station closes it or a
                     signal ends the program; send no termination
  --add-path[=HOW]   whether UPDATEs carry path identifiers (RFC 7911): auto (the default) decides for
                     each message and family; no; yes (the default HOW)
  --verbose          report all malformed records on standard error, not only the first few of each
                     kind

The OPENs in peer up messages are generated: they advertise the families of the peer's routes, with
path identifiers if any route of the family has one. In such a family, an entry of a table dump without
path identifier is sent with 0, and UPDATEs without path identifiers are not sent. Messages that were
sent to a peer (MRT subtypes with LOCAL) are reported as Adj-RIB-Out after policy (RFC 8671). Routes
without a known peer are not sent.

examples:
  bgp-communities send --bmp :1790 rib.bz2 updates.*.gz
  bgp-communities send --bmp 192.0.2.1:1790 --rate 1000 --hold updates.20240101.0000.gz
)";

/// Peers by address and AS.
struct PeerOrder {
    bool operator()(Peer const& a, Peer const& b) const {
        return std::tie(a.address, a.as) < std::tie(b.address, b.as);
    }
};

using Offers = std::map<Peer, std::vector<FamilyOffer>, PeerOrder>;

/// Collects the families of each peer, and whether their routes have path identifiers.
class OfferScan final : public DumpHandler {
  public:
    OfferScan()
      : DumpHandler(false) {
        log().setDeferred(true); // the second reading reports the same problems
    }

    void handleUpdate(Update const& update) override {
        for (auto const routes : {update.announced, update.withdrawn}) {
            for (Route const& route : routes) {
                add(update.peer, route);
            }
        }
    }

    void handleRibEntry(RibEntry const& entry) override { add(entry.peer, entry.route); }

    [[nodiscard]] Offers const& offers() const { return offers_; }

  private:
    void add(Peer const& peer, Route const& route) {
        constexpr std::size_t maxFamilies = 16; // fit in an OPEN
        auto& families = offers_[peer];
        auto const known =
            std::find_if(families.begin(), families.end(),
                         [&](FamilyOffer const& offer) { return offer.family == route.family; });
        if (known != families.end()) {
            known->pathIds = known->pathIds || route.hasPathId;
        } else if (families.size() < maxFamilies) {
            families.push_back({route.family, route.hasPathId});
        }
    }

    Offers offers_;
};

/// A connection to a station with a send buffer. Functions throw std::runtime_error if the station
/// has closed it.
class StationConnection {
  public:
    explicit StationConnection(SocketAddress const& address)
      : socket_(connectTo(address)) {
        appendText(name_, address);
    }

    std::string& text() { return text_; }

    void flush() {
        std::string_view left = text_;
        while (!left.empty()) {
            ssize_t const sent = ::send(socket_.get(), left.data(), left.size(), MSG_NOSIGNAL);
            if (sent < 0 && errno != EINTR) {
                throw std::runtime_error(name_ + ": " + std::strerror(errno));
            }
            left.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
        }
        octets_ += text_.size();
        text_.clear();
    }

    void flushIfLarge() {
        constexpr std::size_t pieceOctets = 64 * 1024;
        if (text_.size() >= pieceOctets) {
            flush();
        }
    }

    /// Blocks until the station closes the connection.
    void waitForEnd() {
        std::array<char, 512> ignored{};
        ssize_t got = 0;
        do {
            got = ::recv(socket_.get(), ignored.data(), ignored.size(), 0);
        } while (got > 0 || (got < 0 && errno == EINTR));
    }

    [[nodiscard]] U64 octets() const { return octets_; }

  private:
    FileDescriptor socket_;
    std::string name_;
    std::string text_;
    U64 octets_ = 0;
};

/// Limits the rate of steps.
class Pace {
  public:
    /// `rate` is in steps per second; no limit if missing.
    explicit Pace(std::optional<U64> rate)
      : interval_(rate ? 1'000'000'000 / std::max<U64>(*rate, 1) : 0) {}

    [[nodiscard]] bool isLimited() const { return interval_.count() != 0; }

    void step() {
        next_ = std::max(next_ + interval_, Clock::now() - std::chrono::milliseconds(10));
        std::this_thread::sleep_until(next_);
    }

  private:
    using Clock = std::chrono::steady_clock;

    std::chrono::nanoseconds interval_;
    Clock::time_point next_;
};

struct SendCounts {
    U64 peers = 0; // peer up messages
    U64 updates = 0;
    U64 entries = 0; // of table dumps
    U64 notSent = 0;
};

/// Sends the content of dumps. Offers and connection are not owned.
class Sender final : public DumpHandler {
  public:
    Sender(Offers const& offers, StationConnection& station, Pace pace, bool verbose)
      : DumpHandler(verbose)
      , offers_(offers)
      , station_(station)
      , pace_(pace) {}

    void handleUpdate(Update const& update) override {
        endTable();
        bool const isWhole = matchesOffer(update.peer, update.announced) &&
                             matchesOffer(update.peer, update.withdrawn);
        if (!isWhole || update.peer.address.size == 0) {
            ++counts_.notSent;
            return;
        }
        BmpPeer peer = peerAt(update.peer, update.at);
        peer.asWidth = update.attributes.asWidth;
        peer.view = update.sentByUs ? RibView::adjRibOutPost : RibView::adjRibInPre;
        sendPeerUp(peer);
        appendBmpRoutes(station_.text(), peer, update.body);
        ++counts_.updates;
        step();
    }

    void handleRibEntry(RibEntry const& entry) override {
        std::string body;
        Family const family = entry.route.family;
        if (entry.peer.address.size == 0 ||
            !appendUpdate(body, entry.route, entry.attributes.area, offered(entry.peer, family))) {
            ++counts_.notSent;
            return;
        }
        BmpPeer peer = peerAt(entry.peer, entry.at);
        peer.asWidth = entry.attributes.asWidth;
        sendPeerUp(peer);
        appendBmpRoutes(station_.text(), peer, octetsOf(body));
        table_.insert_or_assign(entry.peer, peer);
        ++counts_.entries;
        step();
    }

    void handleStateChange(StateChange const& change) override {
        endTable();
        BmpPeer const peer = peerAt(change.peer, change.at);
        if (change.newState == StateChange::established && offers_.contains(change.peer)) {
            sendPeerUp(peer);
        } else if (change.oldState == StateChange::established && up_.erase(change.peer) != 0) {
            constexpr U8 closedByPeer = 4; // without a NOTIFICATION
            appendBmpPeerDown(station_.text(), peer, closedByPeer);
            step();
        }
    }

    /// Ends the current table dump: sends End-of-RIB for all families of its peers.
    void endTable() {
        for (auto const& [of, peer] : std::exchange(table_, {})) {
            for (FamilyOffer const& offer : offers_.at(of)) {
                std::string body;
                appendEndOfRib(body, offer.family);
                appendBmpRoutes(station_.text(), peer, octetsOf(body));
            }
        }
    }

    [[nodiscard]] SendCounts const& counts() const { return counts_; }

  private:
    static BmpPeer peerAt(Peer const& of, RecordPosition const& at) {
        BmpPeer peer;
        peer.id.address = of.address;
        peer.as = of.as;
        peer.bgpId = OctetReader(of.address.octets).u32();
        peer.seconds = at.seconds;
        peer.microseconds = at.microseconds;
        return peer;
    }

    [[nodiscard]] bool offered(Peer const& peer, Family family) const {
        auto const& families = offers_.at(peer);
        return std::any_of(families.begin(), families.end(), [&](FamilyOffer const& offer) {
            return offer.family == family && offer.pathIds;
        });
    }

    /// Whether all routes have path identifiers, or none, as the peer's OPEN advertises.
    [[nodiscard]] bool matchesOffer(Peer const& peer, std::span<Route const> routes) const {
        return std::all_of(routes.begin(), routes.end(), [&](Route const& route) {
            return !route.isPrefix || route.hasPathId == offered(peer, route.family);
        });
    }

    /// Sends a peer up message unless the peer is up.
    void sendPeerUp(BmpPeer const& peer) {
        Peer const of = peer.peer();
        if (!up_.insert(of).second) {
            return;
        }
        BmpPeer header = peer;
        header.view = RibView::adjRibInPre;
        header.asWidth = AsWidth::four;
        BmpPeerUp up;
        up.local.size = of.address.size;
        up.localPort = up.remotePort = 179;
        auto const found = offers_.find(of);
        std::vector<FamilyOffer> const none;
        auto const& families = found == offers_.end() ? none : found->second;
        std::string opens;
        appendOpen(opens, of.as, peer.bgpId, families);
        appendOpen(opens, of.as, peer.bgpId, families);
        appendBmpPeerUp(station_.text(), header, up, opens);
        ++counts_.peers;
    }

    void step() {
        if (pace_.isLimited()) {
            station_.flush();
            pace_.step();
        } else {
            station_.flushIfLarge();
        }
    }

    Offers const& offers_;
    StationConnection& station_;
    Pace pace_;
    std::set<Peer, PeerOrder> up_;             // peers that are up
    std::map<Peer, BmpPeer, PeerOrder> table_; // peers of the current table dump
    SendCounts counts_;
};

void print(SendCounts const& counts, StationConnection const& station, double seconds,
           Output& output) {
    output.text() += "sent " + std::to_string(station.octets()) + " octets in " +
                     std::to_string(seconds) + " s: " + std::to_string(counts.peers) +
                     " peers up, " + std::to_string(counts.updates) + " UPDATEs, " +
                     std::to_string(counts.entries) + " entries of table dumps; " +
                     std::to_string(counts.notSent) + " not sent";
    output.endLine();
    output.flush();
}

ExitStatus send(Arguments const& arguments, Output& output) {
    DumpInput const input(arguments);
    for (std::string_view const file : input.files) {
        if (file == "-") {
            throw UsageError("send reads each FILE twice and cannot read standard input");
        }
    }
    Pace const pace(arguments.count(rateOption));
    U64 const repetitions = arguments.count(repeatOption).value_or(1);
    SocketAddress const address = bmpAddress(arguments);
    OfferScan scan;
    readDumps(input, scan);
    StationConnection station(address);
    auto const begun = std::chrono::steady_clock::now();
    appendBmpInitiation(station.text(), "bgp-communities", "bgp-communities send");
    Sender sender(scan.offers(), station, pace, arguments.has(verboseOption));
    ExitStatus status = ExitStatus::allRead;
    for (U64 times = 0; times < repetitions && status != ExitStatus::unreadable; ++times) {
        status = readDumps(input, sender).status;
        sender.endTable();
    }
    bool const holds = arguments.has(holdOption);
    if (!holds) {
        appendBmpTermination(station.text(), 0);
    }
    station.flush();
    std::chrono::duration<double> const taken = std::chrono::steady_clock::now() - begun;
    print(sender.counts(), station, taken.count(), output);
    if (holds) {
        station.waitForEnd();
    }
    return status;
}

} // namespace

Command const sendCommand = {"send", "send MRT dumps to a BMP station as a router would", sendHelp,
                             sendOptions, send};

} // namespace BgpCommunities
