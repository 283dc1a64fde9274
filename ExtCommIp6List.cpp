#include <VoBgp/ExtCommIp6List.h>

#include "ExtCommListFamilyImpl.h"

#include <Mox/Assert.h>
#include <Mox/Type.h>
#include <VoBgp/BgpPathAttributeEnums.h>
#include <VoBgp/ExtCommIp6ListDedupTable.h>
#include <VoBgp/VoBgpSerialize.h>

#include <cstring>
#include <optional>
#include <ostream>

namespace Routing::Bgp {

Mox::Type const& ExtCommIp6List::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommIp6List",
        {Mox::readOnlyAttribute<ExtCommIp6List, &ExtCommIp6List::commVectorSorted>(
             "commVectorSorted"),
         Mox::readOnlyAttribute<ExtCommIp6List, &ExtCommIp6List::transitiveCommCount>(
             "transitiveCommCount")});
    return type;
}

Mox::Type const& ExtCommIp6ListSnapshot::staticType() noexcept {
    using Snapshot = ExtCommIp6ListSnapshot;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommIp6ListSnapshot",
        {Mox::readOnlyAttribute<Snapshot, &Snapshot::comms>("comms"),
         Mox::readOnlyAttribute<Snapshot, &Snapshot::classificationLists>("classificationLists")});
    return type;
}

namespace {
Mox::TypeRegistration const extCommIp6ListRegistrations[] = {
    Mox::TypeRegistration(ExtCommIp6List::staticType()),
    Mox::TypeRegistration(ExtCommIp6ListSnapshot::staticType()),
};
} // namespace

std::ostream& operator<<(std::ostream& os, ExtCommIp6List const* list) {
    return Detail::formatExtComms(os, list, true);
}

CommListText& operator<<(CommListText& text, ExtCommIp6List const* list) {
    return Detail::formatExtComms(text, list, true);
}

std::ostream& operator<<(std::ostream& os, ExtCommIp6List const& list) {
    return os << &list;
}

U32 const ExtCommIp6ListFamily::storedKind = storedExtCommIp6List;

template class ExtCommListBase<ExtCommIp6ListFamily>;
static_assert(sizeof(ExtCommIp6List) == 72);

ExtCommIp6List::ExtCommIp6List() noexcept = default;
ExtCommIp6List::~ExtCommIp6List() = default;

ExtCommIp6List::CommVector* ExtCommIp6List::commVectorRawPtrNonConst() noexcept {
    return &commVectorNonConst();
}

ExtCommIp6List::PtrConst ExtCommIp6List::dedup(ExtCommIp6ListDedupTable const* table) {
    MOX_ASSERT_TEXT(table != nullptr, "__null != table");
    MOX_ASSERT_TEXT(dedupState() == Kel::dedupHandleStateNeverDeduped(),
                    "__null == ( this ) || ( this )->dedupState() == "
                    "Kel::dedupHandleStateNeverDeduped()");
    std::optional<Kel::DedupMiss> miss;
    if (auto existing = adoptInterned(*table, miss)) {
        return existing;
    }
    if (miss) {
        return insertMissed(*table, classCounts(), *miss);
    }
    classify(true);
    return dedupIn(table);
}

String ExtCommIp6List::commsStringForm() const {
    constexpr ExtCommIp6::StrepFormat format(ExtCommIp6::StrepFormat::strepFormatClassification);
    CommListText text;
    for (auto const& comm : *this) {
        comm->appendPolicyText(text.buffer(), format);
        text.append(" ");
    }
    return text.string();
}

String ExtCommIp6List::serialize(bool sendNonTransExtComms) const {
    auto const count = sendNonTransExtComms ? totalCommunities() : transitiveCommCount();
    if (count == 0) {
        return {};
    }
    if (octetsHeld() && count == totalCommunities()) {
        return serializeCommList(BgpPathAttrType::extCommunityIp6, octets());
    }
    return serializeCommList<20>(
        BgpPathAttrType::extCommunityIp6, count, *this,
        [&](ExtCommIp6::PtrConst const& comm) {
            return sendNonTransExtComms || comm->transitive();
        },
        [](char* place, ExtCommIp6::PtrConst const& comm) {
            auto const content = comm->getContent();
            auto const& address = content.addr().octets();
            place = Mox::writeNetworkOrder(place, content.type());
            place = Mox::writeNetworkOrder(place, content.subtype());
            std::memcpy(place, address.data(), address.size());
            Mox::writeNetworkOrder(place + address.size(), content.localAdmin());
        });
}

ExtCommIp6List::Ptr ExtCommIp6List::destash(void const* image,
                                            MoxStash::StoreManager* storeManager) {
    StoredListHead head;
    auto list = destashMembers(image, storeManager, head);
    storeManager->validateVersionAnchor();
    list->destashedIs();
    return list;
}

ExtCommIp6List::Ptr extCommIp6ListFactory() {
    return Mox::makeActive<ExtCommIp6List>();
}

ExtCommIp6ListSnapshot::ExtCommIp6ListSnapshot() noexcept = default;
ExtCommIp6ListSnapshot::~ExtCommIp6ListSnapshot() = default;

ExtCommIp6ListSnapshot::Ptr extCommIp6ListSnapshotFactory() {
    return Mox::makeActive<ExtCommIp6ListSnapshot>();
}

} // namespace Routing::Bgp
