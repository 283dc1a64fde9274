#include "UpdateReader.h"

#include <string>

#include "Bgp4mp.h"

namespace BgpCommunities {

bool UpdateReader::reads(std::uint16_t subtype) {
    return bgp4mpForm(subtype).holds != Bgp4mpForm::Holds::nothingRead;
}

void UpdateReader::read(RecordContext const& record, std::uint16_t subtype, Octets body,
                        PathIds pathIds) {
    Bgp4mpForm const& form = bgp4mpForm(subtype);
    OctetReader in(body);
    Bgp4mpEnds ends;
    if (auto const fault = readEnds(in, form.as4, ends); !fault.empty()) {
        record.reportBrokenRecord(std::string(fault));
        return;
    }
    if (form.holds == Bgp4mpForm::Holds::stateChange) {
        StateChange const change = {record.at(), ends.peer, in.u16(), in.u16()};
        if (!in.ok()) {
            record.reportBrokenRecord("the record is too short for two states");
            return;
        }
        record.handler().handleStateChange(change);
        return;
    }
    update_.at = record.at();
    update_.peer = ends.peer;
    update_.sentByUs = form.local;
    readMessage(record, in, pathIds);
}

void UpdateReader::readMessage(RecordContext const& record, OctetReader& in, PathIds pathIds) {
    std::size_t const left = in.left();
    BgpMessage message;
    if (!BgpCommunities::readMessage(in, message)) {
        record.reportBrokenRecord("the record is too short for the header of a BGP message");
    } else if (message.type == BgpMessage::update) {
        ++record.counts().updates;
        readUpdate(record, message.body, pathIds);
    } else if (!message.whole) {
        record.reportBrokenRecord("a BGP message claims " + std::to_string(message.length) +
                                  " octets where the record has " + std::to_string(left));
    }
}

void UpdateReader::readUpdate(RecordContext const& record, Octets message, PathIds pathIds) {
    UpdateAreas areas;
    if (!splitUpdate(message, areas)) {
        ++record.counts().brokenUpdates;
        record.report(ProblemKind::brokenUpdate,
                      "an UPDATE is too short for its own length fields");
        return;
    }
    area_.read(areas.attributes);
    record.account(area_);
    std::string_view const withdrawnFault = readWithdrawn(areas.withdrawn, pathIds);
    std::string_view const announcedFault = readAnnounced(areas.announced, pathIds);
    if (auto const fault = withdrawnFault.empty() ? announcedFault : withdrawnFault;
        !fault.empty()) {
        ++record.counts().brokenRoutes;
        record.report(ProblemKind::brokenRoutes, std::string(fault));
    }
    update_.brokenAttributes = !area_.fault.empty();
    update_.communities = area_.communities;
    update_.withdrawn = withdrawn_;
    update_.announced = announced_;
    record.handler().handleUpdate(update_);
}

std::string_view UpdateReader::readWithdrawn(Octets nlri, PathIds pathIds) {
    withdrawn_.clear();
    std::string_view const fault = readRoutes(nlri, {ipv4Unicast, pathIds.ipv4, true}, withdrawn_);
    std::string_view mpFault;
    if (area_.mpUnreach) {
        MpNlri mp;
        mpFault = splitMpUnreach(*area_.mpUnreach, mp)
                      ? readRoutes(mp.nlri, {mp.family, pathIds.mpUnreach, true}, withdrawn_)
                      : "MP_UNREACH_NLRI is too short for its family";
    }
    return fault.empty() ? mpFault : fault;
}

std::string_view UpdateReader::readAnnounced(Octets nlri, PathIds pathIds) {
    announced_.clear();
    std::string_view const fault = readRoutes(nlri, {ipv4Unicast, pathIds.ipv4, false}, announced_);
    std::string_view mpFault;
    if (area_.mpReach) {
        MpNlri mp;
        mpFault = splitMpReach(*area_.mpReach, mp)
                      ? readRoutes(mp.nlri, {mp.family, pathIds.mpReach, false}, announced_)
                      : "MP_REACH_NLRI is too short for its next hop";
    }
    if (fault.empty() && mpFault.empty() && area_.repeatedMultiprotocol) {
        return "MP_REACH_NLRI or MP_UNREACH_NLRI stands there twice";
    }
    return fault.empty() ? mpFault : fault;
}

} // namespace BgpCommunities
