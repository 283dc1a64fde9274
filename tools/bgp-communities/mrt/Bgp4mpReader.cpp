#include "Bgp4mpReader.h"

#include <string>

#include "Bgp4mp.h"

namespace BgpCommunities {

void Bgp4mpReader::read(RecordContext const& record, U16 subtype, Octets body, PathIds pathIds) {
    Bgp4mpForm const& form = bgp4mpForm(subtype);
    OctetReader in(body);
    Bgp4mpEnds ends;
    if (auto const fault = readEnds(in, form.as4, ends); !fault.empty()) {
        record.reportBrokenRecord(std::string(fault));
        return;
    }
    if (form.content == Bgp4mpForm::Content::stateChange) {
        StateChange const change = {record.at(), ends.peer, in.u16(), in.u16()};
        if (!in.ok()) {
            record.reportBrokenRecord("record too short for two states");
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
        record.reportBrokenRecord("record too short for a BGP message header");
        return;
    }
    if (message.whole) {
        record.checkEnd(in.left());
    }
    if (message.type == BgpMessage::update) {
        ++record.counts().updates;
        readUpdate(record, message.body, pathIds);
    } else if (!message.whole) {
        record.reportBrokenRecord("truncated BGP message: length " +
                                  std::to_string(message.length) + ", " + std::to_string(left) +
                                  " octets left");
    }
}

void Bgp4mpReader::readUpdate(RecordContext const& record, Octets message, PathIds pathIds) {
    if (!content_.read(message, pathIds)) {
        ++record.counts().brokenUpdates;
        record.report(ProblemKind::brokenUpdate, "UPDATE too short for its own length fields");
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
