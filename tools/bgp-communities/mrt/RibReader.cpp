#include "RibReader.h"

#include <string>

#include "RecordForms.h"

namespace BgpCommunities {

namespace {

/// The fault of an area that ends before its last item. `count` is 0 if it ends before the number
/// of items.
std::string tooShort(std::string const& area, U16 count, std::string const& items) {
    return area + " too short for its " + (count == 0 ? "number of" : std::to_string(count)) + " " +
           items;
}

} // namespace

/// view (2) | sequence (2) | prefix (4, 16) | length in bits (1) | status (1) | originated (4) |
/// peer address (4, 16) | peer AS (2) | length (2) | attributes        RFC 6396, section 4.2
void RibReader::readTableDump(RecordContext const& context, MrtRecord const& record) {
    U16 const subtype = record.header.subtype;
    std::size_t const addressOctets = subtype == afiIpv4 ? 4 : 16;
    OctetReader in(record.body);
    in.octets(4);
    Octets const prefix = in.octets(addressOctets);
    U8 const bits = in.u8();
    in.u8();
    entry_.originated = in.u32();
    entry_.peer.address = ipAddress(in.octets(addressOctets));
    entry_.peer.as = in.u16();
    Octets const attributes = in.octets(in.u16());
    if (!in.ok()) {
        context.reportBrokenRecord("record too short for a route and its attributes");
        return;
    }
    context.checkEnd(in.left());
    Family const family = {subtype, safiUnicast};
    if (auto const fault = makePrefix(family, prefix, bits, entry_.route); !fault.empty()) {
        context.reportBrokenRecord(std::string(fault));
        return;
    }
    deliver(context, {attributes, AsWidth::two});
}

void RibReader::readTableDumpV2(RecordContext const& context, MrtRecord const& record) {
    if (!holdsPeers(record.header)) {
        readRib(context, record);
    } else if (!record.peers->whole) {
        context.reportBrokenRecord(tooShort("peer index table", record.peers->peerCount, "peers"));
    } else {
        context.checkEnd(record.peers->octetsLeft);
    }
}

/// sequence (4) | prefix, or AFI (2) | SAFI (1) | NLRI | entry count (2) | entries
///                                                 RFC 6396, sections 4.3.2 and 4.3.3
void RibReader::readRib(RecordContext const& context, MrtRecord const& record) {
    if (record.firstWithoutPeers) {
        context.reportBrokenRecord("no peer index table before the record");
    }
    U16 const subtype = record.header.subtype;
    RibForm const& form = ribForm(subtype);
    OctetReader in(record.body);
    in.octets(4);
    Family family = form.family;
    if (form.hasFamilyField) {
        family = {in.u16(), in.u8()};
        if (in.ok() && !hasKnownPieces(family)) {
            ++context.counts().skippedRecords;
            return;
        }
    }
    std::string_view const fault = readRoute(in, {family}, entry_.route);
    if (!fault.empty()) {
        context.reportBrokenRecord(std::string(fault));
        return;
    }
    readEntries(context, in, form.pathIds, record.peers.get());
}

/// peer index (2) | originated (4) | path identifier (4), optional | length (2) | attributes
///                                       RFC 6396, section 4.3.4, and RFC 8050, section 4
void RibReader::readEntries(RecordContext const& context, OctetReader& in, bool pathIds,
                            PeerTable const* peers) {
    U16 const count = in.u16();
    entry_.route.hasPathId = pathIds;
    bool peersKnown = true;
    for (U16 index = 0; in.ok() && index < count; ++index) {
        U16 const peer = in.u16();
        entry_.originated = in.u32();
        if (pathIds) {
            entry_.route.pathId = in.u32();
        }
        Octets const attributes = in.octets(in.u16());
        if (in.ok()) {
            peersKnown = findPeer(peers, peer) && peersKnown;
            deliver(context, {attributes, AsWidth::four});
        }
    }
    if (!in.ok()) {
        context.reportBrokenRecord(tooShort("record", count, "entries"));
    } else if (!peersKnown && peers != nullptr) {
        context.reportBrokenRecord("entry refers to a peer missing from the peer index table");
    } else {
        context.checkEnd(in.left());
    }
}

bool RibReader::findPeer(PeerTable const* peers, U16 index) {
    bool const known = peers != nullptr && index < peers->peers.size();
    entry_.peer = known ? peers->peers[index] : Peer();
    return known;
}

void RibReader::deliver(RecordContext const& context, AttributeOctets const& attributes) {
    ++context.counts().ribEntries;
    area_.read(attributes.area);
    context.account(area_);
    entry_.at = context.at();
    entry_.brokenAttributes = !area_.fault.empty();
    entry_.communities = area_.communities;
    entry_.attributes = attributes;
    context.handler().handleRibEntry(entry_);
}

} // namespace BgpCommunities
