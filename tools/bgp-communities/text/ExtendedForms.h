#pragma once

#include <span>
#include <string>
#include <string_view>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// The layout of the six octets after type and subtype of an extended community.
enum class ExtendedLayout : U8 {
    as2,             // AS (2) | number (4)
    ip4,             // IPv4 address (4) | number (2)
    as4,             // AS (4) | number (2)
    linkBandwidth,   // AS (2) | octets per second, IEEE 754 (4)
    packetRate,      // AS (2) | packets per second, IEEE 754 (4)
    color,           // flags (2) | color (4)                          RFC 9012, section 4.3
    encapsulation,   // 0 (4) | tunnel type (2)                        RFC 9012, section 4.1
    validationState, // 0 (5) | state (1)                              RFC 8097
    ospfRouteType,   // area (4) | type (1) | options (1)              RFC 4577, section 4.2.6
    cost,            // insertion point (1) | identifier (1) | cost (4)
    macMobility,     // flags (1) | 0 (1) | sequence number (4)        RFC 7432, section 7.7
    esiLabel,        // flags (1) | 0 (2) | label (3)                  RFC 7432, section 7.5
    mac,             // MAC address (6)                                RFC 7432, section 7.6
    layer2,          // flags (2) | MTU (2) | 0 (2)                    RFC 8214, section 3.1
    etree,           // flags (1) | 0 (2) | label (3)                  RFC 8317, section 5.1
    dfElection,      // algorithm (1) | capabilities (2) | 0 (3)       RFC 8584, section 2.2
    vplsInfo,        // encapsulation (1) | flags (1) | MTU (2) | ...  RFC 4761, section 3.2.4
    trafficAction,   // 0 (5) | flags (1)                              RFC 8955, section 7.3
    trafficMarking,  // 0 (5) | DSCP (1)                               RFC 8955, section 7.5
    copyFlag,        // 0 (5) | flags (1)
    octets,          // printed in hexadecimal
    nothing,         // not printed
};

/// A named extended community.
struct ExtendedForm {
    U8 type;
    U8 subtype;
    std::string_view name; // in lower case with dashes
    ExtendedLayout layout;
};

/// All named extended communities. A name may have several rows, one for each type of
/// administrator.
std::span<ExtendedForm const> extendedForms();

/// Returns the row of a community of 8 octets; null if it has no name.
ExtendedForm const* extendedForm(Octets community);

/// A named IPv6-address-specific extended community (RFC 5701).
struct Ip6Form {
    U16 type; // and subtype
    std::string_view name;
};

std::span<Ip6Form const> ip6Forms();

/// Whether appendExtendedName() may append `fields` for this layout, judging by their start: a
/// digit, or a word, which is incomplete before a "*". REQUIRES: `fields` is not empty.
bool mayBeginFields(ExtendedLayout layout, std::string_view fields);

/// Returns the name for type and subtype; empty if unknown.
std::string_view ip6TypeName(U16 type);

/// Appends the name and the fields of a community of 8 octets as one word: "rt:64496:300",
/// "mac-mobility:7,sticky", "link-bandwidth:64496:1000000000bps". Without a name, appends type,
/// subtype and octets: "0x4305:00000000002a".
void appendExtendedName(std::string& out, Octets community);

} // namespace BgpCommunities
