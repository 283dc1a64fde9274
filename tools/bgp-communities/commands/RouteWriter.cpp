#include "RouteWriter.h"

#include "input/Numbers.h"
#include "lists/KindKeys.h"

namespace BgpCommunities {

void RouteWriter::fileIs(std::string_view name) {
    file_.clear();
    JsonWriter(file_).string(name);
}

void RouteWriter::write(RecordPosition const& at, Peer const& peer, Route const& route,
                        RouteTexts const& lists) {
    if (json_) {
        writeJson(at, peer, route, lists);
    } else {
        writeText(peer, route, lists);
    }
    output_.endLine();
}

void RouteWriter::writeText(Peer const& peer, Route const& route, RouteTexts const& lists) {
    std::string& out = output_.text();
    appendText(out, peer);
    out += '\t';
    appendText(out, route);
    out += '\t';
    if (route.hasPathId) {
        appendNumber(out, route.pathId);
    } else {
        out += '-';
    }
    for (ListText const* const list : lists) {
        out += '\t';
        if (list != nullptr) {
            out += list->text;
        } else {
            out += '-';
        }
    }
}

void RouteWriter::writeJson(RecordPosition const& at, Peer const& peer, Route const& route,
                            RouteTexts const& lists) {
    JsonWriter json(output_.text());
    json.beginObject();
    json.key("file").ready(file_);
    json.key("record").number(at.number);
    if (peer.address.size != 0) {
        json.key("peer").beginObject();
        writeString(json, "address", peer.address);
        json.key("as").number(peer.as).endObject();
    } else {
        json.key("peer").null();
    }
    writeString(json, "family", route.family);
    writeString(json, "prefix", route);
    if (route.hasPathId) {
        json.key("pathId").number(route.pathId);
    }
    json.key("communities").beginObject();
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        if (lists[kind] != nullptr) {
            json.key(kindKeys[kind]).ready(lists[kind]->text);
        }
    }
    json.endObject().endObject();
}

template <class Value>
void RouteWriter::writeString(JsonWriter& json, std::string_view key, Value const& value) {
    text_.clear();
    appendText(text_, value);
    json.key(key).string(text_);
}

} // namespace BgpCommunities
