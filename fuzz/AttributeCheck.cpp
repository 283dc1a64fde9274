#include "AttributeCheck.h"

#include "input/IntegerTypes.h"
#include "lists/ListKinds.h"
#include "text/AttributeVerdict.h"
#include "text/JsonWriter.h"

#include <Mox/Assert.h>
#include <Mox/Hash.h>

#include <set>
#include <string>
#include <string_view>

namespace BgpCommunities::Test {

namespace {

/// Whether the octets are exactly one path attribute.
Octets valueOf(Mox::String const& wire, CommunityKind kind) {
    std::string_view const text(wire);
    PathAttributeReader reader({reinterpret_cast<U8 const*>(text.data()), text.size()});
    PathAttribute attribute, more;
    MOX_ASSERT(reader.next(attribute) && !reader.next(more) && reader.fault().empty());
    MOX_ASSERT(attribute.type == traitsOf(kind).attributeType);
    return attribute.value;
}

template <class Kind>
void checkList(Agent& agent, Octets value) {
    auto const list = agent.list<Kind>(value).list;
    auto const wire = Kind::wire(*list);
    auto const sent = valueOf(wire, Kind::kind);
    MOX_ASSERT(sent.size() <= value.size());
    auto const again = agent.list<Kind>(sent).list;
    MOX_ASSERT(again == list && Kind::wire(*again) == wire);
}

/// The number of distinct members of one type and subtype.
std::size_t distinctOfType(Octets value, U64 type) {
    std::set<U64> members;
    for (OctetReader in(value); !in.empty();) {
        U64 const high = in.u32();
        U64 const member = high << 32 | in.u32();
        if (member >> 48 == type) {
            members.insert(member);
        }
    }
    return members.size();
}

/// Whether the built-in rules accept these octets.
bool isAccepted(CommunityKind kind, Octets value) {
    return !value.empty() && value.size() <= maxAttributeOctets &&
           value.size() % traitsOf(kind).memberOctets == 0 &&
           (kind != CommunityKind::extended ||
            (distinctOfType(value, 0x4004) <= 1 && distinctOfType(value, 0x4300) <= 1));
}

} // namespace

void AttributeCheck::check(CommunityKind kind, Octets value) {
    // Allocates nothing: libFuzzer looks for leaks after each input that does.
    auto const hash = Mox::keyedHash(std::as_bytes(value)) ^ Mox::hashWord(static_cast<U64>(kind));
    auto& checked = checked_[hash % checked_.size()];
    if (checked != hash) {
        checkNew(kind, value);
        checked = hash;
    }
}

void AttributeCheck::checkNew(CommunityKind kind, Octets value) {
    auto& decoder = *decoders_[static_cast<std::size_t>(kind)];
    bool const isList = isAccepted(kind, value);
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
    withKind(kind, [&]<class Kind>(Kind) { checkList<Kind>(agent_, value); });
}

} // namespace BgpCommunities::Test
