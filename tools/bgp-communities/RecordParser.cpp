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
    case bgp4mp:
        updateReader_.read(context, header.subtype, record.body);
        break;
    default: // BGP4MP_ET: microseconds (4) before the rest, RFC 6396, section 3
        OctetReader in(record.body);
        context.atIs({header.number, header.offset, header.seconds, in.u32()});
        updateReader_.read(context, header.subtype, in.rest());
        break;
    }
}

} // namespace BgpCommunities
