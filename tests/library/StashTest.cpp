#include "../../VoBgpStoredRecords.h"
#include "../../fuzz/StoreContent.h"
#include "support/Allocations.h"
#include "support/Expectations.h"
#include "support/StoreFolder.h"

#include <MoxStash/StoreException.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StoreWriter.h>
#include <VoBgp/ExtCommListDedupTable.h>
#include <VoBgp/NotifyingRouteTargetList.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <typeinfo>

namespace Routing::Bgp {
namespace {

using Acl::CommunityValue;
using MoxStash::storedOffset;
using MoxStash::StoreException;
using MoxStash::StoreManager;
using MoxStash::StoreWriter;

constexpr U64 rt = 0x0002fde800000001;
constexpr U64 soo = 0x0003fde800000001;
constexpr U64 bandwidthWithoutAs = 0x400400004b3ebc20;
constexpr U64 validity = 0x4300000000000002;
constexpr U64 unknown = 0x9901000000000000;

ExtCommIp6Content ip6(Mox::U8 type, Mox::U8 subtype, Mox::U16 localAdmin) {
    return {type, subtype, Lumo::Ip6Addr(Lumo::Ip6Addr::Octets{0x20, 1, 0xd, 0xb8}), localAdmin};
}

/// An agent's tables, and a store that the test writes and then reads.
class Stash : public testing::Test {
  protected:
    ExtComm::PtrConst comm(U64 value) {
        return ExtComm::dedupContent(tables.extCommDedupTable().get(), ExtCommContent(value));
    }

    ExtCommIp6::PtrConst comm(ExtCommIp6Content const& content) {
        return ExtCommIp6::dedupContent(tables.extCommIp6DedupTable().get(), content);
    }

    template <class List, class Member>
    static Mox::Ptr<List> listOf(std::initializer_list<Member> members) {
        auto list = Mox::makeActive<List>();
        for (auto const& member : members) {
            list->commIs(member);
        }
        return list;
    }

    /// A reader of the store written so far.
    StoreManager& reader() {
        words_ = writer.image(1);
        manager_.emplace("memory", std::as_bytes(std::span(words_)));
        return *manager_;
    }

    template <class Object>
    typename Object::Ptr rebuilt(Mox::PtrConst<Object> const& object) {
        auto const* const stored = object->stash(writer);
        return Object::destash(stored, &reader());
    }

    StoreWriter writer;
    CommunityTables const tables;

  private:
    std::vector<U64> words_;
    std::optional<StoreManager> manager_;
};

using StashDeathTest = Stash;

// ---- Values -------------------------------------------------------------------------------------

/// Expects a plain object with the same value that belongs to no table.
template <class Comm>
void expectPlain(Comm const& original, Mox::PtrConst<Comm> const& rebuilt) {
    EXPECT_EQ(typeid(*rebuilt), typeid(Comm));
    EXPECT_EQ(rebuilt->getContent(), original.getContent());
    EXPECT_EQ(rebuilt->classification(), original.classification());
    EXPECT_EQ(rebuilt->dedupState(), Kel::dedupHandleStateDestashed());
    EXPECT_TRUE(rebuilt->hasNotificationActive());
    EXPECT_TRUE(rebuilt->pktSubtype().isUnspecified());
    EXPECT_TRUE(rebuilt->compare(&original) && original.compare(rebuilt.get()));
    EXPECT_EQ(rebuilt->hash(), original.hash());
    EXPECT_NE(rebuilt.get(), &original);
}

TEST_F(Stash, RebuildsValuesAsPlainObjectsOutsideTables) {
    auto const targets = tables.extCommDedupTable()->notifyingRouteTargetList();
    for (U64 const value : {rt, soo, bandwidthWithoutAs, validity, unknown, U64{0}, ~U64{0}}) {
        auto const original = comm(value);
        auto const back = rebuilt(original);
        expectPlain(*original, ExtComm::PtrConst(back));
        EXPECT_FALSE(back->isLinkBandwidthWithUnspecifiedAsNumber());
    }
    auto const back = rebuilt(comm(rt));
    EXPECT_EQ(tables.extCommDedupTable()->dedupHashTable()->size(), 0U);
    EXPECT_EQ(targets->rts(), 0U) << "notified of a rebuilt object";
    EXPECT_EQ(back->toStrep().str(), "<extCommPktTypeTransTwoOctetAs 0x0002fde800000001>");
    for (auto const& content : {ip6(0, 2, 1), ip6(0x40, 3, 65535), ip6(0xff, 0xff, 0)}) {
        expectPlain(*comm(content), ExtCommIp6::PtrConst(rebuilt(comm(content))));
    }
    EXPECT_EQ(tables.extCommIp6DedupTable()->dedupHashTable()->size(), 0U);
}

TEST_F(Stash, SharesRepeatedObjectsOnlyOnRequest) {
    auto const list = listOf<ExtCommList>({comm(rt), comm(soo)});
    auto const other = listOf<ExtCommList>({comm(unknown), comm(rt)});
    auto const* const first = list->stash(writer);
    auto const* const second = other->stash(writer);
    auto& manager = reader();
    auto const inBoth = [&] {
        auto const one = ExtCommList::destash(first, &manager);
        auto const two = ExtCommList::destash(second, &manager);
        EXPECT_EQ((*one)[0]->getContent(), (*two)[1]->getContent());
        return (*one)[0] == (*two)[1];
    };
    EXPECT_FALSE(inBoth());
    manager.sharingIs(true);
    EXPECT_TRUE(inBoth());
    auto const held = ExtCommList::destash(first, &manager);
    EXPECT_EQ((*held)[0]->referenceCount(), 2U);
    manager.sharingIs(false);
    EXPECT_FALSE(inBoth());
    EXPECT_EQ((*held)[0]->referenceCount(), 1U);
}

// ---- Lists of plain values ----------------------------------------------------------------------

/// Expects the rebuilt list to be equal, sorted or not; interning it yields the original.
template <class List>
void expectListsBack(std::vector<U32> const& numbers, auto valueOf, auto const& table,
                     auto rebuild) {
    auto const list = Mox::makeActive<List>();
    for (auto const number : numbers) {
        list->commIs(valueOf(number));
    }
    auto const unsorted = rebuild(typename List::PtrConst(list));
    EXPECT_TRUE(std::equal(unsorted->begin(), unsorted->end(), list->begin(), list->end()));
    EXPECT_FALSE(unsorted->commVectorSorted());
    auto const interned = list->dedup(table.get());
    auto const sorted = rebuild(interned);
    EXPECT_TRUE(std::equal(sorted->begin(), sorted->end(), interned->begin(), interned->end()));
    EXPECT_TRUE(sorted->commVectorSorted() && sorted->compare(interned.get()));
    EXPECT_EQ(sorted->toStrep(), interned->toStrep());
    for (auto const& back : {unsorted, sorted}) {
        EXPECT_EQ(back->dedupState(), Kel::dedupHandleStateNeverDeduped());
        EXPECT_TRUE(back->hasNotificationActive());
        EXPECT_EQ(table->dedupTable()->size(), 1U);
        EXPECT_EQ(back->dedup(table.get()), interned);
    }
}

TEST_F(Stash, RebuildsListsOfPlainValues) {
    for (std::vector<U32> const& numbers :
         {std::vector<U32>{}, {7}, {9, 1, 9, 5}, {3, 2, 1, 0xffffff01, 0xffffff02}}) {
        expectListsBack<CommList>(numbers, std::identity(), tables.commListDedupTable(),
                                  [&](auto const& list) { return rebuilt(list); });
        expectListsBack<LargeCommList>(
            numbers, [](U32 number) { return CommunityValue(number, ~number, number / 2); },
            tables.largeCommListDedupTable(), [&](auto const& list) { return rebuilt(list); });
    }
}

TEST_F(Stash, RestoresWellKnownFlagsOnlyWhenInterned) {
    auto const list = listOf<CommList>({0xffffff01U, 0xffffff02U, 0xffffff03U});
    auto back = rebuilt(list->dedup(tables.commListDedupTable().get()));
    EXPECT_TRUE(back->comm(0xffffff01));
    EXPECT_FALSE(back->noExport() || back->noAdvertise() || back->noExportSubconfed());
    auto const otherTable = commListDedupTableFactory();
    auto const interned = back->dedup(otherTable.get());
    EXPECT_EQ(interned, back);
    EXPECT_TRUE(interned->noExport() && interned->noAdvertise() && interned->noExportSubconfed());
}

TEST_F(Stash, TracesListsOfPlainValues) {
    auto const* const standard = listOf<CommList>({65537U, 0xffffff01U})->stash(writer);
    auto const* const large = listOf<LargeCommList>({CommunityValue(1, 2, 3)})->stash(writer);
    auto const* const empty = commListFactory()->stash(writer);
    auto& manager = reader();
    TracedLines const traced(8);
    CommList::destash(standard, &manager);
    LargeCommList::destash(large, &manager);
    CommList::destash(empty, &manager);
    std::vector<std::string> texts;
    for (auto const& line : traced.lines) {
        texts.push_back(line.substr(line.find("destashCommList: ") + 17));
    }
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "Destashing Routing::Bgp::CommList", "  destashed: 1:1 no-export",
                         "Destashing Routing::Bgp::LargeCommList", "  destashed: 1:2:3",
                         "Destashing Routing::Bgp::CommList"}));
}

// ---- Lists of extended communities --------------------------------------------------------------

TEST_F(Stash, RebuildsExtCommListsForReadingOnly) {
    auto const target = comm(rt);
    auto const original = listOf<ExtCommList>({comm(validity), comm(unknown), target,
                                               comm(bandwidthWithoutAs), target})
                              ->dedup(tables.extCommListDedupTable().get());
    ASSERT_TRUE(original->totalTransitiveCommunities() > 0 && original->hasLinkBandwidth() &&
                original->hasLinkBandwidthWithUnspecifiedAsNumber() &&
                original->hasOriginValidationState());
    auto const targets =
        tables.extCommListDedupTable()->rtExtCommClassificationListDedupTable()->size();
    auto const back = rebuilt(original);
    EXPECT_EQ(tables.extCommListDedupTable()->rtExtCommClassificationListDedupTable()->size(),
              targets);
    EXPECT_EQ(tables.extCommListDedupTable()->dedupTable()->size(), 1U);
    EXPECT_EQ(back->dedupState(), Kel::dedupHandleStateDestashed());
    EXPECT_TRUE(back->hasNotificationActive());
    EXPECT_EQ(back->totalTransitiveCommunities(), 0U);
    EXPECT_FALSE(back->hasLinkBandwidth() || back->hasLinkBandwidthWithUnspecifiedAsNumber() ||
                 back->hasOriginValidationState());
    ASSERT_TRUE(back->commVectorSorted());
    ASSERT_EQ(back->comms(), 4U);
    for (U32 index = 0; index < back->comms(); ++index) {
        expectPlain(*(*original)[index], ExtComm::PtrConst((*back)[index].get()));
    }
    EXPECT_EQ(back->comm(soo), nullptr);
    ExtCommList::Serialization const all(ExtCommList::Serialization::all);
    EXPECT_EQ(back->serialize(all), original->serialize(all));
    for (auto const slot :
         {extCommClassificationRouteTarget, extCommClassificationLinkBandwidth,
          extCommClassificationOriginValidationState, extCommClassificationUnSpecified}) {
        auto const part = back->classificationList(slot);
        ASSERT_TRUE(part);
        EXPECT_EQ(part->dedupState(), Kel::dedupHandleStateDestashed());
        ASSERT_EQ(part->comms(), 1U);
        EXPECT_EQ((*part)[0], back->comm(extCommKey(*(*part)[0])));
    }
    EXPECT_FALSE(back->classificationList(extCommClassificationRouteOrigin));
}

TEST_F(StashDeathTest, AddingToARebuiltListAsserts) {
    auto const part = listOf<ExtCommList>({comm(rt)});
    auto const ip6Part = listOf<ExtCommIp6List>({comm(ip6(0, 2, 1))});
    auto const back = rebuilt(part->dedup(tables.extCommListDedupTable().get()));
    auto const backIp6 = rebuilt(ExtCommIp6List::PtrConst(ip6Part));
    auto const rts = Mox::constPtrCast<ExtCommClassificationList>(
        back->classificationList(extCommClassificationRouteTarget));
    auto const text = "'dedupState() == Kel::dedupHandleStateNeverDeduped()'";
    expectAssertions({
        {text, [&] { back->commIs(comm(soo)); }},
        {text, [&] { back->append(part); }},
        {text, [&] { back->appendClassificationList(rts); }},
        {text, [&] { rts->commIs(comm(soo)); }},
        {text, [&] { backIp6->append(ip6Part); }},
        {text, [&] { (void)backIp6->commVectorRawPtrNonConst(); }},
    });
}

TEST_F(Stash, RebuildsUnsortedExtCommListsWithoutClasses) {
    auto const original = listOf<ExtCommList>({comm(soo), comm(rt), comm(soo)});
    auto const back = rebuilt(ExtCommList::PtrConst(original));
    EXPECT_FALSE(back->commVectorSorted());
    ASSERT_EQ(back->comms(), 3U);
    EXPECT_EQ((*back)[2]->getContent(), ExtCommContent(soo));
    EXPECT_FALSE(back->classificationList(extCommClassificationRouteTarget));
    EXPECT_EQ(
        rebuilt(extCommListFactory()->dedup(tables.extCommListDedupTable().get()))->toStrep().str(),
        "[  ]");
}

TEST_F(Stash, RebuildsExtCommIp6ListsAsNewListsInStoredOrder) {
    auto const original =
        listOf<ExtCommIp6List>({comm(ip6(0, 3, 1)), comm(ip6(0, 2, 9)), comm(ip6(0x40, 2, 1))});
    auto const unsorted = rebuilt(ExtCommIp6List::PtrConst(original));
    ASSERT_EQ(unsorted->comms().size(), 3U);
    EXPECT_EQ((*unsorted)[0]->getContent(), ip6(0, 3, 1));
    EXPECT_EQ((*unsorted)[2]->getContent(), ip6(0x40, 2, 1));
    auto const interned = original->dedup(tables.extCommIp6ListDedupTable().get());
    auto const back = rebuilt(interned);
    EXPECT_EQ(back->dedupState(), Kel::dedupHandleStateDestashed());
    EXPECT_FALSE(back->commVectorSorted());
    EXPECT_EQ(back->transitiveCommCount(), 0U);
    EXPECT_FALSE(back->classificationList(extCommClassificationRouteTarget));
    EXPECT_EQ(tables.extCommIp6ListDedupTable()->dedupTable()->size(), 1U);
    back->sortComms();
    EXPECT_EQ(back->serialize(true), interned->serialize(true));
    EXPECT_EQ(back->comm(ip6(0, 2, 9))->dedupState(), Kel::dedupHandleStateDestashed());
}

/// In an overwritten segment, another record is at the place of a value or list.
TEST_F(Stash, ReturnsNothingFromOverwrittenStores) {
    StoreFolder const folder;
    auto const store = folder.store(true);
    auto const publish = [&](auto const&... objects) {
        StoreWriter other;
        std::array const stored = {objects->stash(other)...};
        MoxStash::publishStore(other, store);
        return stored;
    };
    auto const [value, list] = publish(comm(rt), listOf<CommList>({1U}));
    StoreManager manager(store);
    manager.sharingIs(true);
    auto const held = ExtComm::destash(value, &manager);
    publish(comm(rt));
    ASSERT_EQ(publish(comm(ip6(0, 2, 1)))[0], value);
    EXPECT_THROW(ExtCommIp6::destash(value, &manager), MoxStash::StaleStoreException);
    publish(comm(rt));
    ASSERT_EQ(publish(comm(soo), commListFactory())[1], list);
    EXPECT_THROW(CommList::destash(list, &manager), MoxStash::StaleStoreException);
    EXPECT_EQ(held->getContent(), ExtCommContent(rt));
    // Another value of the same kind in the same place.
    auto const overwritten = [&](auto const& first, auto const& third) {
        auto const* const stored = publish(first)[0];
        StoreManager attached(store);
        publish(first);
        ASSERT_EQ(publish(third)[0], stored);
        EXPECT_THROW(first->destash(stored, &attached), MoxStash::StaleStoreException);
    };
    overwritten(comm(rt), comm(soo));
    overwritten(comm(ip6(0, 2, 1)), comm(ip6(0, 2, 2)));
    overwritten(extCommIp6ListFactory(), extCommIp6ListFactory());
}

// ---- Allocations --------------------------------------------------------------------------------

TEST_F(Stash, AllocatesOnlyTheObjects) {
    for (U32 const members : {0U, 1U, 10U, 1000U}) {
        auto const some = members != 0 ? 1U : 0U;
        auto const standard = commListFactory();
        auto const extended = extCommListFactory();
        auto const wide = extCommIp6ListFactory();
        for (U32 index = 0; index < members; ++index) {
            standard->commIs(index);
            extended->commIs(comm(rt + index));
            wide->commIs(comm(ip6(0, 2, static_cast<Mox::U16>(index))));
        }
        auto const* const standardAt =
            standard->dedup(tables.commListDedupTable().get())->stash(writer);
        auto const* const extendedAt =
            extended->dedup(tables.extCommListDedupTable().get())->stash(writer);
        auto const* const wideAt =
            wide->dedup(tables.extCommIp6ListDedupTable().get())->stash(writer);
        auto& manager = reader();
        auto const allocations = [](auto destash) {
            auto const before = allocationsSoFar();
            auto const list = destash();
            return allocationsSoFar() - before;
        };
        EXPECT_LE(allocations([&] { return CommList::destash(standardAt, &manager); }), 1 + some);
        // The list and its array, the members, the array of classes, and one classification list
        // with its array.
        EXPECT_LE(allocations([&] { return ExtCommList::destash(extendedAt, &manager); }),
                  1 + some + members + 3 * some);
        EXPECT_LE(allocations([&] { return ExtCommIp6List::destash(wideAt, &manager); }),
                  1 + some + members);
    }
}

template <class Operation>
unsigned long octetsAllocatedBy(Operation operation) {
    auto const before = octetsAllocatedSoFar();
    auto const result = operation();
    return octetsAllocatedSoFar() - before;
}

/// The figures of SECURITY.md. The worst case is a short list with members of all classes, each in
/// its own classification list: 14.25 times its record, 17.94 with a sharing manager.
TEST_F(Stash, StaysWithinTheDocumentedMemoryLimits) {
    auto const rebuild = [](MoxStash::StoredKind kind, void const* at, StoreManager* from) {
        using Kel::DedupHandle;
        return kind == storedCommList        ? DedupHandle::Ptr(CommList::destash(at, from))
               : kind == storedLargeCommList ? DedupHandle::Ptr(LargeCommList::destash(at, from))
               : kind == storedExtCommList   ? DedupHandle::Ptr(ExtCommList::destash(at, from))
                                             : DedupHandle::Ptr(ExtCommIp6List::destash(at, from));
    };
    for (U32 const members : {0U, 1U, 2U, 9U, 10U, 11U, 14U, 20U, 1000U, 10000U}) {
        std::vector<U64> sameIp6(1 + members, storedOffset(comm(ip6(0, 2, 1))->stash(writer)));
        std::vector<U64> same(1 + members, storedOffset(comm(rt)->stash(writer))), distinct(same);
        for (U32 index = 0; index < members; ++index) {
            std::array const value = {U64{index % extCommClassificationOneBeyondLast}, rt + index};
            distinct[1 + index] = storedOffset(writer.recordIs(storedExtComm, value));
        }
        std::vector<U64> standard(1 + (members + 1) / 2), large(1 + (members * 3 + 1) / 2);
        std::pair<MoxStash::StoredKind, std::vector<U64>*> const rows[] = {
            {storedCommList, &standard},
            {storedLargeCommList, &large},
            {storedExtCommList, &same},
            {storedExtCommList, &distinct},
            {storedExtCommIp6List, &sameIp6}};
        for (auto const& row : rows) {
            auto const kind = row.first;
            auto* const body = row.second;
            bool const hasClasses = kind == storedExtCommList;
            (*body)[0] =
                StoredListHead{members, hasClasses ? StoredListHead::classified : 0}.word();
            auto const* const at = writer.recordIs(kind, *body);
            auto const record = (1 + body->size()) * sizeof(U64);
            for (bool const sharing : {false, true}) {
                auto& manager = reader();
                manager.sharingIs(sharing);
                EXPECT_LE(octetsAllocatedBy([&] { return rebuild(kind, at, &manager); }),
                          (sharing ? 20 : 16) * record + objectChunks)
                    << members << " members of kind " << kind << (sharing ? ", shared" : "");
            }
        }
    }
    auto const words = writer.image(1);
    auto const octets = std::as_bytes(std::span(words));
    EXPECT_LE(octetsAllocatedBy([&] { return std::make_unique<StoreManager>("memory", octets); }),
              octets.size() + octets.size() / 64 + 1000);
}

// ---- Refusals -----------------------------------------------------------------------------------

struct Refused {
    char const* name;
    MoxStash::StoredKind kind;
    std::vector<U64> body;
    std::function<void(void const*, StoreManager*)> destash;
    std::optional<U64> word; // the faulty word of the body; none for the record itself
    char const* reason;
};

U64 halves(U32 low, U32 high) {
    return std::bit_cast<U64>(std::array<U32, 2>{low, high});
}

template <class T>
auto const destashOf =
    [](void const* stored, StoreManager* manager) { T::destash(stored, manager); };

TEST_F(Stash, RefusesInvalidValuesAndLists) {
    auto const one = storedOffset(comm(rt)->stash(writer));
    auto const two = storedOffset(comm(soo)->stash(writer));
    auto const wide = storedOffset(comm(ip6(0, 2, 1))->stash(writer));
    auto const ext = destashOf<ExtComm>;
    auto const ext6 = destashOf<ExtCommIp6>;
    auto const standard = destashOf<CommList>;
    auto const large = destashOf<LargeCommList>;
    auto const list = destashOf<ExtCommList>;
    auto const list6 = destashOf<ExtCommIp6List>;
    Refused const rows[] = {
        {"short value", storedExtComm, {0}, ext, 0, "size"},
        {"long value", storedExtComm, {0, 0, 0}, ext, 0, "size"},
        {"class", storedExtComm, {halves(10, 0), 0}, ext, 0, "classification"},
        {"class", storedExtComm, {halves(~0U, 0), 0}, ext, 0, "classification"},
        {"reserved", storedExtComm, {halves(0, 1), 0}, ext, 0, "reserved"},
        {"kind", storedExtCommIp6, {0, 0, 0}, ext, {}, "record kind is 17, expected 16"},
        {"short IPv6 value", storedExtCommIp6, {0, 0}, ext6, 0, "size"},
        {"class", storedExtCommIp6, {halves(10, 0), 0, 0}, ext6, 0, "classification"},
        {"no head", storedCommList, {}, standard, 0, "empty"},
        {"more", storedCommList, {halves(3, 0), 0}, standard, 0, "3 members"},
        {"most", storedCommList, {halves(~0U, 0), 0}, standard, 0, "4294967295 members"},
        {"fewer", storedCommList, {halves(2, 0), 0, 0}, standard, 0, "2 members"},
        {"none", storedCommList, {halves(0, 1), 0}, standard, 0, "0 members"},
        {"flags", storedCommList, {halves(1, 2), 0}, standard, 0, "flags"},
        {"flags", storedCommList, {halves(1, 1U << 31), 0}, standard, 0, "flags"},
        {"padding", storedCommList, {halves(1, 0), halves(1, 1)}, standard, 1, "not zero"},
        {"descending", storedCommList, {halves(2, 1), halves(2, 1)}, standard, 1, "not sorted"},
        {"repeated", storedCommList, {halves(2, 1), halves(2, 2)}, standard, 1, "not sorted"},
        {"kind", storedLargeCommList, {halves(0, 0)}, standard, {}, "record kind is 19"},
        {"most", storedLargeCommList, {halves(~0U, 0), 0}, large, 0, "4294967295 members"},
        {"padding", storedLargeCommList, {halves(1, 0), 1, halves(1, 1)}, large, 2, "not zero"},
        {"repeated", storedLargeCommList, {halves(2, 1), 0, 0, 0}, large, 1, "not sorted"},
        {"most", storedExtCommList, {halves(~0U, 0), one}, list, 0, "4294967295 members"},
        {"flags", storedExtCommList, {halves(1, 4), one}, list, 0, "flags"},
        {"descending", storedExtCommList, {halves(2, 1), two, one}, list, 1, "not sorted"},
        {"repeated", storedExtCommList, {halves(2, 3), one, one}, list, 1, "not sorted"},
        {"repeated", storedExtCommIp6List, {halves(2, 1), wide, wide}, list6, 1, "not sorted"},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.name);
        auto const* const stored = writer.recordIs(row.kind, row.body);
        auto& manager = reader();
        auto const before = octetsAllocatedSoFar();
        try {
            row.destash(stored, &manager);
            ADD_FAILURE() << "was not refused";
        } catch (StoreException const& exception) {
            EXPECT_EQ(exception.store(), "memory");
            EXPECT_EQ(exception.offset(),
                      storedOffset(stored) + (row.word ? 8 + 8 * *row.word : 0));
            EXPECT_NE(exception.reason().find(row.reason), std::string::npos) << exception.reason();
            EXPECT_LT(octetsAllocatedSoFar() - before, 3000U + objectChunks);
        }
    }
    // Members of another kind, and missing ones: the error is about the member.
    for (U64 const member : {wide, U64{0}, one + 8, ~U64{0}}) {
        auto const* const stored =
            writer.recordIs(storedExtCommList, std::array<U64, 3>{halves(2, 0), one, member});
        try {
            ExtCommList::destash(stored, &reader());
            ADD_FAILURE() << member << " was not refused";
        } catch (StoreException const& exception) {
            EXPECT_EQ(exception.offset(), member);
        }
    }
}

} // namespace
} // namespace Routing::Bgp
