#include "MrtRecords.h"

#include "RecordParser.h"

namespace BgpCommunities {

bool MrtRecords::next(MrtRecord& record) {
    giveBack();
    if (!stream_.header(record.header) || !takeBody(record)) {
        return false;
    }
    ++records_;
    keepPeers(record);
    decidePathIds(record);
    return true;
}

bool MrtRecords::takeBody(MrtRecord& record) {
    RecordHeader const& header = record.header;
    record.body = {};
    record.held =
        RecordParser::reads(header) && header.length <= RecordParser::maxBodyOctets(header);
    if (!record.held) {
        return stream_.passOver(header.length);
    }
    if (header.length > largeOctets) {
        if (budget_ != nullptr) {
            budget_->take(header.length);
        }
        share_ = header.length;
    }
    return stream_.body(header.length, record.body);
}

void MrtRecords::giveBack() {
    if (share_ == 0) {
        return;
    }
    stream_.releaseSpare();
    if (budget_ != nullptr) {
        budget_->giveBack(share_);
    }
    share_ = 0;
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
