#include "ExtCommFormatter.h"

#include <array>
#include <cstdint>

#include <Mox/CharBuffer.h>
#include <Mox/Enumeration.h>

namespace BgpCommunities {

namespace {

using Routing::Bgp::ExtComm;
using Routing::Bgp::ExtCommAsNumber;
using Routing::Bgp::ExtCommIpv4Address;

// ---- What the six value octets mean, by the object that the community became --------------------

void writeFields(JsonWriter& json, ExtCommAsNumber const& extComm) {
    json.key("as").number(extComm.asNumber().number());
    json.key("local").number(extComm.localAdmin());
}

void writeFields(JsonWriter& json, ExtCommIpv4Address const& extComm) {
    Mox::LocalCharBuffer<16> address;
    extComm.address().format(address);
    json.key("address").string(address.text());
    json.key("local").number(extComm.localAdmin2Octets());
}

/** Writes the fields of a community that is a `Class`; false for one that is none. */
template <class Class>
bool writeFieldsOf(JsonWriter& json, ExtComm const& extComm) {
    auto const* const object = dynamic_cast<Class const*>(&extComm);
    if (object != nullptr) {
        writeFields(json, *object);
    }
    return object != nullptr;
}

/** The first that fits says it all: a class stands before its base. */
constexpr auto fieldWriters = std::to_array<bool (*)(JsonWriter&, ExtComm const&)>({
    writeFieldsOf<ExtCommAsNumber>,
    writeFieldsOf<ExtCommIpv4Address>,
});

void writeFields(JsonWriter& json, ExtComm const& extComm) {
    json.beginObject();
    for (auto const write : fieldWriters) {
        if (write(json, extComm)) {
            break;
        }
    }
    json.endObject();
}

std::array<std::uint8_t, 8> octetsOf(ExtComm const& extComm) {
    std::array<std::uint8_t, 8> octets{};
    for (std::size_t at = 0; at < octets.size(); ++at) {
        octets[at] = static_cast<std::uint8_t>(extComm.community() >> (56 - 8 * at));
    }
    return octets;
}

} // namespace

std::string_view ExtCommFormatter::text(ExtComm const& extComm) {
    buffer_.discard();
    buffer_ << extComm;
    return buffer_.text();
}

std::string_view ExtCommFormatter::subtype(ExtComm const& extComm) {
    buffer_.discard();
    extComm.formatSubtype(buffer_);
    return buffer_.text();
}

void ExtCommFormatter::writeJson(JsonWriter& json, ExtComm const& extComm) {
    json.beginObject();
    json.key("octets").octets(octetsOf(extComm));
    json.key("text").string(text(extComm));
    json.key("type").string(Mox::enumerationName(extComm.pktType()));
    json.key("subtype").string(subtype(extComm));
    json.key("classification").string(Mox::enumerationName(extComm.classification()));
    json.key("transitive").boolean(extComm.transitive());
    json.key("fields");
    writeFields(json, extComm);
    json.endObject();
}

} // namespace BgpCommunities
