#include "AttributeDecoder.h"

#include <algorithm>
#include <utility>

#include "ListKinds.h"
#include "text/AttributeVerdict.h"
#include "text/ListFormatter.h"

namespace BgpCommunities {

using namespace Routing::Bgp;

namespace {

// ---- Selections: what is serialized for different receivers -------------------------------------

void writeSelections(JsonWriter& json, ExtCommList const& list) {
    struct Selection {
        std::string_view name;
        U32 word;
    };
    constexpr Selection selections[] = {
        {"0x1", 0x1}, {"0x2", 0x2}, {"0x6", 0x6}, {"0xa", 0xa}, {"0xe", 0xe},
    };
    json.key("selections").beginObject();
    for (auto const& [name, word] : selections) {
        json.key(name).octets(octetsOf(list.serialize(ExtCommList::Serialization(word))));
    }
    json.endObject();
}

void writeSelections(JsonWriter& json, ExtCommIp6List const& list) {
    json.key("selections").beginObject();
    json.key("all").octets(octetsOf(list.serialize(true)));
    json.key("transitive").octets(octetsOf(list.serialize(false)));
    json.endObject();
}

// ---- Regular expressions ------------------------------------------------------------------------

template <class List>
bool listMatches(List const& list, Routing::RouteMap::PosixRegex const& regex) {
    return list.matchCommunitiesRegex(&regex);
}

/// The library does not match these lists itself, but provides the text.
bool listMatches(ExtCommIp6List const& list, Routing::RouteMap::PosixRegex const& regex) {
    return regex.execute(list.commsStringForm()) == 0;
}

// ---- One kind -----------------------------------------------------------------------------------

/// The decoder of one kind.
template <class Kind>
class ListDecoder final : public AttributeDecoder {
  public:
    ListDecoder(Agent& agent, Dictionary const* dictionary)
      : AttributeDecoder(Kind::kind)
      , agent_(agent)
      , formatter_(dictionary) {}

    std::string decode(Octets value) override {
        auto decoded = agent_.list<Kind>(value);
        list_ = std::move(decoded.list);
        return verdictText(decoded.verdict, kind(), value.size());
    }

    void release() override { list_ = nullptr; }

    void appendText(std::string& out) override {
        for (auto const& member : *list_) {
            out.append("  ").append(formatter_.members().text(member));
            formatter_.members().appendNotes(out, kind(), member);
            out += '\n';
        }
    }

    void appendList(std::string& out) override { out += list_->toStrep(); }

    bool matches(Routing::RouteMap::PosixRegex const& regex) override {
        return listMatches(*list_, regex);
    }

    bool contains(CommunityPattern const& pattern) override {
        return std::any_of(list_->begin(), list_->end(), [&](auto const& member) {
            auto& members = formatter_.members();
            if constexpr (requires { members.prints(member, pattern.printed()); }) {
                if (!pattern.printed().empty()) {
                    return members.prints(member, pattern.printed());
                }
            }
            return pattern.covers(kind(), members.octets(member));
        });
    }

  protected:
    void writeList(JsonWriter& json, Detail detail) override {
        formatter_.writeJson(json, *list_, detail);
        if constexpr (requires { writeSelections(json, *list_); }) {
            if (detail == Detail::withForms) {
                writeSelections(json, *list_);
            }
        }
    }

  private:
    Agent& agent_;
    typename Kind::List::PtrConst list_;
    ListFormatter<Kind> formatter_;
};

} // namespace

void AttributeDecoder::writeJson(JsonWriter& json, Octets value, std::string_view fault,
                                 Detail detail) {
    json.beginObject();
    json.key("attribute").number(traitsOf(kind()).attributeType);
    json.key("octets").octets(value);
    if (fault.empty()) {
        writeList(json, detail);
    } else {
        json.key("error").string(fault);
    }
    json.endObject();
}

std::vector<std::unique_ptr<AttributeDecoder>> attributeDecoders(Agent& agent,
                                                                 Dictionary const* dictionary) {
    std::vector<std::unique_ptr<AttributeDecoder>> decoders;
    forEachKind([&]<class Kind>(Kind) {
        decoders.push_back(std::make_unique<ListDecoder<Kind>>(agent, dictionary));
    });
    return decoders;
}

} // namespace BgpCommunities
