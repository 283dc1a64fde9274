#include "EvpnRoute.h"

#include <cstddef>
#include <iterator>

#include "IpAddress.h"
#include "Nlri.h"
#include "input/Hex.h"
#include "input/Numbers.h"

namespace BgpCommunities {

namespace {

// Sizes in octets.
constexpr std::size_t distinguisherSize = 8, segmentSize = 10, macSize = 6, labelSize = 3;

/// The fields of a type, in this order; all follow the distinguisher.
struct Form {
    bool segment; // the Ethernet segment identifier
    bool segmentIdentifies;
    bool tag;
    bool mac;     // and its length in bits
    bool address; // and its length in bits
    bool gateway; // of the size of the address, which is that of a prefix
    bool label;
};

constexpr Form forms[] = {
    {true, true, true, false, false, false, true},   // 1: Ethernet auto-discovery
    {true, false, true, true, true, false, true},    // 2: MAC/IP advertisement, perhaps two labels
    {false, false, true, false, true, false, false}, // 3: inclusive multicast Ethernet tag
    {true, true, false, false, true, false, false},  // 4: Ethernet segment
    {true, false, true, false, true, true, true},    // 5: IP prefix
};

/// Takes the length of an address in bits, and the address. Returns false if the length is invalid.
bool takeAddress(OctetReader& in, bool mayBeMissing, EvpnRoute& route) {
    route.addressBits = in.u8();
    route.address = in.octets(route.addressBits / 8);
    return route.addressBits == 32 || route.addressBits == 128 ||
           (route.addressBits == 0 && mayBeMissing);
}

/// The same for a prefix, whose octets are those of a whole address.
bool takePrefix(OctetReader& in, EvpnRoute& route) {
    route.addressBits = in.u8();
    std::size_t const size = in.left() == 2 * 4 + labelSize ? 4 : 16;
    route.address = in.octets(size);
    return route.addressBits <= 8 * size;
}

/// Takes the fields that identify a route, after the distinguisher and a segment that does not.
/// Returns false if a length is invalid.
bool takeIdentity(OctetReader& in, Form const& form, EvpnRoute& route) {
    if (form.segmentIdentifies) {
        route.segment = in.octets(segmentSize);
    }
    if (form.tag) {
        route.tag = in.u32();
    }
    if (form.mac) {
        if (in.u8() != 8 * macSize) {
            return false;
        }
        route.mac = in.octets(macSize);
    }
    if (form.address) {
        return form.gateway ? takePrefix(in, route) : takeAddress(in, form.mac, route);
    }
    return true;
}

} // namespace

bool readEvpnRoute(Octets octets, EvpnRoute& route) {
    route = {};
    OctetReader in(octets);
    route.type = in.u8();
    if (in.u8() != in.left() || route.type == 0 || route.type > std::size(forms)) {
        return false;
    }
    Form const& form = forms[route.type - 1];
    route.distinguisher = in.octets(distinguisherSize);
    if (form.segment && !form.segmentIdentifies) {
        in.octets(segmentSize);
    }
    Octets const rest = OctetReader(in).rest();
    if (!takeIdentity(in, form, route)) {
        return false;
    }
    route.identity = {route.distinguisher, rest.first(rest.size() - in.left())};
    if (form.gateway) {
        in.octets(route.address.size());
    }
    if (form.label) {
        in.octets(form.mac && in.left() != labelSize ? 2 * labelSize : labelSize);
    }
    return in.ok() && in.empty();
}

void appendText(std::string& out, EvpnRoute const& route) {
    auto const appendField = [&out](auto const& append) {
        out += ":[";
        append();
        out += ']';
    };
    auto const appendNumberField = [&](U32 number) {
        appendField([&] { appendNumber(out, number); });
    };
    auto const appendHexField = [&](Octets octets) {
        appendField([&] { appendHex(out, octets, ":"); });
    };
    appendDistinguisher(out, route.distinguisher);
    appendNumberField(route.type);
    if (route.type != 4) {
        appendNumberField(route.tag);
    }
    if (!route.segment.empty()) {
        appendHexField(route.segment);
    }
    if (!route.mac.empty()) {
        appendNumberField(8 * macSize);
        appendHexField(route.mac);
    }
    if (route.type != 1) {
        appendNumberField(route.addressBits);
    }
    if (!route.address.empty()) {
        appendField([&] { appendText(out, ipAddress(route.address)); });
    }
}

} // namespace BgpCommunities
