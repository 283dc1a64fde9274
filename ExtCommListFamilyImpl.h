#pragma once

#include "VoBgpMemberOctets.h"
#include "VoBgpStoredRecords.h"

#include <Mox/Assert.h>
#include <Mox/Hash.h>
#include <Mox/PtrInterface.h>
#include <Mox/Trace.h>
#include <VoBgp/ExtCommListFamily.h>
#include <VoBgp/VoBgpCommunityListImpl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <ostream>
#include <span>
#include <vector>

// Definitions of the templates in `ExtCommListFamily.h`, for the sources that instantiate them.

namespace Routing::Bgp {

namespace Detail {

/// The one-at-a-time hash of the identities of interned objects, each as eight little-endian
/// octets; 0 for no objects.
template <class Objects>
U32 hashOfIdentities(Objects const& objects) noexcept {
    Mox::OneAtATimeHash hash;
    for (auto const& p : objects) {
        MOX_ASSERT_TEXT(p == nullptr || p->dedupState() != Kel::dedupHandleStateNeverDeduped(),
                        "__null == ( p ) || ( p )->dedupState() != "
                        "Kel::dedupHandleStateNeverDeduped()");
        hash.addLittleEndian(reinterpret_cast<U64>(p.get()));
    }
    return hash.finish();
}

/// The place of a list of interned objects in its table.
template <class Objects>
U64 placementOfIdentities(Objects const& objects) noexcept {
    Mox::KeyedHash hash(static_cast<std::size_t>(std::end(objects) - std::begin(objects)));
    for (auto const& object : objects) {
        hash.add(reinterpret_cast<U64>(&*object));
    }
    return hash.finish();
}

/// The content of a member, which determines its octets.
constexpr auto contentOf = [](auto const& comm) noexcept { return extCommKey(*comm); };

/// Writes the communities. Keeps the members alive meanwhile, because the stream may release the
/// last reference to the list.
template <class ListType>
std::ostream& formatExtComms(std::ostream& os, ListType const* list, bool bracketed) {
    using Members = typename ListType::CommVector;
    auto const members = list == nullptr ? Members() : list->commVector();
    return formatCommList(
        os, list == nullptr ? nullptr : &members,
        [](std::ostream& out, auto const& comm) { out << *comm; }, bracketed, " ");
}

/// Appends the communities to a text.
template <class ListType>
CommListText& formatExtComms(CommListText& text, ListType const* list, bool bracketed) {
    return formatCommList(
        text, list, [](CommListText& out, auto const& comm) { comm->appendShowText(out.buffer()); },
        bracketed, " ");
}

} // namespace Detail

// ---- Classification lists -----------------------------------------------------------------------

template <class Family>
ExtCommClassificationListBase<Family>::~ExtCommClassificationListBase() = default;

template <class Family>
U32 ExtCommClassificationListBase<Family>::hash() const {
    MOX_ASSERT_TEXT(this->commVectorSorted(), "commVectorSorted()");
    return Detail::hashOfIdentities(*this);
}

template <class Family>
U64 ExtCommClassificationListBase<Family>::placementHash() const {
    return Detail::placementOfIdentities(*this);
}

template <class Family>
bool ExtCommClassificationListBase<Family>::compare(Kel::DedupHandle const* other) const {
    MOX_ASSERT_TEXT(this->commVectorSorted(), "commVectorSorted()");
    return static_cast<ExtCommClassificationListBase const*>(other)->commVector() ==
           this->commVector();
}

template <class Family>
bool ExtCommClassificationListBase<Family>::compareByContent(
    Kel::DedupContentHandle const& content) const {
    auto const& members = content.as<std::span<CommPtr const>>();
    return std::equal(this->begin(), this->end(), members.begin(), members.end());
}

template <class Family>
void ExtCommClassificationListBase<Family>::formatHandle(std::ostream& os) const {
    os << static_cast<List const*>(this);
}

template <class Family>
auto ExtCommClassificationListBase<Family>::commSnapshot() const -> Mox::Ptr<Snapshot> {
    auto snapshot = Mox::makeActive<Snapshot>(classification_);
    for (auto const& comm : *this) {
        snapshot->commIs(comm);
    }
    return snapshot;
}

template <class Family>
String ExtCommClassificationListBase<Family>::toStrep() const {
    return stringify(static_cast<List const*>(this));
}

template <class Family>
auto ExtCommClassificationListBase<Family>::findOrCreate(ClassificationListVector<List>& vector,
                                                         ExtCommClassification classification,
                                                         bool dedupMode) -> List& {
    if (auto const* const list = vector[classification]; list != nullptr) {
        MOX_ASSERT_TEXT(!dedupMode || list->dedupState() == Kel::dedupHandleStateNeverDeduped(),
                        "__null == ( _classificationList ) || ( _classificationList "
                        ")->dedupState() == Kel::dedupHandleStateNeverDeduped()");
        // Not shared: a list that was not interned belongs to the vector.
        return const_cast<List&>(*list);
    }
    auto list = Family::newClassificationList(classification);
    ExtCommListClassificationListIs(vector, list);
    return *list;
}

template <class Family>
auto ExtCommClassificationListBase<Family>::dedupIn(Kel::DedupHashTable const& table)
    -> Mox::PtrConst<List> {
    return Mox::staticPtrCast<List const>(table.dedup(Kel::DedupHandle::Ptr(this)));
}

template <class Family>
auto ExtCommClassificationListBase<Family>::interned(
    typename Family::ListDedupTable const& table, ExtCommClassification classification,
    std::span<typename Family::Comm const* const> members) -> Mox::PtrConst<List> {
    auto const& lists = Family::classificationTable(table, classification);
    Kel::DedupMiss miss(Detail::placementOfIdentities(members));
    auto const hasMembers = [members](Kel::DedupHandle const& candidate) {
        auto const& list = static_cast<ExtCommClassificationListBase const&>(candidate);
        return std::equal(list.begin(), list.end(), members.begin(), members.end());
    };
    auto found = lists.find(miss, hasMembers);
    if (!found) {
        auto list = Family::newClassificationList(classification);
        list->fillSorted(members);
        found = lists.dedup(std::move(list), miss);
    }
    return Mox::staticPtrCast<List const>(std::move(found));
}

// ---- Lists: filling and reading -----------------------------------------------------------------

template <class Family>
ExtCommListBase<Family>::~ExtCommListBase() = default;

template <class Family>
U32 ExtCommListBase<Family>::hash() const {
    return Detail::hashOfIdentities(classificationLists_);
}

template <class Family>
U64 ExtCommListBase<Family>::placementHash() const {
    return this->octetsHeld() ? Mox::keyedHash(this->octets())
                              : keyedHashOfMembers(*this, Detail::contentOf);
}

template <class Family>
bool ExtCommListBase<Family>::compare(Kel::DedupHandle const* other) const {
    return static_cast<ExtCommListBase const*>(other)->classificationLists_ == classificationLists_;
}

template <class Family>
bool ExtCommListBase<Family>::compareByContent(Kel::DedupContentHandle const& content) const {
    return content.as<ClassificationLists>() == classificationLists_;
}

template <class Family>
void ExtCommListBase<Family>::formatHandle(std::ostream& os) const {
    os << static_cast<List const*>(this);
}

template <class Family>
void ExtCommListBase<Family>::append(Mox::PtrConst<List> const& other) {
    if (other) {
        this->addAll(other->commVector());
    }
}

template <class Family>
void ExtCommListBase<Family>::appendClassificationList(
    Mox::PtrConst<ClassificationList> const& other) {
    if (other) {
        this->addAll(other->commVector());
    }
}

template <class Family>
U32 ExtCommListBase<Family>::totalCommunities() const {
    MOX_ASSERT_TEXT(this->commVectorSorted(), "commVectorSorted()");
    return this->commVector().size();
}

template <class Family>
auto ExtCommListBase<Family>::classificationList(ExtCommClassification classification) const
    -> Mox::PtrConst<ClassificationList> {
    MOX_ASSERT_TEXT(this->dedupState() != Kel::dedupHandleStateNeverDeduped(),
                    "__null == ( this ) || ( this )->dedupState() != "
                    "Kel::dedupHandleStateNeverDeduped()");
    return Mox::PtrConst<ClassificationList>(classificationLists_[classification]);
}

template <class Family>
auto ExtCommListBase<Family>::commSnapshot() const -> Mox::Ptr<Snapshot> {
    auto snapshot = Mox::makeActive<Snapshot>();
    for (auto const& list : classificationLists_) {
        snapshot->classificationListIs(list);
    }
    for (auto const& comm : *this) {
        snapshot->commIs(comm);
    }
    return snapshot;
}

template <class Family>
String ExtCommListBase<Family>::toStrep() const {
    return stringify(static_cast<List const*>(this));
}

// ---- Lists: stores ------------------------------------------------------------------------------

template <class Family>
void const* ExtCommListBase<Family>::stash(MoxStash::StoreWriter& writer) const {
    std::vector<U64> body;
    body.reserve(1 + std::size_t{this->commVector().size()});
    U32 const flags = (this->commVectorSorted() ? StoredListHead::sorted : 0) |
                      (classificationLists_.empty() ? 0 : StoredListHead::classified);
    body.push_back(StoredListHead{this->commVector().size(), flags}.word());
    for (auto const& comm : *this) {
        body.push_back(MoxStash::storedOffset(comm->stash(writer)));
    }
    return writer.recordIs(Family::storedKind, body);
}

template <class Family>
auto ExtCommListBase<Family>::destashMembers(void const* stored, MoxStash::StoreManager* manager,
                                             StoredListHead& head) -> Mox::Ptr<List> {
    MOX_ASSERT_TEXT(manager != nullptr, "__null != manager");
    MOX_TRACE(8, "Destashing " << List::staticType().name());
    auto const record = manager->translate(stored, Family::storedKind);
    head = storedListHead(record, sizeof(U64), StoredListHead::sorted | StoredListHead::classified);
    auto list = Mox::makeActive<List>();
    list->expectedCommunityCountIs(head.count);
    for (U32 index = 0; index < head.count; ++index) {
        auto const member = MoxStash::storedAddress(record.word(1 + index));
        list->commIs(Family::Comm::destash(member, manager));
    }
    auto const keyOf = [](CommPtr const& comm) { return extCommKey(*comm); };
    if (head.has(StoredListHead::sorted) && !commVectorAscends(*list, keyOf)) {
        refuseUnsorted(record);
    }
    return list;
}

// ---- Lists: freezing ----------------------------------------------------------------------------

/// Lists with equal members have equal classification lists, so an interned list is found by its
/// members without splitting this one. A list that has its octets is new: an earlier insertion
/// failed, or the caller has looked it up. A list in the table that does not hold its octets was
/// split by the agent: the insertion decides whether it is equal.
template <class Family>
auto ExtCommListBase<Family>::adoptInterned(Table const& table, std::optional<Kel::DedupMiss>& miss)
    -> Mox::PtrConst<List> {
    if (!classificationLists_.empty() || table.classificationTableReplaced()) {
        return nullptr;
    }
    this->unifyComms();
    if (this->octetsHeld()) {
        return nullptr;
    }
    bool undecided = false;
    auto const hasMembers = [&](Kel::DedupHandle const& candidate) {
        auto const& list = static_cast<ExtCommListBase const&>(candidate);
        undecided |= !list.octetsHeld();
        return list.octetsHeld() && list.commVector() == this->commVector();
    };
    Kel::DedupMiss const unknown(keyedHashOfMembers(*this, Detail::contentOf));
    miss = unknown;
    auto existing = Mox::staticPtrCast<List const>(table.dedupTable()->find(*miss, hasMembers));
    if (undecided) {
        miss = unknown;
    }
    if (existing) {
        classificationLists_.copy(existing->classificationLists_);
        transitiveComms_ = existing->transitiveComms_;
    } else {
        this->holdOctets([this](std::byte* to) { storeMembers(*this, Detail::contentOf, to); });
    }
    return existing;
}

template <class Family>
ExtCommClassCounts ExtCommListBase<Family>::classCounts() const noexcept {
    ExtCommClassCounts counts;
    for (auto const& comm : *this) {
        auto const classification = comm->classification();
        MOX_ASSERT_TEXT(classification < counts.members.size(),
                        "comm->classification() < members.size()");
        ++counts.members[classification];
        counts.present |= 1U << classification;
        counts.transitive += comm->transitive() ? 1 : 0;
    }
    return counts;
}

/// Gathers the members by class, then interns each class. The members are sorted, and so are those
/// of each class.
template <class Family>
void ExtCommListBase<Family>::internClasses(Table const& table, ExtCommClassCounts const& counts) {
    using CommAddress = typename Family::Comm const*;
    auto const members = this->commVector().size();
    std::array<CommAddress, 64> local;
    std::vector<CommAddress> large(members > local.size() ? members : 0);
    auto* const gathered = large.empty() ? local.data() : large.data();
    std::array<CommAddress*, ClassificationLists::maximumSlots> ends{};
    U32 classes = 0;
    auto* next = gathered;
    counts.forEachClass([&](U32 slot) {
        ends[slot] = next;
        next += counts.members[slot];
        ++classes;
    });
    for (auto const& comm : *this) {
        *ends[comm->classification()]++ = comm.get();
    }
    classificationLists_.reserve(classes);
    counts.forEachClass([&](U32 slot) {
        auto const size = counts.members[slot];
        auto const classification = static_cast<ExtCommClassification>(slot);
        classificationLists_.append(
            slot,
            ClassificationList::interned(table, classification,
                                         std::span<CommAddress const>(ends[slot] - size, size)));
    });
}

template <class Family>
auto ExtCommListBase<Family>::insertMissed(Table const& table, ExtCommClassCounts const& counts,
                                           Kel::DedupMiss const& miss) -> Mox::PtrConst<List> {
    // An observer of route-target lists may release the table and the caller's references to the
    // list.
    Mox::ScopedHold const tableHeld(table);
    Kel::DedupHandle::Ptr self(this);
    try {
        internClasses(table, counts);
        transitiveComms_ = counts.transitive;
        return Mox::staticPtrCast<List const>(table.dedupTable()->dedup(std::move(self), miss));
    } catch (...) {
        classificationLists_.clear();
        throw;
    }
}

template <class Family>
void ExtCommListBase<Family>::classify(bool dedupMode) {
    transitiveComms_ = 0;
    this->sortComms();
    try {
        splitMembers(dedupMode);
    } catch (...) {
        classificationLists_.clear();
        throw;
    }
    if (dedupMode) {
        transitiveComms_ = static_cast<U32>(std::count_if(
            this->begin(), this->end(), [](CommPtr const& comm) { return comm->transitive(); }));
    }
}

/// Counts first, so that each vector is allocated once; then moves the members run by run, as
/// members of a class are usually adjacent.
template <class Family>
void ExtCommListBase<Family>::splitMembers(bool dedupMode) {
    std::array<U32, ClassificationLists::maximumSlots> members{};
    U32 classes = 0;
    for (auto const& comm : *this) {
        MOX_ASSERT(comm->classification() < members.size());
        classes += members[comm->classification()]++ == 0 ? 1 : 0;
    }
    classificationLists_.reserve(classes);
    for (auto const* run = this->begin(); run != this->end();) {
        auto const classification = (*run)->classification();
        auto const* const next = std::find_if(run, this->end(), [&](CommPtr const& comm) {
            return comm->classification() != classification;
        });
        auto& list =
            ClassificationList::findOrCreate(classificationLists_, classification, dedupMode);
        list.expectedCommunityCountIs(members[classification]);
        list.addAll({run, next});
        run = next;
    }
    if (!dedupMode) {
        for (auto const& list : classificationLists_) {
            static_cast<ExtCommClassificationListBase<Family>&>(
                const_cast<ClassificationList&>(*list))
                .destashedIs();
        }
    }
}

/// Keeps the table and the list alive: an observer of route-target lists may release the last other
/// references to them.
template <class Family>
auto ExtCommListBase<Family>::dedupIn(Table const* table) -> Mox::PtrConst<List> {
    Mox::PtrConst<Table> const tableHeld(table);
    Mox::Ptr<List> const self(static_cast<List*>(this));
    try {
        for (U32 slot = 0; slot < classificationLists_.size(); ++slot) {
            auto const* const list = classificationLists_[slot];
            if (list == nullptr) {
                continue;
            }
            if (list->dedupState() == Kel::dedupHandleStateNeverDeduped()) {
                ExtCommListClassificationListIs(
                    classificationLists_, const_cast<ClassificationList*>(list)->dedup(table));
            } else {
                MOX_ASSERT_TEXT(list->commVectorSorted(),
                                "_classificationList->commVectorSorted()");
            }
        }
        return Mox::staticPtrCast<List const>(table->dedup(self));
    } catch (...) {
        classificationLists_.clear();
        throw;
    }
}

} // namespace Routing::Bgp
