#include <VoBgp/ExtCommIp6.h>

#include "ExtCommFamilyImpl.h"
#include "VoBgpStoredRecords.h"

#include <Mox/Assert.h>
#include <Mox/EnumerationRegistrations.h>
#include <Mox/Hash.h>
#include <Mox/Type.h>
#include <VoBgp/ExtCommIp6DedupTable.h>
#include <VoBgp/Parse/ExtComm.h>

#include <array>
#include <bit>
#include <cstring>
#include <ostream>
#include <typeinfo>

namespace Routing::Bgp {

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommIp6Content::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::value, "Routing::Bgp::ExtCommIp6Content",
        {Mox::readOnlyAttribute<ExtCommIp6Content, &ExtCommIp6Content::type>("type"),
         Mox::readOnlyAttribute<ExtCommIp6Content, &ExtCommIp6Content::subtype>("subtype"),
         Mox::readOnlyAttribute<ExtCommIp6Content, &ExtCommIp6Content::addr>("addr"),
         Mox::readOnlyAttribute<ExtCommIp6Content, &ExtCommIp6Content::localAdmin>("localAdmin")});
    return type;
}

Mox::Type const& ExtCommIp6::StrepFormat::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::value, qualifiedName,
        {flagAttribute<strepFormatDefault>("strepFormatDefault"),
         flagAttribute<strepFormatQualifier>("strepFormatQualifier"),
         flagAttribute<strepFormatClassification>("strepFormatClassification"),
         flagAttribute<strepFormatUI>("strepFormatUI"),
         flagAttribute<strepFormatAsdot>("strepFormatAsdot"),
         flagAttribute<strepFormatLinkBwWeighted>("strepFormatLinkBwWeighted")});
    return type;
}

Mox::Type const& ExtCommIp6::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommIp6",
        {Mox::readOnlyAttribute<ExtCommIp6, &ExtCommIp6::classification>("classification"),
         Mox::readOnlyAttribute<ExtCommIp6, &ExtCommIp6::getContent>("content"),
         Mox::readOnlyAttribute<ExtCommIp6, &ExtCommIp6::pktType>("pktType"),
         Mox::readOnlyAttribute<ExtCommIp6, &ExtCommIp6::pktSubtype>("pktSubtype")});
    return type;
}

Mox::Type const& ExtCommIp6Subtyped::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Routing::Bgp::ExtCommIp6Subtyped", {},
                                &ExtCommIp6::staticType());
    return type;
}

namespace {
Mox::EnumerationRegistrations<BgpExtCommIp6PktType, BgpExtCommIp6PktSubtypeTransIpv6Address,
                              BgpExtCommIp6PktSubtypeNonTransIpv6Address> const
    extCommIp6Enumerations;

Mox::TypeRegistration const extCommIp6Registrations[] = {
    Mox::TypeRegistration(ExtCommIp6Content::staticType()),
    Mox::TypeRegistration(ExtCommIp6::StrepFormat::staticType()),
    Mox::TypeRegistration(ExtCommIp6::staticType()),
    Mox::TypeRegistration(ExtCommIp6Subtyped::staticType()),
};
} // namespace

// ---- The content --------------------------------------------------------------------------------

U32 ExtCommIp6Content::hash() const noexcept {
    Mox::OneAtATimeHash hash;
    hash.add(type_);
    hash.add(subtype_);
    for (auto const octet : addr_.octets()) {
        hash.add(octet);
    }
    hash.addLittleEndian(localAdmin_);
    return hash.finish();
}

U64 ExtCommIp6Content::placementHash() const noexcept {
    auto const address = std::bit_cast<std::array<U64, 2>>(addr_.octets());
    Mox::KeyedHash hash(sizeof address);
    hash.add(address[0], address[1]);
    hash.add(U32{type_} << 24 | U32{subtype_} << 16 | localAdmin_);
    return hash.finish();
}

// ---- ExtCommIp6 ---------------------------------------------------------------------------------

// Object size matters: a table holds many.
static_assert(sizeof(ExtCommIp6) == 48 && sizeof(ExtCommIp6Subtyped) == 48);

ExtCommIp6::~ExtCommIp6() = default;

VOBGP_EXT_COMM_HANDLE(ExtCommIp6, ExtCommIp6Content)

ExtCommIp6::PtrConst ExtCommIp6::dedupContent(ExtCommIp6DedupTable const* table,
                                              ExtCommIp6Content const& content) {
    MOX_ASSERT_TEXT(table != nullptr, "__null != table");
    auto dedupHandle =
        Detail::dedupContent<&BgpParseExtendedCommunityRule::parseExtendedCommunityIp6, ExtCommIp6>(
            *table, content);
    MOX_ASSERT(dedupHandle);
    return dedupHandle;
}

/// classification (4) | type, subtype, local administrator as one integer (4) | address (16)
void const* ExtCommIp6::stash(MoxStash::StoreWriter& writer) const {
    U32 const rest =
        U32{content_.type()} << 24 | U32{content_.subtype()} << 16 | U32{content_.localAdmin()};
    std::array<U64, 3> body = {std::bit_cast<U64>(std::array<U32, 2>{classification_, rest})};
    auto const& address = content_.addr().octets();
    std::memcpy(&body[1], address.data(), address.size());
    return writer.recordIs(storedExtCommIp6, body);
}

ExtCommIp6::Ptr ExtCommIp6::destash(void const* image, MoxStash::StoreManager* storeManager) {
    MOX_ASSERT_TEXT(storeManager != nullptr, "__null != storeManager");
    auto const record = storeManager->translate(image, storedExtCommIp6);
    return storeManager->rebuilt<ExtCommIp6>(record, [&] {
        expectStoredWords(record, 3);
        auto const [classification, rest] = record.halves(0);
        Lumo::Ip6Addr::Octets address;
        record.copy(1, address.data(), address.size());
        ExtCommIp6Content const content(static_cast<U8>(rest >> 24), static_cast<U8>(rest >> 16),
                                        Lumo::Ip6Addr(address), static_cast<U16>(rest));
        auto extComm = extCommIp6Factory(storedClassification(record, 0, classification), content);
        storeManager->validateVersionAnchor();
        extComm->destashedIs();
        return extComm;
    });
}

ExtCommIp6::Ptr extCommIp6Factory(ExtCommClassification classification,
                                  ExtCommIp6Content const& content) {
    return Mox::makeActive<ExtCommIp6>(classification, content);
}

String ExtCommIp6::pktSubtypeTransIpv6AddressAsString() const {
    MOX_ASSERT_TEXT(extCommIp6PktTypeTransIpv6Address == pktType(),
                    "extCommIp6PktTypeTransIpv6Address_ == pktType()");
    MOX_ASSERT(!pktSubtype().isUnspecified());
    return extCommSubtypeString<BgpExtCommIp6PktSubtypeTransIpv6Address>(
        static_cast<U8>(pktSubtype()));
}

String ExtCommIp6::pktSubtypeNonTransIpv6AddressAsString() const {
    MOX_ASSERT_TEXT(extCommIp6PktTypeNonTransIpv6Address == pktType(),
                    "extCommIp6PktTypeNonTransIpv6Address_ == pktType()");
    MOX_ASSERT(!pktSubtype().isUnspecified());
    return extCommSubtypeString<BgpExtCommIp6PktSubtypeNonTransIpv6Address>(
        static_cast<U8>(pktSubtype()));
}

void ExtCommIp6::appendSubtype(Mox::CharBuffer& out, BgpExtCommPktSubtype const& subtype) const {
    if (subtype.isUnspecified()) {
        out.append("unspecified");
        return;
    }
    auto const octet = static_cast<U8>(subtype.word());
    switch (pktType()) {
    case extCommIp6PktTypeTransIpv6Address:
        appendExtCommSubtype<BgpExtCommIp6PktSubtypeTransIpv6Address>(out, octet);
        break;
    case extCommIp6PktTypeNonTransIpv6Address:
        appendExtCommSubtype<BgpExtCommIp6PktSubtypeNonTransIpv6Address>(out, octet);
        break;
    case extCommIp6PktTypeUnknown:
        out.append("none");
    }
}

void ExtCommIp6::formatSubtype(std::ostream& os) const {
    Detail::writeForm(os, [this](auto& out) { appendSubtype(out, pktSubtype()); });
}

void ExtCommIp6::appendShowForm(Mox::CharBuffer& out) const {
    out.append('<').append(Mox::enumerationName(pktType()));
    if (auto const subtype = pktSubtype(); !subtype.isUnspecified()) {
        out.append(' ');
        appendSubtype(out, subtype);
    }
    content_.addr().format(out.append(" addr="));
    out.append(" localAdmin=").appendDecimal(content_.localAdmin()).append('>');
}

void ExtCommIp6::formatDerivedType(std::ostream& os) const {
    Detail::writeForm(os, [this](auto& out) { appendShowForm(out); });
}

bool ExtCommIp6::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommIp6);
}

void ExtCommIp6::appendShowText(Mox::CharBuffer& out) const {
    if (textIsBuiltIn()) {
        appendShowForm(out);
    } else {
        Detail::appendStreamed(out, *this);
    }
}

void ExtCommIp6::appendPolicyText(Mox::CharBuffer& out, StrepFormat format) const {
    if (textIsBuiltIn()) {
        appendPolicyForm(out, format);
    } else {
        out.append(toStrepForPolicy(format));
    }
}

String ExtCommIp6::toStrep() const {
    return Detail::textOf([this](auto& out) { appendShowText(out); });
}

void ExtCommIp6::appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const {
    if (format.has(StrepFormat::strepFormatClassification | StrepFormat::strepFormatUI)) {
        appendExtCommType(out, "-IP6", content_.type(), content_.subtype(), transitive());
        out.append(':');
    }
    content_.addr().format(out);
    out.append(':').appendDecimal(content_.localAdmin());
}

String ExtCommIp6::toStrepForPolicy(StrepFormat format) const {
    return Detail::textOf([&](auto& out) { appendPolicyForm(out, format); });
}

std::ostream& operator<<(std::ostream& os, ExtCommIp6 const* extCommIp6) {
    return Detail::stream(os, extCommIp6);
}

std::ostream& operator<<(std::ostream& os, ExtCommIp6 const& extCommIp6) {
    return Detail::stream(os, &extCommIp6);
}

ExtCommIp6Subtyped::~ExtCommIp6Subtyped() = default;

BgpExtCommPktSubtype ExtCommIp6Subtyped::pktSubtype() const {
    return BgpExtCommPktSubtype(getContent().subtype());
}

bool ExtCommIp6Subtyped::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommIp6Subtyped);
}

} // namespace Routing::Bgp

// ---- The content's text -------------------------------------------------------------------------

namespace Mox {

using Routing::Bgp::ExtCommIp6Content;

namespace {

U8 readOctet(ValueReader& in) {
    if (in.atEnd()) {
        in.fail("an octet");
    }
    auto const octet = static_cast<U8>(in.rest().front());
    in.skip(1);
    return octet;
}

} // namespace

void ValueText<ExtCommIp6Content>::write(CharBuffer& out, ExtCommIp6Content const& content) {
    out.append("type=").append(static_cast<char>(content.type()));
    out.append(";subtype=").append(static_cast<char>(content.subtype()));
    out.append(";addr=");
    content.addr().format(out);
    out.append(";localAdmin=").appendDecimal(content.localAdmin());
}

ExtCommIp6Content ValueText<ExtCommIp6Content>::read(ValueReader& in) {
    in.expect("type=");
    auto const type = readOctet(in);
    in.expect(";subtype=");
    auto const subtype = readOctet(in);
    in.expect(";addr=");
    auto const addr = ValueText<Lumo::Ip6Addr>::read(in);
    in.expect(";localAdmin=");
    return {type, subtype, addr, ValueText<U16>::read(in)};
}

} // namespace Mox
