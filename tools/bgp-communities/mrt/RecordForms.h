#pragma once

#include <cstdint>

#include "RecordStream.h"
#include "input/OctetReader.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

// What the type and subtype of an MRT record say about its body (RFC 6396, section 4).

namespace MrtType {
inline constexpr std::uint16_t tableDump = 12;
inline constexpr std::uint16_t tableDumpV2 = 13;
inline constexpr std::uint16_t bgp4mp = 16;
inline constexpr std::uint16_t bgp4mpEt = 17;
} // namespace MrtType

/** What a subtype of TABLE_DUMP_V2 says about its body (RFC 6396, 4.3; RFC 8050, 4). */
struct RibForm {
    bool isRead = false;
    bool pathIds = false;
    bool namesFamily = false; // the record does: the generic forms
    Family family;            // of the other forms
};

/** `isRead` is false for subtypes that are not read and unassigned ones. */
RibForm const& ribForm(std::uint16_t subtype);

/** Records of this type and subtype are read. */
bool isRead(RecordHeader const& header);

/** The longest body of such a record that is read, in octets: what the fields of its type can add
   up to, or `maxRibOctets` for a RIB record, whose entries could take 4 GB. */
std::uint32_t maxBodyOctets(RecordHeader const& header);

/** 65,535 entries of 256 octets each. */
inline constexpr std::uint32_t maxRibOctets = 16U << 20;

/** A peer index table. */
bool holdsPeers(RecordHeader const& header);

/** The entries refer to peers by their index. */
bool needsPeers(RecordHeader const& header);

/** BGP4MP or BGP4MP_ET. */
bool isBgp4mp(RecordHeader const& header);

/** The body of such a record, without the microseconds of BGP4MP_ET. */
Octets bgp4mpBody(RecordHeader const& header, Octets body);

} // namespace BgpCommunities
