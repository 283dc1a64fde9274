#include "MrtRecords.h"

#include "Bgp4mp.h"
#include "RecordForms.h"
#include "RouteHandler.h"

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
    record.hasBody = isSupported(header) && header.length <= maxBodyOctets(header);
    if (!record.hasBody) {
        return stream_.skip(header.length);
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
    if (record.hasBody && holdsPeers(record.header)) {
        peers_ = std::make_shared<PeerTable const>(readPeerTable(record.body));
    } else if (record.hasBody && !peers_ && !missedPeers_) {
        missedPeers_ = needsPeers(record.header);
        record.firstWithoutPeers = missedPeers_;
    }
    record.peers = peers_;
}

void MrtRecords::decidePathIds(MrtRecord& record) {
    record.pathIds = {};
    if (!record.hasBody || !isBgp4mp(record.header)) {
        return;
    }
    Bgp4mpForm const& form = bgp4mpForm(record.header.subtype);
    OctetReader in(bgp4mpBody(record.header, record.body));
    Bgp4mpEnds ends;
    if (!readEnds(in, form.as4, ends).empty()) {
        return;
    }
    if (form.content == Bgp4mpForm::Content::stateChange) {
        if (in.u16() == StateChange::established && in.u16() != StateChange::established &&
            in.ok()) {
            addPath_.endSession(ends.of(form));
        }
        return;
    }
    if (BgpMessage message; readMessage(in, message)) {
        record.pathIds = addPath_.decide(ends.of(form), message, form.pathIds);
    }
}

} // namespace BgpCommunities
