#pragma once

#include "RecordStream.h"
#include "input/IntegerTypes.h"
#include "input/OctetReader.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

// How the type and subtype of an MRT record determine the layout of its body (RFC 6396, section 4).

namespace MrtType {
inline constexpr U16 tableDump = 12;
inline constexpr U16 tableDumpV2 = 13;
inline constexpr U16 bgp4mp = 16;
inline constexpr U16 bgp4mpEt = 17;
} // namespace MrtType

/// The layout of a TABLE_DUMP_V2 subtype (RFC 6396, section 4.3; RFC 8050, section 4).
struct RibForm {
    bool isSupported = false;
    bool pathIds = false;
    bool hasFamilyField = false; // the generic forms contain their family
    Family family;               // for the other forms
};

/// Returns a form with `isSupported` false for unsupported and unassigned subtypes.
RibForm const& ribForm(U16 subtype);

/// Whether records of this type and subtype are supported.
bool isSupported(RecordHeader const& header);

/// The longest body that is read for this type, in octets: the sum of its fields at their longest,
/// or `maxRibOctets` for a RIB record, whose entries could add up to 4 GB.
U32 maxBodyOctets(RecordHeader const& header);

/// 65,535 entries of 256 octets each.
inline constexpr U32 maxRibOctets = 16U << 20;

/// Whether the record is a peer index table.
bool holdsPeers(RecordHeader const& header);

/// Whether the entries refer to peers by index.
bool needsPeers(RecordHeader const& header);

/// Whether the type is BGP4MP or BGP4MP_ET.
bool isBgp4mp(RecordHeader const& header);

/// Returns the body without the microseconds of BGP4MP_ET.
Octets bgp4mpBody(RecordHeader const& header, Octets body);

} // namespace BgpCommunities
