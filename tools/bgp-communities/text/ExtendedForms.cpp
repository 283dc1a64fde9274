#include "ExtendedForms.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cctype>
#include <charconv>
#include <cmath>

#include <Routing/Bgp/Rpki.h>

#include "input/Hex.h"
#include "input/Numbers.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

namespace {

using Layout = ExtendedLayout;

constexpr auto forms = std::to_array<ExtendedForm>({
    {0x00, 0x02, "rt", Layout::as2},
    {0x01, 0x02, "rt", Layout::ip4},
    {0x02, 0x02, "rt", Layout::as4},
    {0x00, 0x03, "soo", Layout::as2},
    {0x01, 0x03, "soo", Layout::ip4},
    {0x02, 0x03, "soo", Layout::as4},
    {0x00, 0x04, "link-bandwidth", Layout::linkBandwidth},
    {0x40, 0x04, "link-bandwidth", Layout::linkBandwidth},
    {0x00, 0x05, "ospf-domain", Layout::as2},
    {0x01, 0x05, "ospf-domain", Layout::ip4},
    {0x02, 0x05, "ospf-domain", Layout::as4},
    {0x01, 0x07, "ospf-router", Layout::ip4},
    {0x00, 0x08, "data-collection", Layout::as2},
    {0x02, 0x08, "data-collection", Layout::as4},
    {0x00, 0x09, "source-as", Layout::as2},
    {0x02, 0x09, "source-as", Layout::as4},
    {0x00, 0x0a, "l2vpn-id", Layout::as2},
    {0x01, 0x0a, "l2vpn-id", Layout::ip4},
    {0x01, 0x0b, "vrf-route-import", Layout::ip4},
    {0x01, 0x0c, "redirect-to-ip", Layout::ip4},
    {0x00, 0x10, "vpn-distinguisher", Layout::as2},
    {0x01, 0x12, "segmented-next-hop", Layout::ip4},
    {0x03, 0x01, "cost", Layout::cost},
    {0x43, 0x01, "cost", Layout::cost},
    {0x03, 0x06, "ospf-route-type", Layout::ospfRouteType},
    {0x03, 0x0b, "color", Layout::color},
    {0x03, 0x0c, "encapsulation", Layout::encapsulation},
    {0x03, 0x0d, "default-gateway", Layout::nothing},
    {0x43, 0x00, "origin-validation", Layout::validationState},
    // EVPN: RFC 7432, RFC 8214, RFC 8317, RFC 8584, RFC 9047, RFC 9135, RFC 9251
    {0x06, 0x00, "mac-mobility", Layout::macMobility},
    {0x06, 0x01, "esi-label", Layout::esiLabel},
    {0x06, 0x02, "es-import", Layout::mac},
    {0x06, 0x03, "router-mac", Layout::mac},
    {0x06, 0x04, "layer2-attributes", Layout::layer2},
    {0x06, 0x05, "etree", Layout::etree},
    {0x06, 0x06, "df-election", Layout::dfElection},
    {0x06, 0x07, "i-sid", Layout::octets},
    {0x06, 0x08, "arp-nd", Layout::octets},
    {0x06, 0x09, "multicast-flags", Layout::octets},
    {0x06, 0x0a, "evi-rt", Layout::as2},
    {0x06, 0x0b, "evi-rt", Layout::ip4},
    {0x06, 0x0c, "evi-rt", Layout::as4},
    {0x06, 0x0e, "attachment-circuit", Layout::octets},
    {0x06, 0x0f, "service-carving-time", Layout::octets},
    // FlowSpec: RFC 8955
    {0x80, 0x06, "traffic-rate", Layout::linkBandwidth},
    {0x80, 0x07, "traffic-action", Layout::trafficAction},
    {0x80, 0x08, "redirect", Layout::as2},
    {0x81, 0x08, "redirect", Layout::ip4},
    {0x82, 0x08, "redirect", Layout::as4},
    {0x80, 0x09, "traffic-marking", Layout::trafficMarking},
    {0x80, 0x0a, "layer2-info", Layout::vplsInfo},
    {0x80, 0x0c, "traffic-rate-packets", Layout::packetRate},
    {0x08, 0x00, "redirect-to-next-hop", Layout::copyFlag},
});

constexpr auto ip6Types = std::to_array<Ip6Form>({
    {0x0002, "rt"},
    {0x0003, "soo"},
    {0x000b, "vrf-route-import"},
    {0x000c, "redirect-to-ip"}, // RFC 8956
    {0x000d, "redirect"},       // RFC 8956
    {0x0010, "vpn-distinguisher"},
    {0x0012, "segmented-next-hop"},
});

/// Appends fields separated by colons, then flags separated by commas.
class Fields {
  public:
    explicit Fields(std::string& out)
      : out_(out) {}

    Fields& number(U64 value, int base = 10) {
        next();
        out_ += base == 16 ? "0x" : "";
        appendNumber(out_, value, base);
        return *this;
    }

    Fields& text(std::string_view value) {
        next();
        out_ += value;
        return *this;
    }

    Fields& address(Octets octets) {
        next();
        appendText(out_, ipAddress(octets));
        return *this;
    }

    /// Appends `scale` times an IEEE 754 number.
    Fields& real(U32 bits, double scale, std::string_view unit) {
        next();
        double const value = static_cast<double>(std::bit_cast<float>(bits)) * scale;
        char digits[64]; // of 8 times the largest float
        auto const format = std::abs(value) >= 1 || value == 0 ? std::chars_format::fixed
                                                               : std::chars_format::general;
        out_.append(digits, std::to_chars(digits, digits + sizeof digits, value, format).ptr);
        out_ += unit;
        return *this;
    }

    Fields& flag(bool set, std::string_view name) {
        if (set) {
            out_ += first_ ? ':' : ',';
            first_ = false;
            out_ += name;
        }
        return *this;
    }

  private:
    void next() {
        out_ += ':';
        first_ = false;
    }

    std::string& out_;
    bool first_ = true;
};

constexpr U16 highestTunnelType = 19; // that has a name

std::string_view tunnelName(U16 type) {
    switch (type) {
    case 1:
        return "l2tpv3";
    case 2:
        return "gre";
    case 7:
        return "ip-in-ip";
    case 8:
        return "vxlan";
    case 9:
        return "nvgre";
    case 10:
        return "mpls";
    case 11:
        return "mpls-in-gre";
    case 12:
        return "vxlan-gpe";
    case 13:
        return "mpls-in-udp";
    case 15:
        return "sr-policy";
    case highestTunnelType:
        return "geneve";
    default:
        return {};
    }
}

void appendMac(Fields& fields, Octets octets) {
    std::string text;
    appendHex(text, octets, ":");
    fields.text(text);
}

void appendColor(Fields& fields, OctetReader& in) {
    unsigned int const co = in.u16() >> 14;
    fields.number(in.u32());
    constexpr std::string_view bits[] = {"", "co=01", "co=10", "co=11"};
    fields.flag(co != 0, bits[co]);
}

std::string_view validationStateName(U16 state) {
    return nameOf(static_cast<Routing::Bgp::Rpki::OriginValidationState>(state));
}

void appendValidationState(Fields& fields, U8 state) {
    if (auto const name = validationStateName(state); !name.empty()) {
        fields.text(name);
    } else {
        fields.number(state);
    }
}

/// Appends the fields of layouts that are just a sequence of them; returns false for other layouts.
bool appendPlainFields(Fields& fields, Layout layout, OctetReader& in) {
    switch (layout) {
    case Layout::as2:
        fields.number(in.u16()).number(in.u32());
        return true;
    case Layout::ip4:
        fields.address(in.octets(4)).number(in.u16());
        return true;
    case Layout::as4:
        fields.number(in.u32()).number(in.u16());
        return true;
    case Layout::linkBandwidth:
        fields.number(in.u16()).real(in.u32(), 8, "bps");
        return true;
    case Layout::packetRate:
        fields.number(in.u16()).real(in.u32(), 1, "pps");
        return true;
    case Layout::ospfRouteType:
        fields.address(in.octets(4)).number(in.u8()).number(in.u8());
        return true;
    case Layout::cost:
        fields.number(in.u8()).number(in.u8()).number(in.u32());
        return true;
    case Layout::dfElection:
        fields.number(in.u8() & 0x1f).number(in.u16(), 16);
        return true;
    case Layout::vplsInfo:
        fields.number(in.u8()).number(in.u8(), 16).number(in.u16());
        return true;
    default:
        return false;
    }
}

U32 takeLabel(OctetReader& in) {
    U32 const high = in.u16();
    return (high << 8 | in.u8()) >> 4;
}

/// Appends the fields of the EVPN layouts.
void appendEvpnFields(Fields& fields, Layout layout, OctetReader& in) {
    if (layout == Layout::mac) {
        appendMac(fields, in.rest());
        return;
    }
    if (layout == Layout::layer2) {
        unsigned int const flags = in.u16();
        fields.number(in.u16());
        fields.flag((flags & 1) != 0, "backup").flag((flags & 2) != 0, "primary");
        fields.flag((flags & 4) != 0, "control-word");
        return;
    }
    bool const flag = (in.u8() & 1) != 0;
    if (layout == Layout::macMobility) {
        in.u8();
        fields.number(in.u32()).flag(flag, "sticky");
    } else {
        in.u16();
        fields.number(takeLabel(in));
        fields.flag(flag, layout == Layout::etree ? "leaf" : "single-active");
    }
}

void appendFields(std::string& out, Layout layout, Octets value) {
    Fields fields(out);
    OctetReader in(value);
    unsigned int const last = value.back();
    switch (layout) {
    case Layout::color:
        appendColor(fields, in);
        break;
    case Layout::encapsulation: {
        in.u32();
        U16 const type = in.u16();
        auto const name = tunnelName(type);
        fields.text(name.empty() ? std::to_string(type) : name);
        break;
    }
    case Layout::validationState:
        appendValidationState(fields, static_cast<U8>(last));
        break;
    case Layout::trafficAction:
        fields.flag((last & 2) != 0, "sample").flag((last & 1) != 0, "terminal");
        break;
    case Layout::trafficMarking:
        fields.number(last & 0x3f);
        break;
    case Layout::copyFlag:
        fields.flag((last & 1) != 0, "copy");
        break;
    case Layout::octets:
        out += ':';
        appendHex(out, value);
        break;
    case Layout::nothing:
        break;
    default:
        if (!appendPlainFields(fields, layout, in)) {
            appendEvpnFields(fields, layout, in);
        }
        break;
    }
}

} // namespace

std::span<ExtendedForm const> extendedForms() {
    return forms;
}

bool mayBeginFields(Layout layout, std::string_view fields) {
    std::string_view const word = fields.substr(0, fields.find_first_of(",*"));
    bool const isWhole = word.size() == fields.size() || fields[word.size()] == ',';
    auto const isWord = [=](std::string_view known) {
        return isWhole ? known == word : known.starts_with(word);
    };
    auto const isNamed = [&](auto const& nameOfNumber, U16 highest) {
        bool found = false;
        for (U16 number = 0; number <= highest && !found; ++number) {
            std::string_view const name = nameOfNumber(number);
            found = !name.empty() && isWord(name);
        }
        return found;
    };
    auto const isNumber = std::isdigit(static_cast<unsigned char>(fields.front())) != 0;
    switch (layout) {
    case Layout::encapsulation:
        return isNumber || isNamed(tunnelName, highestTunnelType);
    case Layout::validationState:
        return isNumber || isNamed(validationStateName, 2);
    case Layout::trafficAction:
        return isWord("sample") || isWord("terminal");
    case Layout::copyFlag:
        return isWord("copy");
    case Layout::mac:
    case Layout::octets:
        return std::isxdigit(static_cast<unsigned char>(fields.front())) != 0;
    case Layout::nothing:
        return false;
    default:
        return isNumber;
    }
}

std::span<Ip6Form const> ip6Forms() {
    return ip6Types;
}

std::string_view ip6TypeName(U16 type) {
    auto const* const found =
        std::find_if(ip6Types.begin(), ip6Types.end(),
                     [type](Ip6Form const& form) { return form.type == type; });
    return found == ip6Types.end() ? std::string_view() : found->name;
}

ExtendedForm const* extendedForm(Octets community) {
    auto const* const found =
        std::find_if(forms.begin(), forms.end(), [community](ExtendedForm const& form) {
            return form.type == community[0] && form.subtype == community[1];
        });
    return found == forms.end() ? nullptr : found;
}

void appendExtendedName(std::string& out, Octets community) {
    Octets const value = community.subspan(2);
    if (auto const* const form = extendedForm(community)) {
        out += form->name;
        appendFields(out, form->layout, value);
    } else {
        out += "0x";
        appendHex(out, community.first(2));
        out += ':';
        appendHex(out, value);
    }
}

} // namespace BgpCommunities
