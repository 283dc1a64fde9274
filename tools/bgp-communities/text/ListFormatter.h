#pragma once

#include <string>

#include "AttributeVerdict.h"
#include "CommunityFormatter.h"
#include "JsonWriter.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/**
 * Puts lists of one kind, a row of ListKinds.h, into words: interned ones, and those that were
 * rebuilt from a store.
 *
 * It owns the memory that the texts are made in, and uses it again. Thread-compatible.
 */
template <class Kind>
class ListFormatter {
  public:
    using List = typename Kind::List;

    [[nodiscard]] CommunityFormatter& members() { return members_; }

    /** Writes the keys that say all of the list, from "text" on; of the path attribute null if none
        can hold the list. */
    void writeJson(JsonWriter& json, List const& list, Detail detail) {
        json.key("text").string(list.toStrep());
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
        json.key("communities").beginArray();
        for (auto const& member : list) {
            members_.writeJson(json, member, detail);
        }
        json.endArray();
    }

  private:
    CommunityFormatter members_;
    std::string value_; // the members' octets
};

} // namespace BgpCommunities
