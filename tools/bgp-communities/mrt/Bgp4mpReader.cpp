#include "Bgp4mpReader.h"

#include <string>

#include "Bgp4mp.h"

namespace BgpCommunities {

void Bgp4mpReader::read(RecordContext const& record, std::uint16_t subtype, Octets body,
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
        record.checkEnd(in.left());
        record.handler().handleStateChange(change);
        return;
    }
    update_.at = record.at();
    update_.peer = ends.peer;
    update_.sentByUs = form.local;
    update_.attributes.asWidth = form.as4 ? AsWidth::four : AsWidth::two;
    readMessage(record, in, pathIds);
}

void Bgp4mpReader::readMessage(RecordContext const& record, OctetReader& in, PathIds pathIds) {
    std::size_t const left = in.left();
    BgpMessage message;
    if (!BgpCommunities::readMessage(in, message)) {
        record.reportBrokenRecord("the record is too short for the header of a BGP message");
        return;
    }
    if (message.whole) {
        record.checkEnd(in.left());
    }
    if (message.type == BgpMessage::update) {
        ++record.counts().updates;
        readUpdate(record, message.body, pathIds);
    } else if (!message.whole) {
        record.reportBrokenRecord("a BGP message claims " + std::to_string(message.length) +
                                  " octets where the record has " + std::to_string(left));
    }
}

void Bgp4mpReader::readUpdate(RecordContext const& record, Octets message, PathIds pathIds) {
    if (!content_.read(message, pathIds)) {
        ++record.counts().brokenUpdates;
        record.report(ProblemKind::brokenUpdate,
                      "an UPDATE is too short for its own length fields");
        return;
    }
    AttributeArea const& attributes = content_.attributes();
    record.account(attributes);
    if (auto const fault = content_.routesFault(); !fault.empty()) {
        ++record.counts().brokenRoutes;
        record.report(ProblemKind::brokenRoutes, std::string(fault));
    }
    update_.brokenAttributes = !attributes.fault.empty();
    update_.communities = attributes.communities;
    update_.attributes.area = content_.attributeOctets();
    update_.withdrawn = content_.withdrawn();
    update_.announced = content_.announced();
    update_.body = message;
    record.handler().handleUpdate(update_);
}

} // namespace BgpCommunities
