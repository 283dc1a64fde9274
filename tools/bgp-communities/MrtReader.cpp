#include "MrtReader.h"

#include <string>

namespace BgpCommunities {

namespace {

// RFC 6396, section 4.
constexpr std::uint16_t tableDump = 12;
constexpr std::uint16_t tableDumpV2 = 13;
constexpr std::uint16_t bgp4mp = 16;
constexpr std::uint16_t bgp4mpEt = 17;

bool reads(RecordHeader const& header) {
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

} // namespace

MrtReader::MrtReader(InputStream& input, RouteHandler& handler)
  : input_(input)
  , records_(input)
  , context_(input.name(), counts_, handler) {}

bool MrtReader::next() {
    RecordHeader header;
    if (ended_ || !records_.header(header)) {
        return handleEnd();
    }
    context_.atIs({header.number, header.offset, header.seconds, 0});
    bool const isRead = reads(header);
    bool const isHeld = isRead && header.length <= maxRecordOctets;
    Octets body;
    if (!(isHeld ? records_.body(header.length, body) : records_.passOver(header.length))) {
        return handleEnd();
    }
    ++counts_.records;
    if (isHeld) {
        readRecord(header, body);
    } else if (isRead) {
        context_.reportBrokenRecord("the record claims " + std::to_string(header.length) +
                                    " octets, more than any real one");
    } else {
        ++counts_.skippedRecords;
    }
    return true;
}

void MrtReader::readAll() {
    while (next()) {
    }
}

bool MrtReader::handleEnd() {
    if (ended_) {
        return false;
    }
    ended_ = true;
    counts_.truncatedOctets = records_.octetsLeft();
    context_.atIs({counts_.records + 1, records_.recordOffset(), 0, 0});
    if (counts_.truncatedOctets != 0) {
        context_.report(ProblemKind::truncatedRecord,
                        "the input ends in the middle of a record, after " +
                            std::to_string(counts_.truncatedOctets) + " octets of it");
    }
    if (!input_.damage().empty()) {
        context_.report(ProblemKind::damagedInput, input_.damage());
    }
    return false;
}

void MrtReader::readRecord(RecordHeader const& header, Octets body) {
    switch (header.type) {
    case tableDump:
        ribReader_.readTableDump(context_, header.subtype, body);
        break;
    case tableDumpV2:
        ribReader_.readTableDumpV2(context_, header.subtype, body);
        break;
    case bgp4mp:
        updateReader_.read(context_, header.subtype, body);
        break;
    default: // BGP4MP_ET: microseconds (4) before the rest, RFC 6396, section 3
        OctetReader in(body);
        context_.atIs({header.number, header.offset, header.seconds, in.u32()});
        updateReader_.read(context_, header.subtype, in.rest());
        break;
    }
}

} // namespace BgpCommunities
