#include <VoBgp/VoBgpCommunity.h>

#include "ExtCommFamilyImpl.h"
#include "VoBgpStoredRecords.h"

#include <Mox/Assert.h>
#include <Mox/CharBuffer.h>
#include <Mox/EntityCast.h>
#include <Mox/Type.h>
#include <Routing/Bgp/VoBgpGlobals.h>
#include <VoBgp/Parse/ExtComm.h>

#include <array>
#include <bit>
#include <ostream>
#include <typeinfo>

namespace Routing::Bgp {

namespace {

using AppendSubtype = void(Mox::CharBuffer& out, U8 subtypeOctet);

/// A subtype family: its type, and the function that formats its subtypes.
struct SubtypeFamily {
    BgpExtCommPktType pktType;
    AppendSubtype* append;
};

constexpr SubtypeFamily subtypeFamilies[] = {
    {extCommPktTypeTransTwoOctetAs, appendExtCommSubtype<BgpExtCommPktSubtypeTransTwoOctetAs>},
    {extCommPktTypeTransIpv4Address, appendExtCommSubtype<BgpExtCommPktSubtypeTransIpv4Address>},
    {extCommPktTypeTransFourOctetAs, appendExtCommSubtype<BgpExtCommPktSubtypeTransFourOctetAs>},
    {extCommPktTypeTransOpaque, appendExtCommSubtype<BgpExtCommPktSubtypeTransOpaque>},
    {extCommPktTypeTransEvpn, appendExtCommSubtype<BgpExtCommPktSubtypeEvpn>},
    {extCommPktTypeTransFlowspecRedirectNexthop,
     appendExtCommSubtype<BgpExtCommPktSubtypeTransFlowspecRedirectNexthop>},
    {extCommPktTypeTransGeneric, appendExtCommSubtype<BgpExtCommPktSubtypeTransGeneric>},
    {extCommPktTypeTransGenericPart2, appendExtCommSubtype<BgpExtCommPktSubtypeTransGenericPart2>},
    {extCommPktTypeTransGenericPart3, appendExtCommSubtype<BgpExtCommPktSubtypeTransGenericPart3>},
    {extCommPktTypeNonTransTwoOctetAs,
     appendExtCommSubtype<BgpExtCommPktSubtypeNonTransTwoOctetAs>},
    {extCommPktTypeNonTransIpv4Address,
     appendExtCommSubtype<BgpExtCommPktSubtypeNonTransIpv4Address>},
    {extCommPktTypeNonTransFourOctetAs,
     appendExtCommSubtype<BgpExtCommPktSubtypeNonTransFourOctetAs>},
    {extCommPktTypeNonTransOpaque, appendExtCommSubtype<BgpExtCommPktSubtypeNonTransOpaque>},
};

/// The format function by type octet; null if the type has no family.
constexpr auto appendSubtypeOf = [] {
    std::array<AppendSubtype*, 256> byTypeOctet{};
    for (auto const& family : subtypeFamilies) {
        byTypeOctet[family.pktType] = family.append;
    }
    return byTypeOctet;
}();

bool upperCase(std::ostream const& os) {
    return (os.flags() & std::ios_base::uppercase) != 0;
}

} // namespace

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtComm::StrepFormat::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::value, qualifiedName,
        {flagAttribute<strepFormatDefault>("strepFormatDefault"),
         flagAttribute<strepFormatQualifier>("strepFormatQualifier"),
         flagAttribute<strepFormatClassification>("strepFormatClassification"),
         flagAttribute<strepFormatUI>("strepFormatUI"),
         flagAttribute<strepFormatJson>("strepFormatJson"),
         flagAttribute<strepFormatAsdot>("strepFormatAsdot"),
         flagAttribute<strepFormatLinkBwWeighted>("strepFormatLinkBwWeighted")});
    return type;
}

Mox::Type const& ExtComm::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtComm",
        {Mox::readOnlyAttribute<ExtComm, &ExtComm::classification>("classification"),
         Mox::readOnlyAttribute<ExtComm, &ExtComm::getContent>("getContent"),
         Mox::readOnlyAttribute<ExtComm, &ExtComm::transitive>("transitive"),
         Mox::readOnlyAttribute<ExtComm, &ExtComm::isLinkBandwidth>("isLinkBandwidth"),
         Mox::readOnlyAttribute<ExtComm, &ExtComm::pktType>("pktType"),
         Mox::readOnlyAttribute<ExtComm, &ExtComm::pktSubtype>("pktSubtype"),
         Mox::readOnlyAttribute<ExtComm, &ExtComm::transitiveFlag>("transitiveFlag")});
    return type;
}

Mox::Type const& ExtCommSubtyped::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommSubtyped",
        {Mox::readOnlyAttribute<ExtCommSubtyped, &ExtCommSubtyped::subtypeOctet>("subtypeOctet")},
        &ExtComm::staticType());
    return type;
}

Mox::Type const& ExtCommAsNumber::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommAsNumber",
        {Mox::readOnlyAttribute<ExtCommAsNumber, &ExtCommAsNumber::fourByteAs>("fourByteAs"),
         Mox::readOnlyAttribute<ExtCommAsNumber, &ExtCommAsNumber::asNumber>("asNumber"),
         Mox::readOnlyAttribute<ExtCommAsNumber, &ExtCommAsNumber::localAdmin2Octets>(
             "localAdmin2Octets"),
         Mox::readOnlyAttribute<ExtCommAsNumber, &ExtCommAsNumber::localAdmin4Octets>(
             "localAdmin4Octets")},
        &ExtCommSubtyped::staticType());
    return type;
}

Mox::Type const& ExtCommIpv4Address::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommIpv4Address",
        {Mox::readOnlyAttribute<ExtCommIpv4Address, &ExtCommIpv4Address::address>("address"),
         Mox::readOnlyAttribute<ExtCommIpv4Address, &ExtCommIpv4Address::localAdmin2Octets>(
             "localAdmin2Octets")},
        &ExtCommSubtyped::staticType());
    return type;
}

Mox::Type const& ExtCommLifeTimeNotifiee::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommLifeTimeNotifiee",
        {Mox::pointerAttribute<ExtCommLifeTimeNotifiee, &ExtCommLifeTimeNotifiee::producerRtList>(
            "producerRtList")},
        &Kel::DedupHashTableLifeTimeNotifiee::staticType());
    return type;
}

Mox::Type const& ExtCommDedupTable::staticType() noexcept {
    using Table = ExtCommDedupTable;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommDedupTable",
        {Mox::pointerAttribute<Table, &Table::notifyingRouteTargetList>("notifyingRouteTargetList"),
         Mox::pointerAttribute<Table, &Table::lifeTimeNotifiee>("lifeTimeNotifiee"),
         Mox::pointerAttribute<Table, &Table::dedupHashTable>("dedupHashTable"),
         Mox::pointerAttribute<Table, &Table::parseExtCommRule>("parseExtCommRule")});
    return type;
}

namespace {
Mox::TypeRegistration const communityRegistrations[] = {
    Mox::TypeRegistration(ExtComm::StrepFormat::staticType()),
    Mox::TypeRegistration(ExtComm::staticType()),
    Mox::TypeRegistration(ExtCommSubtyped::staticType()),
    Mox::TypeRegistration(ExtCommAsNumber::staticType()),
    Mox::TypeRegistration(ExtCommIpv4Address::staticType()),
    Mox::TypeRegistration(ExtCommLifeTimeNotifiee::staticType()),
    Mox::TypeRegistration(ExtCommDedupTable::staticType()),
};
} // namespace

// ---- ExtComm ------------------------------------------------------------------------------------

// Object size matters: a table holds millions.
static_assert(sizeof(ExtComm) == 32 && sizeof(ExtCommAsNumber) == 32);

ExtComm::~ExtComm() = default;

VOBGP_EXT_COMM_HANDLE(ExtComm, ExtCommContent)

ExtComm::PtrConst ExtComm::dedupContent(ExtCommDedupTable const* table,
                                        ExtCommContent const& content) {
    MOX_ASSERT_TEXT(table != nullptr, "__null != table");
    return Detail::dedupContent<&BgpParseExtendedCommunityRule::parseExtendedCommunity, ExtComm>(
        *table, content);
}

ExtComm const* ExtComm::fromDedupHandle(Kel::DedupHandle const* handle) noexcept {
    auto const* const extComm = Mox::entityCast<ExtComm const>(handle);
    MOX_ASSERT_TEXT(extComm != nullptr, "__null != extComm");
    return extComm;
}

/// classification (4) | zero (4) | the eight octets as one integer (8)
void const* ExtComm::stash(MoxStash::StoreWriter& writer) const {
    std::array<U64, 2> const body = {std::bit_cast<U64>(std::array<U32, 2>{classification(), 0}),
                                     community()};
    return writer.recordIs(storedExtComm, body);
}

ExtComm::Ptr ExtComm::destash(void const* stored, MoxStash::StoreManager* store) {
    MOX_ASSERT_TEXT(store != nullptr, "__null != store");
    auto const record = store->translate(stored, storedExtComm);
    return store->rebuilt<ExtComm>(record, [&] {
        expectStoredWords(record, 2);
        auto const [classification, reserved] = record.halves(0);
        if (reserved != 0) {
            record.refuse(0, "reserved field of a value is not zero");
        }
        auto extComm = Mox::makeActive<ExtComm>(storedClassification(record, 0, classification),
                                                ExtCommContent(record.word(1)));
        store->validateVersionAnchor();
        extComm->destashedIs();
        return extComm;
    });
}

#define VOBGP_PKT_SUBTYPE_STRING(operation, type, Enumeration)                                     \
    String ExtComm::operation() const {                                                            \
        MOX_ASSERT_TEXT(type == pktType(), #type "_ == pktType()");                                \
        MOX_ASSERT(!pktSubtype().isUnspecified());                                                 \
        return extCommSubtypeString<Enumeration>(static_cast<U8>(pktSubtype()));                   \
    }

VOBGP_PKT_SUBTYPE_STRING(pktSubtypeTransTwoOctetAsString, extCommPktTypeTransTwoOctetAs,
                         BgpExtCommPktSubtypeTransTwoOctetAs)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeTransIpv4AddressString, extCommPktTypeTransIpv4Address,
                         BgpExtCommPktSubtypeTransIpv4Address)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeTransFourOctetAsString, extCommPktTypeTransFourOctetAs,
                         BgpExtCommPktSubtypeTransFourOctetAs)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeTransOpaqueString, extCommPktTypeTransOpaque,
                         BgpExtCommPktSubtypeTransOpaque)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeEvpnString, extCommPktTypeTransEvpn, BgpExtCommPktSubtypeEvpn)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeFlowspecRedirectNexthopString,
                         extCommPktTypeTransFlowspecRedirectNexthop,
                         BgpExtCommPktSubtypeTransFlowspecRedirectNexthop)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeTransGenericString, extCommPktTypeTransGeneric,
                         BgpExtCommPktSubtypeTransGeneric)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeTransGenericPart2String, extCommPktTypeTransGenericPart2,
                         BgpExtCommPktSubtypeTransGenericPart2)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeTransGenericPart3String, extCommPktTypeTransGenericPart3,
                         BgpExtCommPktSubtypeTransGenericPart3)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeNonTransTwoOctetAsString, extCommPktTypeNonTransTwoOctetAs,
                         BgpExtCommPktSubtypeNonTransTwoOctetAs)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeNonTransIpv4AddressString, extCommPktTypeNonTransIpv4Address,
                         BgpExtCommPktSubtypeNonTransIpv4Address)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeNonTransFourOctetAsString, extCommPktTypeNonTransFourOctetAs,
                         BgpExtCommPktSubtypeNonTransFourOctetAs)
VOBGP_PKT_SUBTYPE_STRING(pktSubtypeNonTransOpaqueString, extCommPktTypeNonTransOpaque,
                         BgpExtCommPktSubtypeNonTransOpaque)

#undef VOBGP_PKT_SUBTYPE_STRING

// ---- Text of the base ---------------------------------------------------------------------------

void ExtComm::formatCommunityValue(std::ostream& os) const {
    os << extCommContent_;
}

void ExtComm::appendSubtype(Mox::CharBuffer& out, BgpExtCommPktSubtype const& subtype) const {
    if (subtype.isUnspecified()) {
        out.append("unspecified");
    } else if (auto* const append = appendSubtypeOf[extCommContent_.typeOctet()]) {
        append(out, static_cast<U8>(subtype.word()));
    } else {
        out.append("none");
    }
}

void ExtComm::formatSubtype(std::ostream& os) const {
    Detail::writeForm(os, [this](auto& out) { appendSubtype(out, pktSubtype()); });
}

void ExtComm::appendShowHead(Mox::CharBuffer& out) const {
    out.append('<').append(Mox::enumerationName(pktType()));
    if (auto const subtype = pktSubtype(); !subtype.isUnspecified()) {
        out.append(' ');
        appendSubtype(out, subtype);
    }
}

void ExtComm::appendShowTail(Mox::CharBuffer& out, bool upperCase) const {
    out.append(' ');
    appendCommunityValue(out, extCommContent_, upperCase);
    out.append('>');
}

void ExtComm::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    appendShowHead(out);
    appendShowTail(out, upperCase);
}

void ExtComm::formatDerivedType(std::ostream& os) const {
    Detail::writeForm(os, [&](auto& out) { appendShowForm(out, upperCase(os)); });
}

bool ExtComm::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtComm);
}

void ExtComm::appendShowText(Mox::CharBuffer& out) const {
    if (textIsBuiltIn()) {
        appendShowForm(out, false);
    } else {
        Detail::appendStreamed(out, *this);
    }
}

void ExtComm::appendPolicyText(Mox::CharBuffer& out, StrepFormat format) const {
    if (textIsBuiltIn()) {
        appendPolicyForm(out, format);
    } else {
        out.append(toStrepForPolicy(format));
    }
}

String ExtComm::toStrep() const {
    return Detail::textOf([this](auto& out) { appendShowText(out); });
}

void ExtComm::appendTypePrefix(Mox::CharBuffer& out, std::string_view suffix,
                               StrepFormat format) const {
    if (format.has(StrepFormat::strepFormatClassification | StrepFormat::strepFormatUI)) {
        appendExtCommType(out, suffix, extCommContent_.typeOctet(), extCommContent_.subtypeOctet(),
                          transitive());
        out.append(':');
    }
}

void ExtComm::appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const {
    auto const before = out.size();
    appendTypePrefix(out, "", format);
    if (out.size() == before) {
        return;
    }
    for (unsigned i = 0; i < 6; ++i) {
        out.append(i == 0 ? "0x" : " 0x").appendHex(extCommContent_.valueOctet(i), 2);
    }
}

String ExtComm::toStrepForPolicy(StrepFormat strepFormatFlags) const {
    return Detail::textOf([&](auto& out) { appendPolicyForm(out, strepFormatFlags); });
}

std::ostream& operator<<(std::ostream& os, ExtComm const* extComm) {
    return Detail::stream(os, extComm);
}

std::ostream& operator<<(std::ostream& os, ExtComm const& extComm) {
    return Detail::stream(os, &extComm);
}

// ---- Layouts ------------------------------------------------------------------------------------

ExtCommSubtyped::~ExtCommSubtyped() = default;

ExtCommSubtyped::Ptr ExtCommSubtyped::ExtCommSubtypedIs(ExtCommClassification classification,
                                                        ExtCommContent const& content) {
    return Mox::makeActive<ExtCommSubtyped>(classification, content);
}

BgpExtCommPktSubtype ExtCommSubtyped::pktSubtype() const {
    return BgpExtCommPktSubtype(subtypeOctet());
}

bool ExtCommSubtyped::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommSubtyped);
}

ExtCommAsNumber::~ExtCommAsNumber() = default;

ExtCommAsNumber::Ptr ExtCommAsNumber::ExtCommAsNumberIs(ExtCommClassification classification,
                                                        ExtCommContent const& content,
                                                        bool fourByteAs) {
    return Mox::makeActive<ExtCommAsNumber>(classification, content, fourByteAs);
}

Lumo::AutonomousSystem ExtCommAsNumber::asNumber() const noexcept {
    return Lumo::AutonomousSystem(fourByteAs() ? static_cast<U32>(community() >> 16)
                                               : static_cast<U16>(community() >> 32));
}

U32 ExtCommAsNumber::localAdmin() const noexcept {
    return fourByteAs() ? localAdmin2Octets() : localAdmin4Octets();
}

void ExtCommAsNumber::appendPlainAsNumber(Mox::CharBuffer& out, bool includeQualifier,
                                          bool asdot) const {
    asNumber().format(out, asdot);
    if (fourByteAs() && includeQualifier && !asdot) {
        out.append('L');
    }
}

String ExtCommAsNumber::formatAsNumber(bool includeQualifier, bool asdot) const {
    Mox::LocalCharBuffer<20> out;
    appendPlainAsNumber(out, includeQualifier, asdot);
    return out.string();
}

void ExtCommAsNumber::appendAsNumber(Mox::CharBuffer& out, bool includeQualifier,
                                     bool asdot) const {
    if (textIsBuiltIn()) {
        appendPlainAsNumber(out, includeQualifier, asdot);
    } else {
        out.append(formatAsNumber(includeQualifier, asdot));
    }
}

void ExtCommAsNumber::appendAsAndLocalAdmin(Mox::CharBuffer& out, StrepFormat format) const {
    appendAsNumber(out, format.has(StrepFormat::strepFormatQualifier),
                   format.has(StrepFormat::strepFormatAsdot));
    out.append(':').appendDecimal(localAdmin());
}

void ExtCommAsNumber::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    appendShowHead(out);
    appendAsNumber(out.append(" ASN="), false, false);
    appendShowTail(out, upperCase);
}

void ExtCommAsNumber::appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const {
    appendTypePrefix(out, fourByteAs() ? "-AS4" : "-AS", format);
    appendAsAndLocalAdmin(out, format);
}

bool ExtCommAsNumber::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommAsNumber);
}

ExtCommIpv4Address::~ExtCommIpv4Address() = default;

void ExtCommIpv4Address::appendAddressAndLocalAdmin(Mox::CharBuffer& out) const {
    address().format(out);
    out.append(':').appendDecimal(localAdmin2Octets());
}

void ExtCommIpv4Address::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    appendShowHead(out);
    address().format(out.append(' '));
    appendShowTail(out, upperCase);
}

void ExtCommIpv4Address::appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const {
    appendTypePrefix(out, "-IP", format);
    appendAddressAndLocalAdmin(out);
}

bool ExtCommIpv4Address::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommIpv4Address);
}

// ---- The table ----------------------------------------------------------------------------------

ExtCommLifeTimeNotifiee::ExtCommLifeTimeNotifiee(
    NotifyingRouteTargetList::Ptr const& producerRtList)
  : producerRtList_(producerRtList) {
    MOX_ASSERT_TEXT(producerRtList != nullptr, "__null != producerRtList");
}

ExtCommLifeTimeNotifiee::~ExtCommLifeTimeNotifiee() = default;

namespace {

/// Unchecked: tables of extended communities contain nothing else.
ExtComm const& extCommOf(Kel::DedupHandle const& handle) noexcept {
    return static_cast<ExtComm const&>(handle);
}

bool isRouteTarget(Kel::DedupHandle const& handle) noexcept {
    return extCommOf(handle).classification() == extCommClassificationRouteTarget;
}

} // namespace

void ExtCommLifeTimeNotifiee::handleInsert(Kel::DedupHandle::Ptr const& handle) {
    if (!isRouteTarget(*handle)) {
        return;
    }
    RouteTarget const rt(extCommOf(*handle).community());
    try {
        producerRtList_->rtIs(rt);
    } catch (...) {
        // The community will not be interned, so remove its route target.
        producerRtList_->rtDel(rt);
        throw;
    }
}

void ExtCommLifeTimeNotifiee::handleRemove(Kel::DedupHandle* handle) {
    if (isRouteTarget(*handle)) {
        producerRtList_->rtDel(RouteTarget(extCommOf(*handle).community()));
    }
}

Kel::DedupHandleFilter ExtCommLifeTimeNotifiee::filter() const noexcept {
    return &isRouteTarget;
}

void ExtCommLifeTimeNotifiee::handleNotificationStop(
    Kel::DedupHashTable::PtrConst const& /*table*/) {
    producerRtList_->rtDelAll();
}

ExtCommDedupTable::ExtCommDedupTable(Mox::PtrConst<BgpParseExtendedCommunityRule> const& rule)
  : parseExtCommRule_(rule) {
    handleInitialized();
}

ExtCommDedupTable::~ExtCommDedupTable() = default;

void ExtCommDedupTable::handleInitialized() {
    dedupHashTable_ =
        Mox::makeActive<Kel::DedupHashTableUnorderedSet>(VoBgpGlobals::multiThreaded());
    notifyingRouteTargetList_ = notifyingRouteTargetListFactory();
    lifeTimeNotifiee_ = Mox::makeActive<ExtCommLifeTimeNotifiee>(notifyingRouteTargetList_);
    dedupHashTable_->lifeTimeNotifieeIs(lifeTimeNotifiee_);
}

void ExtCommDedupTable::dumpState(Kel::DumpContext::PtrConst const& dumpCtx,
                                  U32 indentCount) const {
    dedupHashTable_->dumpState(dumpCtx, indentCount);
}

ExtCommDedupTable::Ptr
extCommDedupTableFactory(Mox::PtrConst<BgpParseExtendedCommunityRule> const& rule) {
    return Mox::makeActive<ExtCommDedupTable>(rule);
}

} // namespace Routing::Bgp
