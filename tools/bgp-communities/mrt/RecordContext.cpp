#include "RecordContext.h"

#include <utility>

namespace BgpCommunities {

void RecordContext::report(ProblemKind kind, std::string reason) const {
    handler_.handleProblem({kind, file_, at_, std::move(reason)});
}

void RecordContext::reportBrokenRecord(std::string reason) const {
    ++counts_.brokenRecords;
    report(ProblemKind::brokenRecord, std::move(reason));
}

void RecordContext::checkEnd(std::size_t octetsLeft) const {
    if (octetsLeft != 0) {
        reportBrokenRecord("octets after the content of the record: " + std::to_string(octetsLeft));
    }
}

void RecordContext::account(AttributeArea const& area) const {
    for (CommunityAttribute const& attribute : area.communities) {
        counts_.communities[static_cast<std::size_t>(attribute.kind)].count(attribute);
        CommunityKindTraits const& traits = traitsOf(attribute.kind);
        if (attribute.form() == CommunityAttribute::Form::empty) {
            report(ProblemKind::emptyAttribute,
                   "attribute " + std::to_string(traits.attributeType) + " is empty");
        } else if (attribute.form() == CommunityAttribute::Form::malformed) {
            report(ProblemKind::malformedAttribute,
                   "attribute " + std::to_string(traits.attributeType) + " has " +
                       std::to_string(attribute.value.size()) + " octets, not a multiple of " +
                       std::to_string(traits.memberOctets));
        }
    }
    if (!area.fault.empty()) {
        ++counts_.brokenAttributeAreas;
        report(ProblemKind::brokenAttributeArea, area.fault);
    }
}

void RecordContext::accountEnd(DumpEnd const& end) {
    setPosition({end.number, end.offset, 0, 0});
    counts_.truncatedOctets += end.octetsLeft;
    if (end.octetsLeft != 0) {
        report(ProblemKind::truncatedRecord, "truncated record: the input ends after " +
                                                 std::to_string(end.octetsLeft) + " octets of it");
    }
    if (!end.damage.empty()) {
        report(ProblemKind::damagedInput, end.damage);
    }
}

} // namespace BgpCommunities
