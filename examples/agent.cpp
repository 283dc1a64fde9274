// A complete agent: parses the octets of a BMP session (RFC 7854), observes route targets, and
// writes the attribute for the wire. Supports IPv4 unicast routes without path identifiers.
#include <VoBgp/CommunityTables.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <span>
#include <string>
#include <string_view>

using namespace Routing::Bgp;

namespace {

//! [octets]
/// Parses octets. Reading past the end drops the rest, returns zero or an empty string and makes
/// `ok()` false.
class Reader {
  public:
    explicit Reader(std::string_view octets)
      : left_(octets) {}

    std::string_view take(std::size_t count) {
        ok_ = ok_ && count <= left_.size();
        std::string_view const taken = left_.substr(0, ok_ ? count : 0);
        left_.remove_prefix(ok_ ? count : left_.size());
        return taken;
    }
    std::size_t number(std::size_t octets) {
        std::size_t number = 0;
        for (char const octet : take(octets)) {
            number = number << 8 | static_cast<unsigned char>(octet);
        }
        return number;
    }
    std::string_view rest() { return take(left_.size()); }
    bool ok() const { return ok_; }
    bool empty() const { return left_.empty(); }

  private:
    std::string_view left_;
    bool ok_ = true;
};
//! [octets]

//! [observer]
/// Prints a line when a route target comes into use, and when its last route is withdrawn.
class TargetPrinter final : public NotifyingRouteTargetList::Notifiee {
  public:
    explicit TargetPrinter(CommunityTables const& tables)
      : Notifiee(tables.routeTargets()) {}

    void handleRt(RouteTarget const& target) override {
        std::cout << (notifier()->rtHas(target) ? "+ " : "- ") << target.toStrep() << '\n';
    }
};
//! [observer]

//! [routes]
/// The routes of all peers. Each refers to its list, which keeps its route targets in use.
class Routes {
  public:
    explicit Routes(CommunityTables const& tables)
      : tables_(tables) {}

    /// withdrawn | path attributes | announced                         RFC 4271, section 4.3
    void update(std::string_view peer, std::string_view message) {
        Reader in(message);
        Reader withdrawn(in.take(in.number(2)));
        Reader attributes(in.take(in.number(2)));
        Reader announced(in.rest());
        if (!in.ok()) {
            return; // malformed: a real agent reports it
        }
        while (!withdrawn.empty()) {
            routes_.erase(key(peer, withdrawn));
        }
        ExtCommList::PtrConst const list = targetsOf(attributes);
        while (!announced.empty()) {
            if (auto const route = key(peer, announced); announced.ok()) {
                routes_[route] = list;
            }
        }
        if (list) {
            resend(*list);
        }
    }

    void peerDown(std::string_view peer) {
        std::erase_if(routes_, [&](auto const& route) { return route.first.starts_with(peer); });
    }

    std::size_t size() const { return routes_.size(); }

  private:
    /// Returns the peer, the length in bits and the octets of the next prefix.
    static std::string key(std::string_view peer, Reader& prefixes) {
        auto const bits = prefixes.number(1);
        auto const prefix = prefixes.take((bits + 7) / 8);
        return std::string(peer).append(1, static_cast<char>(bits)).append(prefix);
    }

    /// flags (1) | type (1) | length (1, or 2 if flags & 0x10) | value  RFC 4271, section 4.3
    ExtCommList::PtrConst targetsOf(Reader& attributes) const {
        while (!attributes.empty()) {
            auto const flags = attributes.number(1);
            auto const type = attributes.number(1);
            auto const value = attributes.take(attributes.number((flags & 0x10) != 0 ? 2 : 1));
            if (type == 16) { // EXTENDED COMMUNITIES
                auto const decoded = tables_.extCommList(std::as_bytes(std::span(value)));
                return decoded.list; // null if the attribute is malformed: `decoded.verdict`
            }
        }
        return {};
    }

    /// Prints the attribute that the agent would send to other peers.
    static void resend(ExtCommList const& list) {
        auto const attribute = list.serialize(ExtCommList::Serialization(0xe));
        std::string hex;
        for (char const octet : std::string_view(attribute)) {
            auto const value = static_cast<unsigned char>(octet);
            hex.append({' ', "0123456789abcdef"[value >> 4], "0123456789abcdef"[value & 15]});
        }
        std::cout << "  " << list.toStrep() << hex << '\n';
    }

    CommunityTables const& tables_;
    std::map<std::string, ExtCommList::PtrConst, std::less<>> routes_;
};
//! [routes]

//! [session]
/// version (1) | length (4) | type (1) | body                          RFC 7854, section 4.1
bool readSession(Reader session, Routes& routes) {
    constexpr std::size_t routeMonitoring = 0, peerDown = 2, peerHeaderOctets = 42;
    while (!session.empty()) {
        auto const version = session.number(1);
        auto const length = session.number(4);
        auto const type = session.number(1);
        Reader body(session.take(length - 6));
        if (version != 3 || length < 6 || !session.ok()) {
            return false; // the start of the next message is unknown
        }
        auto const header = body.take(type <= 3 ? peerHeaderOctets : 0);
        auto const peer = header.substr(header.empty() ? 0 : 2, 24); // distinguisher and address
        if (type == routeMonitoring) {
            body.take(19); // the header of the BGP message, an UPDATE
            routes.update(peer, body.rest());
        } else if (type == peerDown) {
            routes.peerDown(peer);
        }
    }
    return true;
}

} // namespace

int main(int count, char** arguments) {
    std::ifstream file(count == 2 ? arguments[1] : "/dev/stdin", std::ios::binary);
    std::string const octets(std::istreambuf_iterator<char>(file), {});
    CommunityTables const tables;
    TargetPrinter const printer(tables);
    Routes routes(tables);
    bool const whole = readSession(Reader(octets), routes);
    std::cout << routes.size() << " routes, " << tables.routeTargets()->rts()
              << " route targets in use at the end" << (whole ? "" : " of the valid part") << '\n';
    return whole ? 0 : 1;
}
//! [session]
