#include <VoBgp/ExtCommList.h>

#include "ExtCommListFamilyImpl.h"

#include <Mox/Assert.h>
#include <Mox/CharBuffer.h>
#include <Mox/Type.h>
#include <VoBgp/BgpPathAttributeEnums.h>
#include <VoBgp/ExtCommListDedupTable.h>
#include <VoBgp/ExtCommListSnapshot.h>
#include <VoBgp/VoBgpSerialize.h>

#include <optional>
#include <ostream>

namespace Routing::Bgp {

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommList::Serialization::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::value, qualifiedName,
                                {flagAttribute<all>("all"), flagAttribute<transitive>("transitive"),
                                 flagAttribute<linkBandwidth>("linkBandwidth"),
                                 flagAttribute<originAsValidity>("originAsValidity")});
    return type;
}

Mox::Type const& ExtCommList::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommList",
        {Mox::readOnlyAttribute<ExtCommList, &ExtCommList::comms>("comms"),
         Mox::readOnlyAttribute<ExtCommList, &ExtCommList::commVectorSorted>("commVectorSorted"),
         Mox::readOnlyAttribute<ExtCommList, &ExtCommList::hasLinkBandwidth>("hasLinkBandwidth"),
         Mox::readOnlyAttribute<ExtCommList, &ExtCommList::hasLinkBandwidthWithUnspecifiedAsNumber>(
             "hasLinkBandwidthWithUnspecifiedAsNumber"),
         Mox::readOnlyAttribute<ExtCommList, &ExtCommList::hasOriginValidationState>(
             "hasOriginValidationState"),
         Mox::readOnlyAttribute<ExtCommList, &ExtCommList::totalTransitiveCommunities>(
             "totalTransitiveCommunities")});
    return type;
}

Mox::Type const& ExtCommClassificationList::staticType() noexcept {
    using List = ExtCommClassificationList;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommClassificationList",
        {Mox::readOnlyAttribute<List, &List::classification>("classification"),
         Mox::readOnlyAttribute<List, &List::commVectorSorted>("commVectorSorted"),
         Mox::readOnlyAttribute<List, &List::comms>("comms")});
    return type;
}

Mox::Type const& RtExtCommClassificationList::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity,
                                "Routing::Bgp::RtExtCommClassificationList", {},
                                &ExtCommClassificationList::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const extCommListRegistrations[] = {
    Mox::TypeRegistration(ExtCommList::Serialization::staticType()),
    Mox::TypeRegistration(ExtCommList::staticType()),
    Mox::TypeRegistration(ExtCommClassificationList::staticType()),
    Mox::TypeRegistration(RtExtCommClassificationList::staticType()),
};
} // namespace

// ---- Text ---------------------------------------------------------------------------------------

std::ostream& operator<<(std::ostream& os, ExtCommList const* list) {
    return Detail::formatExtComms(os, list, true);
}

std::ostream& operator<<(std::ostream& os, ExtCommList const& list) {
    return os << &list;
}

std::ostream& operator<<(std::ostream& os, ExtCommClassificationList const* list) {
    return Detail::formatExtComms(os, list, false);
}

CommListText& operator<<(CommListText& text, ExtCommList const* list) {
    return Detail::formatExtComms(text, list, true);
}

CommListText& operator<<(CommListText& text, ExtCommClassificationList const* list) {
    return Detail::formatExtComms(text, list, false);
}

// ---- Classification lists -----------------------------------------------------------------------

template class ExtCommClassificationListBase<ExtCommListFamily>;
template class ExtCommListBase<ExtCommListFamily>;

U32 const ExtCommListFamily::storedKind = storedExtCommList;

// Object sizes matter: tables hold many.
static_assert(sizeof(ExtCommClassificationList) == 48);
static_assert(sizeof(RtExtCommClassificationList) == 56);
static_assert(sizeof(ExtCommList) == 80);

Mox::Ptr<ExtCommClassificationList>
ExtCommListFamily::newClassificationList(ExtCommClassification classification) {
    return extCommClassificationListFactory(classification);
}

Kel::DedupHashTable const&
ExtCommListFamily::classificationTable(ExtCommListDedupTable const& table,
                                       ExtCommClassification classification) {
    return classification == extCommClassificationRouteTarget
               ? *table.rtExtCommClassificationListDedupTable()
               : *table.extCommClassificationListDedupTable();
}

ExtCommClassificationList::ExtCommClassificationList(ExtCommClassification classification) noexcept
  : ExtCommClassificationListBase(classification) {}

ExtCommClassificationList::~ExtCommClassificationList() = default;

ExtCommClassificationList::PtrConst
ExtCommClassificationList::dedup(ExtCommListDedupTable const* table) {
    MOX_ASSERT_TEXT(table != nullptr, "__null != table");
    sortComms();
    if (classification() == extCommClassificationLinkBandwidth) {
        MOX_ASSERT(comms() <= 1);
    }
    return dedupIn(ExtCommListFamily::classificationTable(*table, classification()));
}

ExtCommClassificationList::Ptr
extCommClassificationListFactory(ExtCommClassification classification) {
    if (classification == extCommClassificationRouteTarget) {
        return rtExtCommClassificationListFactory(classification);
    }
    return Mox::makeActive<ExtCommClassificationList>(classification);
}

RtExtCommClassificationList::RtExtCommClassificationList(
    ExtCommClassification classification) noexcept
  : ExtCommClassificationList(classification) {}

RtExtCommClassificationList::~RtExtCommClassificationList() = default;

void RtExtCommClassificationList::lifeTimeNotifierIs(
    Mox::Ptr<RtExtCommListLifeTimeNotifier> const& lifeTimeNotifier) noexcept {
    lifeTimeNotifier_ = lifeTimeNotifier;
}

Mox::Ptr<RtExtCommListLifeTimeNotifier>
RtExtCommClassificationList::getLifeTimeNotifier() const noexcept {
    return lifeTimeNotifier_;
}

RtExtCommClassificationList::Ptr
rtExtCommClassificationListFactory(ExtCommClassification classification) {
    return Mox::makeActive<RtExtCommClassificationList>(classification);
}

// ---- Lists --------------------------------------------------------------------------------------

ExtCommList::ExtCommList() noexcept = default;
ExtCommList::~ExtCommList() = default;

void ExtCommList::createClassificationListVector(bool dedupMode) {
    hasLinkBandwidth_ = false;
    classify(dedupMode);
    noteUnspecifiedAsNumber();
}

ExtCommList::PtrConst ExtCommList::insertMissed(ExtCommListDedupTable const& table,
                                                ExtCommClassCounts const& counts,
                                                Kel::DedupMiss const& miss) {
    hasLinkBandwidth_ = counts.has(extCommClassificationLinkBandwidth);
    hasOriginValidationState_ = counts.has(extCommClassificationOriginValidationState);
    noteUnspecifiedAsNumber();
    return ExtCommListBase::insertMissed(table, counts, miss);
}

void ExtCommList::noteUnspecifiedAsNumber() {
    for (auto const& comm : *this) {
        if (comm->isLinkBandwidthWithUnspecifiedAsNumber()) {
            hasLinkBandwidthWithUnspecifiedAsNumber_ = true;
        }
    }
}

ExtCommList::PtrConst ExtCommList::dedup(ExtCommListDedupTable const* table) {
    MOX_ASSERT_TEXT(table != nullptr, "__null != table");
    std::optional<Kel::DedupMiss> miss;
    if (auto existing = adoptInterned(*table, miss)) {
        hasLinkBandwidth_ = existing->hasLinkBandwidth_;
        hasLinkBandwidthWithUnspecifiedAsNumber_ =
            existing->hasLinkBandwidthWithUnspecifiedAsNumber_;
        hasOriginValidationState_ = existing->hasOriginValidationState_;
        return existing;
    }
    if (miss) {
        auto const counts = classCounts();
        if (counts.members[extCommClassificationLinkBandwidth] <= 1) {
            return insertMissed(*table, counts, *miss);
        }
    }
    createClassificationListVector(true);
    auto const& lists = classificationLists();
    hasLinkBandwidth_ = lists[extCommClassificationLinkBandwidth] != nullptr;
    hasOriginValidationState_ = lists[extCommClassificationOriginValidationState] != nullptr;
    return dedupIn(table);
}

ExtCommList::Ptr ExtCommList::destash(void const* stored, MoxStash::StoreManager* manager) {
    StoredListHead head;
    auto list = destashMembers(stored, manager, head);
    if (head.has(StoredListHead::sorted)) {
        list->commVectorSortedIs();
    }
    if (head.has(StoredListHead::classified)) {
        list->createClassificationListVector(false);
    }
    manager->validateVersionAnchor();
    list->destashedIs();
    return list;
}

ExtCommListSnapshot::Ptr ExtCommList::snapshot() const {
    return commSnapshot();
}

ExtCommList::Ptr extCommListFactory() {
    return Mox::makeActive<ExtCommList>();
}

// ---- Serialization ------------------------------------------------------------------------------

ExtCommList::Serialization ExtCommList::serialization(bool includeNonTransitive,
                                                      bool includeLinkBandwidth,
                                                      bool includeOriginAsValidity) {
    if (includeNonTransitive) {
        return Serialization(Serialization::all);
    }
    return Serialization(Serialization::transitive |
                         (includeLinkBandwidth ? Serialization::linkBandwidth : 0) |
                         (includeOriginAsValidity ? Serialization::originAsValidity : 0));
}

namespace {

bool admits(ExtCommList::Serialization serialization, ExtComm const& extComm) {
    using Serialization = ExtCommList::Serialization;
    auto const classification = extComm.classification();
    return serialization.has(Serialization::all) ||
           (serialization.has(Serialization::transitive) && extComm.transitive()) ||
           (serialization.has(Serialization::linkBandwidth) &&
            classification == extCommClassificationLinkBandwidth) ||
           (serialization.has(Serialization::originAsValidity) &&
            classification == extCommClassificationOriginValidationState);
}

} // namespace

bool ExtCommList::serializable(ExtComm::PtrConst const& extComm, Serialization serialization) {
    MOX_ASSERT_TEXT(extComm != nullptr, "__null != extComm");
    return admits(serialization, *extComm);
}

U32 ExtCommList::serializableCommunities(Serialization serialization) const {
    if (serialization.has(Serialization::all)) {
        return totalCommunities();
    }
    U32 result = 0;
    if (serialization.has(Serialization::transitive)) {
        result += totalTransitiveCommunities();
    }
    if (serialization.has(Serialization::linkBandwidth) && hasLinkBandwidth_) {
        ++result;
    }
    if (serialization.has(Serialization::originAsValidity) && hasOriginValidationState_) {
        ++result;
    }
    return result;
}

String ExtCommList::serialize(Serialization serialization) const {
    auto const announced = serializableCommunities(serialization);
    if (announced == 0) {
        return {};
    }
    if (octetsHeld() && serialization.has(Serialization::all)) {
        return serializeCommList(BgpPathAttrType::extCommunity, octets());
    }
    return serializeCommList<8>(
        BgpPathAttrType::extCommunity, announced, *this,
        [&](ExtComm::PtrConst const& comm) { return admits(serialization, *comm); },
        [](char* place, ExtComm::PtrConst const& comm) {
            Mox::writeNetworkOrder(place, comm->community());
        });
}

bool ExtCommList::matchCommunitiesRegex(RouteMap::PosixRegex const* regex) const {
    MOX_ASSERT_TEXT(regex != nullptr, "__null != regex");
    auto const matches = [&](U32 format) {
        return commListMatches(
            *regex, *this, [format](CommListText& text, ExtComm::PtrConst const& comm) {
                comm->appendPolicyText(text.buffer(), ExtComm::StrepFormat(format));
            });
    };
    return commListVerdict(*regex, *this, regexSubject_, [&] {
        return matches(ExtComm::StrepFormat::strepFormatDefault) ||
               matches(ExtComm::StrepFormat::strepFormatClassification);
    });
}

String ExtCommList::getStringValue(Acl::CommunityValue const& value) {
    Mox::LocalCharBuffer<42> out;
    return out.appendDecimal(value.localData1())
        .append(':')
        .appendDecimal(value.localData2())
        .string();
}

} // namespace Routing::Bgp
