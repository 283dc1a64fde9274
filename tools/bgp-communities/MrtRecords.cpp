#include "MrtRecords.h"

#include "RecordParser.h"

namespace BgpCommunities {

bool MrtRecords::next(MrtRecord& record) {
    RecordHeader& header = record.header;
    if (!stream_.header(header)) {
        return false;
    }
    record.held = RecordParser::reads(header) && header.length <= maxRecordOctets;
    record.body = {};
    if (!(record.held ? stream_.body(header.length, record.body)
                      : stream_.passOver(header.length))) {
        return false;
    }
    ++records_;
    keepPeers(record);
    decidePathIds(record);
    return true;
}

DumpEnd MrtRecords::end() const {
    return {records_ + 1, stream_.recordOffset(), stream_.octetsLeft(), input_.damage()};
}

void MrtRecords::keepPeers(MrtRecord& record) {
    record.firstWithoutPeers = false;
    if (record.held && RecordParser::holdsPeers(record.header)) {
        peers_ = std::make_shared<PeerTable const>(readPeerTable(record.body));
    } else if (record.held && !peers_ && !missedPeers_) {
        missedPeers_ = RecordParser::needsPeers(record.header);
        record.firstWithoutPeers = missedPeers_;
    }
    record.peers = peers_;
}

void MrtRecords::decidePathIds(MrtRecord& record) {
    bool const isBgp4mp = record.held && RecordParser::isBgp4mp(record.header);
    record.pathIds = isBgp4mp
                         ? addPath_.decide(record.header.subtype, RecordParser::bgp4mpBody(record))
                         : PathIds();
}

} // namespace BgpCommunities
