#pragma once

#include <string>

#include "AttributeVerdict.h"
#include "CommunityFormatter.h"
#include "JsonWriter.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// Formats lists of one kind, a row of ListKinds.h. Lists may be interned or rebuilt from a store.
///
/// Owns its buffers and reuses them. Thread-compatible.
template <class Kind>
class ListFormatter {
  public:
    using List = typename Kind::List;

    /// `dictionary` is not owned and may be null.
    explicit ListFormatter(Dictionary const* dictionary = nullptr)
      : members_(dictionary) {}

    [[nodiscard]] CommunityFormatter& members() { return members_; }

    /// Writes the keys that describe the list, from "text" on. "wire" is null if the list does not
    /// fit in a path attribute.
    void writeJson(JsonWriter& json, List const& list, Detail detail) {
        json.key("text").string(list.toStrep());
        if (detail != Detail::lean) {
            writeOctets(json, list);
        }
        json.key("communities").beginArray();
        for (auto const& member : list) {
            members_.writeJson(json, member, detail);
        }
        json.endArray();
    }

  private:
    void writeOctets(JsonWriter& json, List const& list) {
        value_.clear();
        for (auto const& member : list) {
            CommunityFormatter::appendOctets(value_, member);
        }
        json.key("value").octets(octetsOf(value_));
        json.key("wire");
        if (value_.size() <= maxAttributeOctets) {
            json.octets(octetsOf(Kind::wire(list)));
        } else {
            json.null();
        }
    }

    CommunityFormatter members_;
    std::string value_; // the members' octets
};

} // namespace BgpCommunities
