#include "RecordParser.h"

#include <string>

namespace BgpCommunities {

namespace {

// RFC 6396, section 4.
constexpr std::uint16_t tableDump = 12;
constexpr std::uint16_t tableDumpV2 = 13;
constexpr std::uint16_t bgp4mp = 16;
constexpr std::uint16_t bgp4mpEt = 17;

} // namespace

bool RecordParser::reads(RecordHeader const& header) {
    switch (header.type) {
    case tableDump:
        return RibReader::readsTableDump(header.subtype);
    case tableDumpV2:
        return RibReader::readsTableDumpV2(header.subtype);
    case bgp4mp:
    case bgp4mpEt:
        return UpdateReader::reads(header.subtype);
    default:
        return false;
    }
}

std::uint32_t RecordParser::maxBodyOctets(RecordHeader const& header) {
    constexpr std::uint32_t most16 = 0xffff;  // of a length or count of two octets
    constexpr std::uint32_t microseconds = 4; // BGP4MP_ET
    constexpr std::uint32_t ends = 4 + 4 + 2 + 2 + 16 + 16;
    constexpr std::uint32_t route = 2 + 2 + 16 + 1 + 1 + 4 + 16 + 2 + 2; // TABLE_DUMP
    constexpr std::uint32_t peer = 1 + 4 + 16 + 4;
    if (header.type == tableDump) {
        return route + most16;
    }
    if (header.type == tableDumpV2) {
        return holdsPeers(header) ? 4 + 2 + most16 + 2 + most16 * peer : maxRibOctets;
    }
    return microseconds + ends + most16;
}

bool RecordParser::holdsPeers(RecordHeader const& header) {
    return header.type == tableDumpV2 && header.subtype == RibReader::peerIndexTable;
}

bool RecordParser::needsPeers(RecordHeader const& header) {
    return header.type == tableDumpV2 && header.subtype != RibReader::peerIndexTable;
}

bool RecordParser::isBgp4mp(RecordHeader const& header) {
    return header.type == bgp4mp || header.type == bgp4mpEt;
}

/** BGP4MP_ET: microseconds (4) before the rest, RFC 6396, section 3. */
Octets RecordParser::bgp4mpBody(MrtRecord const& record) {
    OctetReader in(record.body);
    if (record.header.type == bgp4mpEt) {
        in.u32();
    }
    return in.rest();
}

void RecordParser::read(RecordContext& context, MrtRecord const& record) {
    RecordHeader const& header = record.header;
    context.atIs({header.number, header.offset, header.seconds, 0});
    ++context.counts().records;
    if (record.held) {
        readHeld(context, record);
    } else if (reads(header)) {
        context.reportBrokenRecord("record of " + std::to_string(header.length) +
                                   " octets, expected at most " +
                                   std::to_string(maxBodyOctets(header)));
    } else {
        ++context.counts().skippedRecords;
    }
}

void RecordParser::readHeld(RecordContext& context, MrtRecord const& record) {
    RecordHeader const& header = record.header;
    switch (header.type) {
    case tableDump:
        ribReader_.readTableDump(context, record);
        break;
    case tableDumpV2:
        ribReader_.readTableDumpV2(context, record);
        break;
    default:
        if (header.type == bgp4mpEt) {
            context.atIs(
                {header.number, header.offset, header.seconds, OctetReader(record.body).u32()});
        }
        updateReader_.read(context, header.subtype, bgp4mpBody(record), record.pathIds);
        break;
    }
}

} // namespace BgpCommunities
