#include <Lumo/Ip6Addr.h>

#include <arpa/inet.h>
#include <bit>
#include <cstring>
#include <sys/socket.h>

namespace Lumo {

namespace {

struct Run {
    unsigned start = 8;
    unsigned length = 0;
};

/// Returns a bit mask of the zero groups; the lowest bit is the first group.
unsigned zeroGroups(Ip6Addr const& address) {
    unsigned zeros = 0;
    for (unsigned i = 0; i < 8; ++i) {
        zeros |= (address.group(i) == 0 ? 1U : 0U) << i;
    }
    return zeros;
}

/// Returns the longest run of at least two zero groups, the first one if several are equal (RFC
/// 5952, section 4.2).
Run longestRun(unsigned zeros) {
    Run run;
    // Each remaining bit marks a group that starts `length` zero groups.
    for (unsigned length = 1; zeros != 0; zeros &= zeros >> 1, ++length) {
        if (length >= 2) {
            run = {static_cast<unsigned>(std::countr_zero(zeros)), length};
        }
    }
    return run;
}

/// Whether it is like ::ffff:192.0.2.1; RFC 5952, section 5, recommends mixed notation.
bool isIpv4Mapped(Ip6Addr const& address, unsigned zeros) {
    return (zeros & 0x1f) == 0x1f && address.group(5) == 0xffff;
}

/// Writes a group without leading zeros and returns the end.
char* writeGroup(char* place, unsigned group) {
    constexpr char digits[] = "0123456789abcdef";
    if (group > 0xfff) {
        *place++ = digits[group >> 12];
    }
    if (group > 0xff) {
        *place++ = digits[group >> 8 & 0xf];
    }
    if (group > 0xf) {
        *place++ = digits[group >> 4 & 0xf];
    }
    *place++ = digits[group & 0xf];
    return place;
}

/// Writes the groups separated by colons, with `::` for the run of zeros.
char* writeGroups(char* place, Ip6Addr const& address, Run run) {
    for (unsigned i = 0; i < 8;) {
        if (i == run.start) {
            *place++ = ':';
            *place++ = ':';
            i += run.length;
            continue;
        }
        if (i > 0 && i != run.start + run.length) {
            *place++ = ':';
        }
        place = writeGroup(place, address.group(i));
        ++i;
    }
    return place;
}

} // namespace

void Ip6Addr::format(Mox::CharBuffer& out) const {
    auto const zeros = zeroGroups(*this);
    if (isIpv4Mapped(*this, zeros)) {
        out.append("::ffff:");
        for (unsigned i = 12; i < 16; ++i) {
            out.append(i == 12 ? "" : ".").appendDecimal(octets_[i]);
        }
        return;
    }
    char text[8 * 5];
    auto const* const end = writeGroups(text, *this, longestRun(zeros));
    out.append({text, static_cast<std::size_t>(end - text)});
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
