#include "RecordParser.h"

#include <string>

#include "RecordForms.h"

namespace BgpCommunities {

void RecordParser::read(RecordContext& context, MrtRecord const& record) {
    RecordHeader const& header = record.header;
    context.setPosition({header.number, header.offset, header.seconds, 0});
    ++context.counts().records;
    if (record.hasBody) {
        readBody(context, record);
    } else if (isSupported(header)) {
        context.reportBrokenRecord("record of " + std::to_string(header.length) +
                                   " octets, expected at most " +
                                   std::to_string(maxBodyOctets(header)));
    } else {
        ++context.counts().skippedRecords;
    }
}

void RecordParser::readBody(RecordContext& context, MrtRecord const& record) {
    RecordHeader const& header = record.header;
    switch (header.type) {
    case MrtType::tableDump:
        ribReader_.readTableDump(context, record);
        break;
    case MrtType::tableDumpV2:
        ribReader_.readTableDumpV2(context, record);
        break;
    default:
        if (header.type == MrtType::bgp4mpEt) {
            context.setPosition(
                {header.number, header.offset, header.seconds, OctetReader(record.body).u32()});
        }
        bgp4mpReader_.read(context, header.subtype, bgp4mpBody(header, record.body),
                           record.pathIds);
        break;
    }
}

} // namespace BgpCommunities
