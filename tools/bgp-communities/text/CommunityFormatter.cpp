#include "CommunityFormatter.h"

#include <array>

#include <Mox/CharBuffer.h>
#include <Mox/Enumeration.h>
#include <VoBgp/CommList.h>
#include <VoBgp/LargeCommList.h>
#include <VoBgp/Parse/ExtCommColor.h>
#include <VoBgp/Parse/ExtCommLinkBandwidth.h>
#include <VoBgp/Parse/ExtCommOriginValidationState.h>
#include <VoBgp/Parse/ExtCommTunnelEncap.h>

#include "MemberName.h"
#include "Utf8.h"
#include "WellKnownCommunities.h"
#include "input/IntegerTypes.h"

namespace BgpCommunities {

using namespace Routing::Bgp;

namespace {

// ---- Octets -------------------------------------------------------------------------------------

template <class Integer>
void appendBigEndian(std::string& out, Integer value) {
    for (std::size_t at = sizeof value; at-- > 0;) {
        out += static_cast<char>(value >> (8 * at) & 0xff);
    }
}

// ---- The fields of an extended community, by its class -----------------------------------------

void writeFields(JsonWriter& json, ExtCommLinkBandwidth const& extComm) {
    json.key("as").number(extComm.asNumber().number());
    json.key("bytesPerSecond").real(static_cast<double>(extComm.bandwidth()));
}

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

void writeFields(JsonWriter& json, ExtCommColor const& extComm) {
    json.key("color").number(extComm.color());
    char const bits[] = {extComm.cBit() ? '1' : '0', extComm.oBit() ? '1' : '0'};
    json.key("co").string({bits, sizeof bits});
}

void writeFields(JsonWriter& json, ExtCommTunnelEncap const& extComm) {
    auto const name = Mox::enumerationName(extComm.tunnelType());
    json.key("tunnelType").number(static_cast<U32>(extComm.tunnelType()));
    json.key("tunnelName").string(name.empty() ? "tunnelTypeUnknown" : name);
}

void writeFields(JsonWriter& json, ExtCommOriginValidationState const& extComm) {
    auto const name = nameOf(extComm.state());
    json.key("state").string(name.empty() ? "unknown" : name);
}

/// Writes the fields of a community of class `Class`; returns false for other classes.
template <class Class>
bool writeFieldsOf(JsonWriter& json, ExtComm const& extComm) {
    auto const* const object = dynamic_cast<Class const*>(&extComm);
    if (object != nullptr) {
        writeFields(json, *object);
    }
    return object != nullptr;
}

/// The first match is used, so a class comes before its base.
constexpr auto fieldWriters = std::to_array<bool (*)(JsonWriter&, ExtComm const&)>({
    writeFieldsOf<ExtCommLinkBandwidth>,
    writeFieldsOf<ExtCommAsNumber>,
    writeFieldsOf<ExtCommIpv4Address>,
    writeFieldsOf<ExtCommColor>,
    writeFieldsOf<ExtCommTunnelEncap>,
    writeFieldsOf<ExtCommOriginValidationState>,
});

void writeFields(JsonWriter& json, ExtComm const& extComm) {
    for (auto const write : fieldWriters) {
        if (write(json, extComm)) {
            break;
        }
    }
}

void writeFields(JsonWriter& json, ExtCommIp6 const& extCommIp6) {
    Mox::LocalCharBuffer<42> address;
    extCommIp6.getContent().addr().format(address);
    json.key("address").string(address.text());
    json.key("local").number(extCommIp6.getContent().localAdmin());
}

/// Whether `text` is one of the texts for policy.
template <class Comm>
bool hasForm(Comm const& comm, std::string_view text) {
    using Format = typename Comm::StrepFormat;
    for (U32 word = 0; word <= Format::maximum; ++word) {
        if (comm.toStrepForPolicy(Format(word)) == text) {
            return true;
        }
    }
    return false;
}

/// Writes the text for policy for every combination of flags.
template <class Comm>
void writeForms(JsonWriter& json, Comm const& comm) {
    using Format = typename Comm::StrepFormat;
    json.key("forms").beginObject();
    for (U32 word = 0; word <= Format::maximum; ++word) {
        Mox::LocalCharBuffer<8> name;
        name.append("0x").appendHex(word, 2);
        json.key(name.text()).string(comm.toStrepForPolicy(Format(word)));
    }
    json.endObject();
}

} // namespace

bool isNamedByLibrary(CommunityKind kind, Octets member) {
    if (kind == CommunityKind::standard) {
        U32 const value = OctetReader(member).u32();
        return wellKnownName(value).empty() || !CommList::wellKnownName(value).empty();
    }
    return kind == CommunityKind::large;
}

void CommunityFormatter::appendOctets(std::string& out, U32 community) {
    appendBigEndian(out, community);
}

void CommunityFormatter::appendOctets(std::string& out, ExtComm::PtrConst const& extComm) {
    appendBigEndian(out, extComm->community());
}

void CommunityFormatter::appendOctets(std::string& out, ExtCommIp6::PtrConst const& extCommIp6) {
    auto const content = extCommIp6->getContent();
    appendBigEndian(out, content.type());
    appendBigEndian(out, content.subtype());
    for (auto const octet : content.addr().octets()) {
        appendBigEndian(out, octet);
    }
    appendBigEndian(out, content.localAdmin());
}

void CommunityFormatter::appendOctets(std::string& out, Acl::CommunityValue const& community) {
    appendBigEndian(out, community.globalAdministrator());
    appendBigEndian(out, community.localData1());
    appendBigEndian(out, community.localData2());
}

// ---- Text ---------------------------------------------------------------------------------------

template <class Comm>
std::string_view CommunityFormatter::show(Comm const& comm) {
    buffer_.discard();
    buffer_ << comm;
    return buffer_.text();
}

template <class Comm>
std::string_view CommunityFormatter::subtype(Comm const& comm) {
    buffer_.discard();
    comm.formatSubtype(buffer_);
    return buffer_.text();
}

std::string_view CommunityFormatter::text(U32 community) {
    buffer_.discard();
    buffer_ << CommList::getStringValue(community);
    if (auto const name = CommList::wellKnownName(community); !name.empty()) {
        buffer_ << ' ' << name;
    }
    return buffer_.text();
}

std::string_view CommunityFormatter::text(ExtComm::PtrConst const& extComm) {
    return show(*extComm);
}

std::string_view CommunityFormatter::text(ExtCommIp6::PtrConst const& extCommIp6) {
    return show(*extCommIp6);
}

std::string_view CommunityFormatter::text(Acl::CommunityValue const& community) {
    buffer_.discard();
    buffer_ << LargeCommList::getStringValue(community);
    return buffer_.text();
}

// ---- Names --------------------------------------------------------------------------------------

template <class Comm>
bool CommunityFormatter::printsForm(Mox::PtrConst<Comm> const& comm, std::string_view printed) {
    return text(comm) == printed || hasForm(*comm, printed);
}

bool CommunityFormatter::prints(ExtComm::PtrConst const& extComm, std::string_view printed) {
    return printsForm(extComm, printed);
}

bool CommunityFormatter::prints(ExtCommIp6::PtrConst const& extCommIp6, std::string_view printed) {
    return printsForm(extCommIp6, printed);
}

void CommunityFormatter::appendNotes(std::string& out, CommunityKind kind, Octets member) {
    if (!isNamedByLibrary(kind, member)) {
        out += '\t';
        appendMemberName(out, kind, member);
    }
    if (dictionary_ != nullptr) {
        if (auto const meaning = dictionary_->meaning(kind, member); !meaning.empty()) {
            out += '\t';
            out += masked(meaning);
        }
    }
}

// ---- JSON ---------------------------------------------------------------------------------------

template <class Member>
void CommunityFormatter::writeOctets(JsonWriter& json, Member const& member) {
    json.key("octets").octets(octets(member));
}

void CommunityFormatter::writeMeaning(JsonWriter& json, CommunityKind kind) {
    if (dictionary_ != nullptr) {
        auto const meaning = dictionary_->meaning(kind, octetsOf(octets_));
        if (!meaning.empty()) {
            json.key("meaning").string(meaning);
        }
    }
}

template <class Comm>
void CommunityFormatter::writeExtended(JsonWriter& json, CommunityKind kind,
                                       Mox::PtrConst<Comm> const& comm, Detail detail) {
    json.beginObject();
    writeOctets(json, comm);
    json.key("text").string(show(*comm));
    name_.clear();
    appendMemberName(name_, kind, octetsOf(octets_));
    json.key("name").string(name_);
    writeMeaning(json, kind);
    json.key("type").string(Mox::enumerationName(comm->pktType()));
    json.key("subtype").string(subtype(*comm));
    json.key("classification").string(Mox::enumerationName(comm->classification()));
    json.key("transitive").boolean(comm->transitive());
    json.key("fields").beginObject();
    writeFields(json, *comm);
    json.endObject();
    if (detail == Detail::withForms) {
        writeForms(json, *comm);
    }
    json.endObject();
}

void CommunityFormatter::writeJson(JsonWriter& json, U32 community, Detail /*detail*/) {
    json.beginObject();
    writeOctets(json, community);
    json.key("text").string(CommList::getStringValue(community));
    auto const name = CommList::wellKnownName(community);
    json.key("name").string(name.empty() ? wellKnownName(community) : std::string_view(name));
    writeMeaning(json, CommunityKind::standard);
    json.endObject();
}

void CommunityFormatter::writeJson(JsonWriter& json, ExtComm::PtrConst const& extComm,
                                   Detail detail) {
    writeExtended(json, CommunityKind::extended, extComm, detail);
}

void CommunityFormatter::writeJson(JsonWriter& json, ExtCommIp6::PtrConst const& extCommIp6,
                                   Detail detail) {
    writeExtended(json, CommunityKind::ip6Extended, extCommIp6, detail);
}

void CommunityFormatter::writeJson(JsonWriter& json, Acl::CommunityValue const& community,
                                   Detail /*detail*/) {
    json.beginObject();
    writeOctets(json, community);
    json.key("text").string(LargeCommList::getStringValue(community));
    json.key("asdot").string(LargeCommList::displayString(community, true));
    writeMeaning(json, CommunityKind::large);
    json.endObject();
}

} // namespace BgpCommunities
