#include <VoBgp/VoBgpCommunityList.h>

#include "VoBgpMemberOctets.h"
#include "VoBgpStoredRecords.h"

#include <Lumo/AutonomousSystem.h>
#include <Mox/Hash.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>
#include <Routing/Bgp/VoBgpGlobals.h>
#include <VoBgp/BgpPathAttributeEnums.h>
#include <VoBgp/VoBgpCommunityListImpl.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <span>
#include <string_view>
#include <vector>

namespace Routing::Bgp {

using Acl::CommunityValue;

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& CommList::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::CommList",
        {Mox::readOnlyAttribute<CommList, &CommList::comms>("comms"),
         Mox::readOnlyAttribute<CommList, &CommList::commVectorSorted>("commVectorSorted")});
    return type;
}

Mox::Type const& LargeCommList::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::LargeCommList",
        {Mox::readOnlyAttribute<LargeCommList, &LargeCommList::comms>("comms"),
         Mox::readOnlyAttribute<LargeCommList, &LargeCommList::commVectorSorted>(
             "commVectorSorted")});
    return type;
}

namespace {
Mox::TypeRegistration const commListRegistrations[] = {
    Mox::TypeRegistration(CommList::staticType()),
    Mox::TypeRegistration(LargeCommList::staticType()),
};
} // namespace

// ---- Text of values -----------------------------------------------------------------------------

namespace {

std::string_view nameOf(U32 value) noexcept {
    switch (value) {
    case communityInternet:
        return "internet";
    case communityNoExport:
        return "no-export";
    case communityNoAdvertise:
        return "no-advertise";
    // Not the name in RFC 1997: these are the names in configurations.
    case communityNoExportSubconfed:
        return "local-as";
    case communityGshut:
        return "GSHUT";
    default:
        return {};
    }
}

} // namespace

template <bool useWellKnownNames>
void CommunityFormatter<useWellKnownNames>::format(Mox::CharBuffer& buffer, U32 value) {
    if (auto const name = useWellKnownNames ? nameOf(value) : std::string_view(); !name.empty()) {
        buffer.append(name);
        return;
    }
    buffer.appendDecimal(value >> 16).append(':').appendDecimal(value & 0xffff);
}

template class CommunityFormatter<false>;
template class CommunityFormatter<true>;

void LargeCommunityFormatter::format(Mox::CharBuffer& buffer, CommunityValue const& value,
                                     bool asdot) {
    Lumo::AutonomousSystem(value.globalAdministrator()).format(buffer, asdot);
    buffer.append(':').appendDecimal(value.localData1());
    buffer.append(':').appendDecimal(value.localData2());
}

String CommList::wellKnownName(U32 value) {
    return nameOf(value);
}

String CommList::getStringValue(U32 value) {
    Mox::LocalCharBuffer<20> out;
    CommunityFormatter<false>::format(out, value);
    return out.string();
}

String LargeCommList::getStringValue(CommunityValue const& value) {
    return displayString(value, false);
}

String LargeCommList::displayString(CommunityValue const& value, bool asdot) {
    Mox::LocalCharBuffer<42> out;
    LargeCommunityFormatter::format(out, value, asdot);
    return out.string();
}

// ---- Text of lists ------------------------------------------------------------------------------

namespace {

constexpr auto appendNumber = [](CommListText& text, U32 value) {
    CommunityFormatter<false>::format(text.buffer(), value);
};

constexpr auto appendNameOrNumber = [](CommListText& text, U32 value) {
    CommunityFormatter<true>::format(text.buffer(), value);
};

constexpr auto appendLarge = [](CommListText& text, CommunityValue const& value) {
    LargeCommunityFormatter::format(text.buffer(), value, false);
};

/// Formats the text first and writes it at once, so that the stream's flags do not apply.
template <class ListType>
std::ostream& print(std::ostream& os, ListType const* list) {
    CommListText text;
    writeCommListText(os, (text << list).text());
    return os;
}

} // namespace

CommListText& operator<<(CommListText& text, CommList const* list) {
    return formatCommList(text, list, appendNameOrNumber, false, " ");
}

CommListText& operator<<(CommListText& text, LargeCommList const* list) {
    return formatCommList(text, list, appendLarge, false, " ");
}

std::ostream& operator<<(std::ostream& os, CommList const* list) {
    return print(os, list);
}

std::ostream& operator<<(std::ostream& os, LargeCommList const* list) {
    return print(os, list);
}

String CommList::toStrep() const {
    return stringify(this);
}

String LargeCommList::toStrep() const {
    return stringify(this);
}

void CommList::formatHandle(std::ostream& os) const {
    os << this;
}

void LargeCommList::formatHandle(std::ostream& os) const {
    os << this;
}

bool CommList::matchCommunitiesRegex(RouteMap::PosixRegex const* regex) const {
    MOX_ASSERT_TEXT(regex != nullptr, "__null != regex");
    return commListVerdict(*regex, *this, regexSubject_, [&] {
        return commListMatches(*regex, *this, appendNumber) ||
               commListMatches(*regex, *this, appendNameOrNumber);
    });
}

bool LargeCommList::matchCommunitiesRegex(RouteMap::PosixRegex const* regex) const {
    MOX_ASSERT_TEXT(regex != nullptr, "__null != regex");
    return commListVerdict(*regex, *this, regexSubject_,
                           [&] { return commListMatches(*regex, *this, appendLarge); });
}

// ---- ValueCommList ------------------------------------------------------------------------------

namespace {

void addTo(Mox::OneAtATimeHash& hash, U32 value) noexcept {
    hash.addLittleEndian(value);
}

void addTo(Mox::OneAtATimeHash& hash, CommunityValue const& value) noexcept {
    addTo(hash, value.globalAdministrator());
    addTo(hash, value.localData1());
    addTo(hash, value.localData2());
}

} // namespace

template <class Value>
ValueCommList<Value>::~ValueCommList() = default;

template <class Value>
U32 ValueCommList<Value>::hash() const {
    MOX_ASSERT(commVectorSorted());
    // The hash of the empty list is 0.
    Mox::OneAtATimeHash hash;
    for (auto const& value : *this) {
        addTo(hash, value);
    }
    return hash.finish();
}

template <class Value>
U64 ValueCommList<Value>::placementHash() const {
    MOX_ASSERT(commVectorSorted());
    return octetsHeld_ ? Mox::keyedHash(octets()) : keyedHashOfMembers(*this, std::identity());
}

template <class Value>
bool ValueCommList<Value>::compare(Kel::DedupHandle const* other) const {
    MOX_ASSERT(commVectorSorted());
    return commVector_ == static_cast<ValueCommList const*>(other)->commVector_;
}

template <class Value>
bool ValueCommList<Value>::compareByContent(Kel::DedupContentHandle const& content) const {
    MOX_ASSERT(commVectorSorted());
    auto const values = content.as<std::span<Value const>>();
    return std::equal(begin(), end(), values.begin(), values.end());
}

template <class Value>
bool ValueCommList<Value>::comm(Value const& value) const {
    MOX_ASSERT(commVectorSorted());
    auto const* const found = commVectorLowerBound(commVector_, value);
    return found != end() && *found == value;
}

template <class Value>
void ValueCommList<Value>::freeze() noexcept {
    if (!commVectorSorted_) {
        commVectorUnify(commVector_);
        commVectorSorted_ = true;
    }
}

/// Looks the list up first, because most lists are interned already; only a new one allocates its
/// octets. A list that has them is new: an earlier insertion failed, or the caller has looked it
/// up.
template <class Value>
Kel::DedupHandle::PtrConst ValueCommList<Value>::dedupIn(CommListDedupTableBase const& table) {
    if (octetsHeld_) {
        return table.dedup(Kel::DedupHandle::Ptr(this));
    }
    Kel::DedupMiss miss(keyedHashOfMembers(*this, std::identity()));
    auto const hasMembers = [this](Kel::DedupHandle const& candidate) {
        return commVector_ == static_cast<ValueCommList const&>(candidate).commVector_;
    };
    if (auto existing = table.dedupTable()->find(miss, hasMembers)) {
        return existing;
    }
    commVector_.fit(comms(), comms() * sizeof(Value));
    storeMembers(*this, std::identity(), commVector_.tail());
    octetsHeld_ = true;
    return table.dedupTable()->dedup(Kel::DedupHandle::Ptr(this), miss);
}

// ---- Stores -------------------------------------------------------------------------------------

namespace {

template <class Value>
constexpr MoxStash::StoredKind storedListOf = storedCommList;

template <>
constexpr MoxStash::StoredKind storedListOf<CommunityValue> = storedLargeCommList;

} // namespace

template <class Value>
void const* ValueCommList<Value>::stash(MoxStash::StoreWriter& writer) const {
    auto const octets = comms() * sizeof(Value);
    std::vector<U64> body(1 + (octets + sizeof(U64) - 1) / sizeof(U64));
    body[0] = StoredListHead{comms(), commVectorSorted() ? StoredListHead::sorted : 0}.word();
    if (octets != 0) {
        std::memcpy(body.data() + 1, begin(), octets);
    }
    return writer.recordIs(storedListOf<Value>, body);
}

template <class ListType, class ValueType>
Mox::Ptr<ListType> destashCommList(void const* stored, MoxStash::StoreManager* manager) {
    MOX_ASSERT_TEXT(manager != nullptr, "__null != manager");
    MOX_TRACE(8, "Destashing " << ListType::staticType().name());
    auto const record = manager->translate(stored, storedListOf<ValueType>);
    auto const head = storedListHead(record, sizeof(ValueType), StoredListHead::sorted);
    auto list = Mox::makeActive<ListType>();
    ValueCommList<ValueType>& values = *list;
    values.commVectorSorted_ = head.has(StoredListHead::sorted);
    values.commVector_.resize(head.count);
    record.copy(1, values.commVector_.data(), head.count);
    manager->validateVersionAnchor();
    if (list->empty()) {
        return list;
    }
    if (values.commVectorSorted_ && !commVectorAscends(values)) {
        refuseUnsorted(record);
    }
    MOX_TRACE(8, "  destashed: " << list->toStrep());
    return list;
}

template CommList::Ptr destashCommList<CommList, U32>(void const*, MoxStash::StoreManager*);
template LargeCommList::Ptr destashCommList<LargeCommList, CommunityValue>(void const*,
                                                                           MoxStash::StoreManager*);

CommList::Ptr CommList::destash(void const* stored, MoxStash::StoreManager* manager) {
    return destashCommList<CommList, U32>(stored, manager);
}

LargeCommList::Ptr LargeCommList::destash(void const* stored, MoxStash::StoreManager* manager) {
    return destashCommList<LargeCommList, CommunityValue>(stored, manager);
}

template class ValueCommList<U32>;
template class ValueCommList<CommunityValue>;

// ---- CommList -----------------------------------------------------------------------------------

// Object size matters: a table holds many.
static_assert(sizeof(CommList) == 56 && sizeof(LargeCommList) == 48);

CommList::CommList() noexcept = default;
CommList::~CommList() = default;

CommList::Ptr commListFactory() {
    return Mox::makeActive<CommList>();
}

CommList::PtrConst CommList::dedup(CommListDedupTable const* table) {
    MOX_ASSERT_TEXT(table != nullptr, "__null != table");
    freeze();
    findWellKnown();
    return Mox::staticPtrCast<CommList const>(dedupIn(*table));
}

void CommList::findWellKnown() {
    bool const mayHoldThem = !empty() && *(end() - 1) >= communityNoExport;
    noExport_ = mayHoldThem && comm(communityNoExport);
    noAdvertise_ = mayHoldThem && comm(communityNoAdvertise);
    noExportSubconfed_ = mayHoldThem && comm(communityNoExportSubconfed);
}

bool CommList::noExport() const noexcept {
    MOX_ASSERT(commVectorSorted());
    return noExport_;
}

bool CommList::noAdvertise() const noexcept {
    MOX_ASSERT(commVectorSorted());
    return noAdvertise_;
}

bool CommList::noExportSubconfed() const noexcept {
    MOX_ASSERT(commVectorSorted());
    return noExportSubconfed_;
}

CommListSnapshot::Ptr CommList::commSnapshot() const {
    auto snapshot = commListSnapshotFactory();
    for (auto const value : *this) {
        snapshot->commIs(value, true);
    }
    return snapshot;
}

String CommList::serialize() const {
    return serializeCommList<4>(
        BgpPathAttrType::community, comms(), *this, [](U32) { return true; },
        [](char* place, U32 value) { Mox::writeNetworkOrder(place, value); });
}

// ---- LargeCommList ------------------------------------------------------------------------------

LargeCommList::LargeCommList() noexcept = default;
LargeCommList::~LargeCommList() = default;

LargeCommList::Ptr largeCommListFactory() {
    return Mox::makeActive<LargeCommList>();
}

LargeCommList::PtrConst LargeCommList::dedup(LargeCommListDedupTable const* table) {
    MOX_ASSERT_TEXT(table != nullptr, "__null != table");
    freeze();
    return Mox::staticPtrCast<LargeCommList const>(dedupIn(*table));
}

RouteMap::CommListSnapshot::Ptr LargeCommList::commSnapshot() const {
    auto snapshot = RouteMap::commListSnapshotFactory();
    for (auto const& value : *this) {
        snapshot->commIs(value, true);
    }
    return snapshot;
}

String LargeCommList::serialize() const {
    return serializeCommList<12>(
        BgpPathAttrType::largeCommunity, comms(), *this, [](CommunityValue const&) { return true; },
        [](char* place, CommunityValue const& value) {
            place = Mox::writeNetworkOrder(place, value.globalAdministrator());
            place = Mox::writeNetworkOrder(place, value.localData1());
            Mox::writeNetworkOrder(place, value.localData2());
        });
}

} // namespace Routing::Bgp
