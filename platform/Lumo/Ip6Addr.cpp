#include <Lumo/Ip6Addr.h>

#include <arpa/inet.h>
#include <cstring>
#include <string_view>
#include <sys/socket.h>

namespace Lumo {

namespace {

struct Run {
    unsigned start = 8;
    unsigned length = 0;
};

/// The longest run of two or more zero groups, the first of equals (RFC 5952, section 4.2).
Run longestZeroRun(Ip6Addr const& address) {
    Run longest;
    Run current;
    for (unsigned i = 0; i < 8; ++i) {
        if (address.group(i) != 0) {
            current = {};
            continue;
        }
        if (current.length == 0) {
            current.start = i;
        }
        if (++current.length >= 2 && current.length > longest.length) {
            longest = current;
        }
    }
    return longest;
}

void appendGroup(Mox::CharBuffer& out, unsigned group) {
    unsigned const digits = group > 0xfff ? 4 : group > 0xff ? 3 : group > 0xf ? 2 : 1;
    out.appendHex(group, digits);
}

/// ::ffff:192.0.2.1, which RFC 5952, section 5, wants in mixed notation.
bool isIpv4Mapped(Ip6Addr const& address) {
    for (unsigned i = 0; i < 5; ++i) {
        if (address.group(i) != 0) {
            return false;
        }
    }
    return address.group(5) == 0xffff;
}

} // namespace

void Ip6Addr::format(Mox::CharBuffer& out) const {
    if (isIpv4Mapped(*this)) {
        out.append("::ffff:");
        for (unsigned i = 12; i < 16; ++i) {
            out.append(i == 12 ? "" : ".").appendDecimal(octets_[i]);
        }
        return;
    }
    auto const run = longestZeroRun(*this);
    for (unsigned i = 0; i < 8;) {
        if (i == run.start) {
            out.append("::");
            i += run.length;
            continue;
        }
        if (i > 0 && i != run.start + run.length) {
            out.append(':');
        }
        appendGroup(out, group(i));
        ++i;
    }
}

Mox::String Ip6Addr::toStrep() const {
    Mox::LocalCharBuffer<42> out;
    format(out);
    return out.string();
}

} // namespace Lumo

Lumo::Ip6Addr Mox::ValueText<Lumo::Ip6Addr>::read(ValueReader& in) {
    auto const rest = in.rest();
    auto const length = rest.find_first_not_of("0123456789abcdefABCDEF:.");
    auto const text = rest.substr(0, length);
    char terminated[INET6_ADDRSTRLEN] = {};
    Lumo::Ip6Addr::Octets octets;
    if (text.size() >= sizeof terminated) {
        in.fail("an IPv6 address");
    }
    std::memcpy(terminated, text.data(), text.size());
    if (::inet_pton(AF_INET6, terminated, octets.data()) != 1) {
        in.fail("an IPv6 address");
    }
    in.skip(text.size());
    return Lumo::Ip6Addr(octets);
}
