#include "AttributeCheck.h"

#include "AttributeVerdict.h"
#include "JsonWriter.h"
#include "ListKinds.h"

#include <Mox/Assert.h>

#include <string>
#include <string_view>

namespace BgpCommunities::Test {

namespace {

/// The attribute is one, and nothing else is there.
Octets valueOf(Mox::String const& wire, CommunityKind kind) {
    std::string_view const text(wire);
    PathAttributeReader reader({reinterpret_cast<std::uint8_t const*>(text.data()), text.size()});
    PathAttribute attribute, more;
    MOX_ASSERT(reader.next(attribute) && !reader.next(more) && reader.fault().empty());
    MOX_ASSERT(attribute.type == traitsOf(kind).attributeType);
    return attribute.value;
}

template <class Kind>
void checkList(Agent& agent, Octets value) {
    auto const list = Kind::intern(agent, value);
    auto const wire = Kind::wire(*list);
    auto const sent = valueOf(wire, Kind::kind);
    MOX_ASSERT(sent.size() <= value.size() && malformation(Kind::kind, sent).empty());
    auto const again = Kind::intern(agent, sent);
    MOX_ASSERT(again == list && Kind::wire(*again) == wire);
}

void checkList(Agent& agent, CommunityKind kind, Octets value) {
    switch (kind) {
    case CommunityKind::standard:
        return checkList<StandardLists>(agent, value);
    case CommunityKind::extended:
        return checkList<ExtendedLists>(agent, value);
    case CommunityKind::ip6Extended:
        return checkList<Ip6Lists>(agent, value);
    case CommunityKind::large:
        return checkList<LargeLists>(agent, value);
    }
}

} // namespace

void AttributeCheck::check(CommunityKind kind, Octets value) {
    auto& decoder = *decoders_[static_cast<std::size_t>(kind)];
    bool const isList = malformation(kind, value).empty() && refusal(kind, value).empty();
    MOX_ASSERT(decoder.decode(value).empty() == isList);
    if (!isList) {
        return;
    }
    std::string text;
    decoder.appendText(text);
    MOX_ASSERT(!text.empty() && text.back() == '\n');
    std::string line;
    JsonWriter json(line);
    decoder.writeJson(json, value, {}, Detail::withForms);
    MOX_ASSERT(line.front() == '{' && line.back() == '}');
    checkList(agent_, kind, value);
}

} // namespace BgpCommunities::Test
