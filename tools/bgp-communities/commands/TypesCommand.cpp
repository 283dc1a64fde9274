#include "Commands.h"

#include <string>
#include <string_view>

#include <Mox/Type.h>
#include <VoBgp/Parse/ExtComm.h>

#include "text/JsonWriter.h"
#include "text/Output.h"

namespace BgpCommunities {

namespace {

constexpr Option typesOptions[] = {{jsonOption}};

constexpr std::string_view typesHelp =
    R"(usage: bgp-communities types [--json]

Prints the types registered by the library, by name: the attributes of a value or an object, the
members of an enumeration with their numbers.

  --json  one JSON object per type

examples:
  bgp-communities types | grep -A 8 ExtCommClassification
  bgp-communities types --json
)";

std::string_view kindName(Mox::Type::Kind kind) {
    switch (kind) {
    case Mox::Type::Kind::value:
        return "value";
    case Mox::Type::Kind::entity:
        return "object";
    case Mox::Type::Kind::enumeration:
        return "enumeration";
    }
    return {};
}

void writeTypeJson(std::string& out, Mox::Type const& type) {
    JsonWriter json(out);
    json.beginObject();
    json.key("type").string(type.name());
    json.key("kind").string(kindName(type.kind()));
    if (type.base() != nullptr) {
        json.key("base").string(type.base()->name());
    }
    if (type.kind() == Mox::Type::Kind::enumeration) {
        json.key("members").beginArray();
        for (auto const& member : type.members()) {
            json.beginObject();
            json.key("name").string(member.name);
            json.key("number").number(member.number);
            json.endObject();
        }
    } else {
        json.key("attributes").beginArray();
        for (auto const& attribute : type.attributes()) {
            json.string(attribute.name);
        }
    }
    json.endArray().endObject();
}

void writeTypeText(std::string& out, Mox::Type const& type) {
    out.append(type.name()).append(" (").append(kindName(type.kind()));
    if (type.base() != nullptr) {
        out.append(", a ").append(type.base()->name());
    }
    out += ')';
    for (auto const& attribute : type.attributes()) {
        out.append("\n  ").append(attribute.name);
    }
    for (auto const& member : type.members()) {
        out.append("\n  ").append(member.name).append(" ").append(std::to_string(member.number));
    }
}

ExitStatus types(Arguments const& arguments, Output& output) {
    if (!arguments.operands().empty()) {
        throw UsageError("types takes no argument");
    }
    bool const json = arguments.has(jsonOption);
    for (auto const* const type : Mox::TypeRegistry::types()) {
        (json ? writeTypeJson : writeTypeText)(output.text(), *type);
        output.endLine();
    }
    return ExitStatus::allRead;
}

} // namespace

Command const typesCommand = {
    "types", "print the types registered by the library", typesHelp, typesOptions, types, {}};

} // namespace BgpCommunities
