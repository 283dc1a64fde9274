#include "StationPrinter.h"

#include <algorithm>
#include <utility>

#include "text/TimeText.h"

namespace BgpCommunities {

StationPrinter::StationPrinter(Agent& agent, Output& output)
  : agent_(agent)
  , output_(output)
  , writer_(RouteFormat::json, output) {
    setDictionary(std::make_shared<Dictionary>());
}

void StationPrinter::setDictionary(std::shared_ptr<Dictionary const> dictionary) {
    caches_.clear();
    dictionary_ = std::move(dictionary);
    for (auto& decoder : attributeDecoders(agent_, dictionary_.get())) {
        caches_.emplace_back(std::move(decoder), filter_, *dictionary_, RouteFormat::json,
                             Detail::lean);
    }
}

void StationPrinter::setRouter(std::string_view address, std::string_view name) {
    router_.clear();
    JsonWriter json(router_);
    json.key("router").string(address);
    if (!name.empty()) {
        json.key("name").string(name);
    }
    writer_.setSource(router_);
}

void StationPrinter::setPeer(BmpPeer const& peer) {
    peerFields_.clear();
    JsonWriter json(peerFields_);
    json.key("view").string(nameOf(peer.view));
    auto const& distinguisher = peer.id.distinguisher;
    if (std::any_of(distinguisher.begin(), distinguisher.end(), [](auto each) { return each; })) {
        text_.clear();
        appendDistinguisher(text_, distinguisher);
        json.key("instance").string(text_);
    }
}

void StationPrinter::printAnnounced(RecordPosition const& at, BmpPeer const& peer,
                                    BmpUpdate const& update) {
    RouteAttributes const attributes(update.attributes);
    asPath_.clear();
    if (attributes.asPath()) {
        appendText(asPath_, *attributes.asPath());
    }
    RouteTexts lists{};
    for (CommunityAttribute const& attribute : update.content.attributes().communities) {
        if (attribute.repetition == 0) {
            auto const kind = static_cast<std::size_t>(attribute.kind);
            lists[kind] = &caches_[kind].find(attribute.value);
        }
    }
    setPeer(peer);
    Peer const shown = peer.peer();
    for (Route const& route : update.content.announced()) {
        RouteLine line = {
            RouteLine::Event::announced, at, shown, route, attributes, asPath_, lists};
        line.peerFields = peerFields_;
        writer_.write(line);
    }
}

void StationPrinter::printWithdrawn(RecordPosition const& at, BmpPeer const& peer,
                                    std::vector<Route> const& routes) {
    setPeer(peer);
    Peer const shown = peer.peer();
    RouteAttributes const attributes;
    RouteTexts const lists{};
    for (Route const& route : routes) {
        RouteLine line = {RouteLine::Event::withdrawn, at, shown, route, attributes, {}, lists};
        line.peerFields = peerFields_;
        writer_.write(line);
    }
}

JsonWriter StationPrinter::beginEvent(RecordPosition const& at, Microseconds time,
                                      std::string_view type) {
    JsonWriter json(output_.text());
    json.beginObject().raw(router_).key("record").number(at.number);
    text_.clear();
    appendTime(text_, time);
    json.key("time").string(text_).key("type").string(type);
    return json;
}

JsonWriter StationPrinter::beginPeerEvent(RecordPosition const& at, BmpPeer const& peer,
                                          std::string_view type) {
    JsonWriter json = beginEvent(at, at.time(), type);
    Peer const shown = peer.peer();
    text_.clear();
    appendText(text_, shown.address);
    json.key("peer").beginObject().key("address").string(text_);
    json.key("as").number(shown.as).endObject();
    setPeer(peer);
    json.raw(peerFields_);
    return json;
}

void StationPrinter::endEvent(JsonWriter& json) {
    json.endObject();
    output_.endLine();
}

void StationPrinter::printPeerUp(RecordPosition const& at, BmpPeer const& peer) {
    JsonWriter json = beginPeerEvent(at, peer, "peerUp");
    endEvent(json);
}

void StationPrinter::printPeerDown(RecordPosition const& at, BmpPeer const& peer,
                                   std::string_view reason, std::size_t routes) {
    JsonWriter json = beginPeerEvent(at, peer, "peerDown");
    json.key("reason").string(reason).key("routes").number(routes);
    endEvent(json);
}

void StationPrinter::printEndOfRib(RecordPosition const& at, BmpPeer const& peer, Family family) {
    JsonWriter json = beginPeerEvent(at, peer, "endOfRib");
    text_.clear();
    appendText(text_, family);
    json.key("family").string(text_);
    endEvent(json);
}

void StationPrinter::printRouterUp(RecordPosition const& at, Microseconds time,
                                   std::string_view description) {
    JsonWriter json = beginEvent(at, time, "routerUp");
    json.key("description").string(description);
    endEvent(json);
}

void StationPrinter::printRouterDown(RecordPosition const& at, Microseconds time,
                                     std::string_view reason) {
    JsonWriter json = beginEvent(at, time, "routerDown");
    json.key("reason").string(reason);
    endEvent(json);
}

} // namespace BgpCommunities
