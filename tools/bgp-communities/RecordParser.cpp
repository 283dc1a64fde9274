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
        context.reportBrokenRecord("the record claims " + std::to_string(header.length) +
                                   " octets, more than any real one");
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
