#include "AttributeDecoder.h"

#include "ExtendedAttribute.h"

namespace BgpCommunities {

std::string ExtendedDecoder::decode(Octets value) {
    members_.clear();
    std::string fault = malformation(kind(), value);
    if (fault.empty()) {
        fault = refusal(value);
    }
    if (fault.empty()) {
        agent_.intern(value, members_);
    }
    return fault;
}

void ExtendedDecoder::appendText(std::string& out) {
    for (auto const& member : members_) {
        out.append("  ").append(formatter_.text(*member)).append("\n");
    }
}

void ExtendedDecoder::writeJson(JsonWriter& json) {
    json.key("communities").beginArray();
    for (auto const& member : members_) {
        formatter_.writeJson(json, *member);
    }
    json.endArray();
}

} // namespace BgpCommunities
