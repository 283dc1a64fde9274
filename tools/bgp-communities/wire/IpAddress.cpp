#include "IpAddress.h"

#include <algorithm>
#include <utility>

#include <arpa/inet.h>

#include "input/Numbers.h"

namespace BgpCommunities {

namespace {

constexpr std::array<std::uint8_t, 12> ipv4Mapped = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};

void appendIpv4(std::string& out, Octets octets) {
    for (std::size_t at = 0; at < 4; ++at) {
        out.append(at == 0 ? "" : ".");
        appendNumber(out, octets[at]);
    }
}

using Groups = std::array<std::uint16_t, 8>;

Groups groupsOf(Octets octets) {
    Groups groups{};
    OctetReader in(octets);
    for (std::uint16_t& group : groups) {
        group = in.u16();
    }
    return groups;
}

/** The groups from `start` to before `end`. */
struct Run {
    std::size_t start = 8;
    std::size_t end = 8;

    [[nodiscard]] std::size_t size() const { return end - start; }
};

/** Returns the first longest run of two or more zero groups (RFC 5952, section 4.2), or an empty
   run at the end. */
Run longestZeroRun(Groups const& groups) {
    Run longest;
    for (Run run = {0, 0}; run.start < groups.size(); run.start = run.end + 1) {
        run.end = run.start;
        while (run.end < groups.size() && groups[run.end] == 0) {
            ++run.end;
        }
        if (run.size() > std::max<std::size_t>(longest.size(), 1)) {
            longest = run;
        }
    }
    return longest;
}

void appendGroups(std::string& out, std::span<std::uint16_t const> groups) {
    for (std::size_t at = 0; at < groups.size(); ++at) {
        out.append(at == 0 ? "" : ":");
        appendNumber(out, groups[at], 16);
    }
}

void appendIpv6(std::string& out, Octets octets) {
    if (std::equal(ipv4Mapped.begin(), ipv4Mapped.end(), octets.begin())) {
        out += "::ffff:"; // and the rest in mixed notation: RFC 5952, section 5
        appendIpv4(out, octets.subspan(ipv4Mapped.size()));
        return;
    }
    Groups const groups = groupsOf(octets);
    std::span<std::uint16_t const> const all(groups);
    Run const zeros = longestZeroRun(groups);
    appendGroups(out, all.first(zeros.start));
    if (zeros.size() != 0) {
        out += "::";
        appendGroups(out, all.subspan(zeros.end));
    }
}

} // namespace

IpAddress ipAddress(Octets octets) {
    IpAddress address;
    if (octets.size() == 4 || octets.size() == 16) {
        std::copy(octets.begin(), octets.end(), address.octets.begin());
        address.size = static_cast<std::uint8_t>(octets.size());
    }
    return address;
}

IpAddress readIpAddress(std::string_view text) {
    std::string const terminated(text);
    IpAddress address;
    for (auto const& [size, family] : {std::pair(4, AF_INET), std::pair(16, AF_INET6)}) {
        if (inet_pton(family, terminated.c_str(), address.octets.data()) == 1) {
            address.size = static_cast<std::uint8_t>(size);
            return address;
        }
    }
    return {};
}

void appendText(std::string& out, IpAddress const& address) {
    if (address.size == 0) {
        out += '-';
    } else if (address.size == 4) {
        appendIpv4(out, Octets(address.octets).first(4));
    } else {
        appendIpv6(out, address.octets);
    }
}

void appendText(std::string& out, Peer const& peer) {
    appendText(out, peer.address);
    if (peer.address.size != 0) {
        out += " AS";
        appendNumber(out, peer.as);
    }
}

} // namespace BgpCommunities
