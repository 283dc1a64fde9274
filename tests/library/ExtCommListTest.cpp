#include "ExtCommListRow.h"
#include "support/Expectations.h"

#include <Mox/Exception.h>
#include <Mox/Hash.h>
#include <Routing/RouteMap/PosixRegex.h>
#include <VoBgp/ExtCommIp6DedupTable.h>
#include <VoBgp/ExtCommIp6List.h>
#include <VoBgp/ExtCommListSnapshot.h>
#include <VoBgp/LargeCommList.h>
#include <VoBgp/Parse/ExtCommColor.h>
#include <VoBgp/Parse/ExtCommContainer.h>
#include <VoBgp/Parse/ExtCommRouteTarget.h>

#include <gtest/gtest.h>

#include <array>
#include <iomanip>
#include <map>
#include <memory>
#include <random>
#include <span>
#include <sstream>
#include <utility>

namespace {

using namespace Routing::Bgp;
using Mox::U64;
using Serialization = ExtCommList::Serialization;

constexpr U64 rt1 = 0x0002fde800000001;            // RT:65000:1
constexpr U64 rt2 = 0x0002fde800000002;            // RT:65000:2
constexpr U64 rtDotted = 0x0102c0000201000a;       // RT:192.0.2.1:10
constexpr U64 soo = 0x0003fde800000001;            // SoO:65000:1
constexpr U64 color100 = 0x030b000000000064;       // color 100
constexpr U64 bandwidth65000 = 0x4004fde84b3ebc20; // non-transitive, AS 65000
constexpr U64 noAsBandwidth = 0x400400004b3ebc20;
constexpr U64 validity = 0x4300000000000002;      // non-transitive
constexpr U64 costCommunity = 0x4301000000000001; // non-transitive, cost community

/// Lists of communities parsed by an agent's own rule.
class ExtCommLists : public testing::TestWithParam<bool> {
  protected:
    ExtCommList::Ptr fill(std::initializer_list<U64> values) {
        auto list = extCommListFactory();
        for (auto const value : values) {
            list->commIs(comm(value));
        }
        return list;
    }

    ExtCommList::PtrConst intern(std::initializer_list<U64> values) {
        return fill(values)->dedup(table.get());
    }

    ExtComm::PtrConst comm(U64 value) {
        return ExtComm::dedupContent(comms.get(), ExtCommContent(value));
    }

  private:
    PointerMode mode_{GetParam()};

  protected:
    BgpParseExtCommContainerSm::Ptr container = bgpParseExtCommContainerSmFactory();
    ExtCommDedupTable::Ptr comms = extCommDedupTableFactory(container->extCommParser());
    ExtCommListDedupTable::Ptr table = extCommListDedupTableFactory();
};

INSTANTIATE_TEST_SUITE_P(Mode, ExtCommLists, bothPointerModes(), pointerModeName);

/// The hash of identities, computed naively.
template <class Objects>
U32 mixOf(Objects const& objects) {
    U32 h = 0;
    for (auto const* object : objects) {
        auto identity = reinterpret_cast<U64>(object);
        for (int i = 0; i < 8; ++i, identity /= 256) {
            h += static_cast<U32>(identity % 256);
            h += h << 10;
            h ^= h >> 6;
        }
    }
    h += h << 3;
    h ^= h >> 11;
    return h + (h << 15);
}

TEST_P(ExtCommLists, InternEqualSetsAndShareClassificationLists) {
    auto const list = intern({soo, rt2, rt1, rt2});
    EXPECT_EQ(list->comms(), 3U);
    EXPECT_EQ(intern({rt1, soo, rt2}), list);
    auto const other = intern({rt1, color100, rt2});
    EXPECT_NE(other, list);
    auto const rts = list->classificationList(extCommClassificationRouteTarget);
    EXPECT_EQ(other->classificationList(extCommClassificationRouteTarget), rts);
    EXPECT_EQ(rts->comm(rt2), comm(rt2));
    EXPECT_FALSE(rts->comm(soo));
    EXPECT_FALSE(list->lookupExtComm(rt2 + 1));
    EXPECT_FALSE(list->classificationList(extCommClassificationColor)) << "beyond the last slot";

    auto const soos = list->classificationList(extCommClassificationRouteOrigin);
    EXPECT_EQ(list->hash(), mixOf(std::array{rts.get(), soos.get()}));
    EXPECT_EQ(rts->hash(), mixOf(std::array{comm(rt1).get(), comm(rt2).get()}));
    EXPECT_EQ(intern({})->hash(), 0U);
    auto const members = std::array{comm(rt1), comm(rt2)};
    std::span<ExtComm::PtrConst const> const content(members);
    EXPECT_EQ(table->rtExtCommClassificationListDedupTable()->lookupByContent(
                  Kel::DedupContentHandle(content, rts->placementHash()), rts->hash()),
              rts.get());
}

TEST_P(ExtCommLists, ReportTheirMembers) {
    struct {
        std::initializer_list<U64> values;
        U32 transitive;
        bool linkBandwidth, unspecifiedAs, originValidation;
    } const rows[] = {
        {{}, 0, false, false, false},
        {{rt1, rt1, color100, costCommunity}, 2, false, false, false},
        {{rt1, bandwidth65000}, 1, true, false, false},
        {{noAsBandwidth, validity}, 0, true, true, true},
        {{validity, validity + 1}, 0, false, false, true},
    };
    for (auto const& row : rows) {
        auto const list = intern(row.values);
        EXPECT_EQ(list->totalTransitiveCommunities(), row.transitive);
        EXPECT_EQ(list->hasLinkBandwidth(), row.linkBandwidth);
        EXPECT_EQ(list->hasLinkBandwidthWithUnspecifiedAsNumber(), row.unspecifiedAs);
        EXPECT_EQ(list->hasOriginValidationState(), row.originValidation);
    }
    // A list rebuilt from a store is split but not counted.
    auto const rebuilt = fill({noAsBandwidth, rt1, rt1});
    rebuilt->createClassificationListVector(false);
    EXPECT_EQ(rebuilt->totalCommunities(), 2U);
    EXPECT_EQ(rebuilt->totalTransitiveCommunities(), 0U);
    EXPECT_FALSE(rebuilt->hasLinkBandwidth());
    EXPECT_TRUE(rebuilt->hasLinkBandwidthWithUnspecifiedAsNumber());
    auto const parts = rebuilt->snapshot();
    auto const rts = parts->classificationList(extCommClassificationRouteTarget);
    EXPECT_EQ(rts->dedupState(), Kel::dedupHandleStateDestashed());
    EXPECT_EQ(table->rtExtCommClassificationListDedupTable()->size(), 0U);
}

TEST_P(ExtCommLists, SerializeSelectedMembers) {
    auto const all = intern({bandwidth65000, rtDotted, validity, rt1, costCommunity});
    auto const none = intern({costCommunity});
    struct {
        ExtCommList::PtrConst list;
        U32 selection;
        char const* octets;
    } const rows[] = {
        {all, 0x0, ""},
        {all, 0x1,
         "c0102800"
         "02fde80000000101"
         "02c0000201000a40"
         "04fde84b3ebc2043"
         "0000000000000243"
         "01000000000001"},
        {all, 0x2, "c010100002fde8000000010102c0000201000a"},
        {all, 0x4, "c010084004fde84b3ebc20"},
        {all, 0x6, "c010180002fde8000000010102c0000201000a4004fde84b3ebc20"},
        {all, 0x8, "c010084300000000000002"},
        {all, 0xe, "c010200002fde8000000010102c0000201000a4004fde84b3ebc204300000000000002"},
        {none, 0x2, ""},
        {none, 0xe, ""},
        {none, 0x9, "c010084301000000000001"},
        {intern({}), 0x1, ""},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(hexOf(row.list->serialize(Serialization(row.selection))), row.octets)
            << row.selection;
    }
}

TEST(ExtCommListSerialization, ReadsAndWritesSelections) {
    EXPECT_EQ(ExtCommList::serialization(true, false, true).value(), 0x1U);
    EXPECT_EQ(ExtCommList::serialization(false, false, false).value(), 0x2U);
    EXPECT_EQ(ExtCommList::serialization(false, true, false).value(), 0x6U);
    EXPECT_EQ(ExtCommList::serialization(false, false, true).value(), 0xaU);
    EXPECT_EQ(valueToStrep(Serialization(0x9)),
              "Value('Routing::Bgp::ExtCommList::Serialization', ** {'all': True, 'transitive': "
              "False, 'linkBandwidth': False, 'originAsValidity': True})");
    EXPECT_EQ(errorOf<Mox::RangeException>([] { Serialization const tooLarge(0x10); }),
              "Serialization::value > 0xf not allowed");
    EXPECT_EQ(ExtCommList::getStringValue({1, 2, 4200000000}), "2:4200000000");
}

TEST_P(ExtCommLists, PrintAndMatch) {
    auto const list = intern({soo, rt1});
    std::ostringstream os;
    os << std::hex << std::setfill('*') << list.get() << '|'
       << list->classificationList(extCommClassificationRouteTarget).get() << '|' << *intern({})
       << '|' << static_cast<ExtCommList const*>(nullptr)
       << static_cast<ExtCommClassificationList const*>(nullptr) << '|' << 255;
    auto const rtText = comm(rt1)->toStrep().str();
    auto const text = "[ " + rtText + ' ' + comm(soo)->toStrep().str() + " ]";
    EXPECT_EQ(os.str(), text + '|' + rtText + "|[  ]|NULL|ff");
    EXPECT_EQ(list->toStrep(), text);
    auto const matches = [&](char const* pattern) {
        Routing::RouteMap::PosixRegex const regex(pattern);
        return list->matchCommunitiesRegex(&regex);
    };
    EXPECT_TRUE(matches("^65000:1 65000:1$")) << "the default form";
    EXPECT_TRUE(matches("^RT:65000:1 SoO:65000:1$"));
    EXPECT_FALSE(matches("RT:65000:1$"));
    EXPECT_FALSE(matches("1 RT")) << "no match runs across the two forms";
}

TEST_P(ExtCommLists, CreateSnapshots) {
    auto const list = intern({color100, rt2, rt1});
    auto const snapshot = list->commSnapshot();
    EXPECT_EQ(snapshot->comms(), 3U);
    std::vector<ExtCommClassification> classes;
    snapshot->forEachClassificationList([&](auto const& entry) {
        classes.push_back(entry.key());
        EXPECT_EQ(entry.value(), list->classificationList(entry.key()));
    });
    EXPECT_EQ(classes, (std::vector{extCommClassificationRouteTarget, extCommClassificationColor}));
    EXPECT_EQ(snapshot->commDel(rt1), comm(rt1));
    EXPECT_FALSE(snapshot->commDel(rt1));
    EXPECT_EQ(snapshot->classificationList(extCommClassificationRouteTarget)->comms(), 2U);

    auto const part = list->classificationList(extCommClassificationRouteTarget)->commSnapshot();
    part->commIs(comm(color100));
    EXPECT_EQ(part->classification(), extCommClassificationRouteTarget);
    EXPECT_EQ(part->comms(), 3U);
    EXPECT_EQ(extCommListSnapshotFactory()->comms(), 0U);
    EXPECT_EQ(
        extCommClassificationListSnapshotFactory(extCommClassificationColor)->classification(),
        extCommClassificationColor);

    using NullArgument = Mox::NullMutatorArgumentException;
    EXPECT_EQ(errorOf<NullArgument>([&] { snapshot->commIs(nullptr); }),
              "ExtCommListSnapshot::commIs");
    EXPECT_EQ(errorOf<NullArgument>([&] { snapshot->classificationListIs(nullptr); }),
              "ExtCommListSnapshot::classificationListIs");
    EXPECT_EQ(errorOf<NullArgument>([&] { part->commIs(nullptr); }),
              "ExtCommClassificationListSnapshot::commIs");
}

TEST_P(ExtCommLists, SnapshotsNotifyOfEachMapByItsAttributeNumber) {
    struct Observer : ExtCommListSnapshot::Notifiee {
        using Notifiee::Notifiee;
        void handleComm(U64 const& community) override { comms.push_back(community); }
        void handleClassificationList(ExtCommClassification classification) override {
            classes.push_back(classification);
        }
        std::vector<U64> comms;
        std::vector<ExtCommClassification> classes;
    };
    auto const list = intern({rt1});
    auto const snapshot = list->commSnapshot();
    Observer observer(snapshot);
    snapshot->commDelAll();
    snapshot->classificationListDelAll();
    EXPECT_EQ(observer.comms, std::vector{rt1});
    EXPECT_EQ(observer.classes, std::vector{extCommClassificationRouteTarget});
    using Part = ExtCommClassificationListSnapshot;
    EXPECT_EQ(Part::staticType().attributes()[Part::commAttribute].name, "comms");
    auto const names = ExtCommListSnapshot::staticType().attributes();
    EXPECT_EQ(names[ExtCommListSnapshot::commAttribute].name, "comms");
    EXPECT_EQ(names[ExtCommListSnapshot::classificationListAttribute].name, "classificationLists");
    auto const ip6Names = ExtCommIp6ListSnapshot::staticType().attributes();
    EXPECT_EQ(ip6Names[ExtCommIp6ListSnapshot::commAttribute].name, "comms");
    EXPECT_EQ(ip6Names[ExtCommIp6ListSnapshot::classificationListAttribute].name,
              "classificationLists");
}

TEST_P(ExtCommLists, SnapshotsMayBeReleasedWhileInUse) {
    auto const snapshotOfTwo = [&] { return fill({rt1, color100})->commSnapshot(); };
    auto snapshot = snapshotOfTwo();
    auto visited = 0;
    snapshot->forEachComm([&](auto const&) {
        snapshot = nullptr;
        ++visited;
    });
    EXPECT_EQ(visited, 2);

    // The replaced value has the last reference, and an observer of its removal releases the
    // snapshot.
    struct Observer : NotifyingRouteTargetList::Notifiee {
        using Notifiee::Notifiee;
        void handleRt(RouteTarget const&) override { dropped = nullptr; }
        ExtCommListSnapshot::Ptr dropped;
    };
    auto const otherComms = extCommDedupTableFactory(container->extCommParser());
    auto const other = ExtComm::dedupContent(otherComms.get(), ExtCommContent(rt1));
    snapshot = snapshotOfTwo();
    Observer observer(comms->notifyingRouteTargetList());
    auto& onlyHeldByTheEar = *snapshot;
    observer.dropped = std::exchange(snapshot, nullptr);
    onlyHeldByTheEar.commIs(other);
    EXPECT_FALSE(observer.dropped);
    EXPECT_EQ(other->referenceCount(), 2U) << "this one and its table";
}

TEST_P(ExtCommLists, ReadingAllocatesNothing) {
    auto const list = intern({color100, rt2, rt1});
    auto const before = allocationsSoFar();
    EXPECT_TRUE(list->comm(rt1) && !list->comm(soo) &&
                list->classificationList(extCommClassificationColor)->comm(color100));
    EXPECT_EQ(allocationsSoFar(), before);
}

TEST_P(ExtCommLists, TextsAndOctetsTakeOneAllocationAndThrowIfItFails) {
    auto const list =
        intern({rt1, rtDotted, soo, color100, bandwidth65000, validity, costCommunity});
    auto const part = list->classificationList(extCommClassificationRouteTarget);
    auto const whole = [](auto call) { EXPECT_EQ(wholeOrRefused(call), 1); };
    whole([&] { return list->toStrep(); });
    whole([&] { return part->toStrep(); });
    whole([&] { return list->serialize(Serialization(0xe)); });
    Routing::RouteMap::PosixRegex const regex("SoO:65000:1 ");
    EXPECT_TRUE(list->matchCommunitiesRegex(&regex));
    EXPECT_EQ(wholeOrRefused([&] { return list->matchCommunitiesRegex(&regex); }), 0);
}

TEST(CommListVector, SortingKeepsTheFirstOfEqualMembersAndAllocatesNothing) {
    struct Member {
        U32 key, place;
    };
    std::mt19937 random(7);
    for (U32 size = 2; size < 400; size += 7) {
        Mox::CompactVector<std::unique_ptr<Member>> members;
        std::map<U32, U32> first;
        for (U32 place = 0; place < size; ++place) {
            auto const key = static_cast<U32>(random() % size);
            members.push_back(std::make_unique<Member>(Member{key, place}));
            first.try_emplace(key, place);
        }
        auto const before = allocationsSoFar();
        commVectorUnify(members, [](auto const& member) { return member->key; });
        EXPECT_EQ(allocationsSoFar(), before);
        std::map<U32, U32> kept;
        for (auto const& member : members) {
            EXPECT_TRUE(kept.empty() || kept.rbegin()->first < member->key);
            kept.emplace(member->key, member->place);
        }
        EXPECT_EQ(kept, first);
    }
}

// An agent's own types, each of which overrides one public operation.

class OwnShow final : public ExtCommColor {
  public:
    using ExtCommColor::ExtCommColor;
    void formatDerivedType(std::ostream& os) const override {
        ExtCommColor::formatDerivedType(os);
        os << std::setw(4) << (os.flags() & std::ios_base::uppercase ? 'X' : 'x');
    }
};

class OwnTyped final : public ExtCommTyped<OwnTyped, ExtCommSubtyped> {
  public:
    using ExtCommTyped::ExtCommTyped;

  private:
    void formatDerivedType(std::ostream& os) const override { os << "<Typed>"; }
    String toStrepForPolicy(StrepFormat /*format*/) const override { return "typed"; }
};

class OwnPolicy final : public ExtCommSubtyped {
  public:
    using ExtCommSubtyped::ExtCommSubtyped;
    String toStrepForPolicy(StrepFormat format) const override {
        ++asked;
        return "own:" + std::to_string(format.value());
    }
    mutable int asked = 0;
};

class OwnAsNumber final : public ExtCommRouteTargetAs {
  public:
    using ExtCommRouteTargetAs::ExtCommRouteTargetAs;
    String formatAsNumber(bool, bool) const override {
        return "AS" + std::to_string(asNumber().number());
    }
};

template <class Own>
Mox::PtrConst<Own> internOwn(ExtCommDedupTable const& comms, Mox::Ptr<Own> const& own) {
    return Mox::staticPtrCast<Own const>(comms.dedupHashTable()->dedup(own));
}

TEST_P(ExtCommLists, ListTextsIncludeTextsOfAnAgentsOwnTypes) {
    auto const list = extCommListFactory();
    list->commIs(internOwn(*comms, Mox::makeActive<OwnShow>(ExtCommContent(color100))));
    list->commIs(internOwn(*comms, Mox::makeActive<OwnPolicy>(extCommClassificationUnSpecified,
                                                              ExtCommContent(costCommunity))));
    list->commIs(internOwn(*comms, Mox::makeActive<OwnAsNumber>(ExtCommContent(rt1), false)));
    list->commIs(comm(soo));
    list->commIs(internOwn(*comms, Mox::makeActive<OwnTyped>(extCommClassificationUnSpecified,
                                                             ExtCommContent(~U64{0}))));
    list->sortComms();
    char const* const text = "[ <RouteTarget2ByteASN AS65000:1 0x0002fde800000001> "
                             "<RouteOrigin2ByteASN 65000:1 0x0003fde800000001> "
                             "<Color: 100(00) 0x030b000000000064>   x "
                             "<extCommPktTypeNonTransOpaque extCommPktSubtypeNonTransCostCommunity "
                             "0x4301000000000001> <Typed> ]";
    EXPECT_EQ(list->toStrep(), text);
    std::ostringstream os;
    os << std::uppercase << list.get();
    std::string upper(text);
    for (auto const& [from, to] :
         {std::pair{"0x", "0X"}, {"fde8", "FDE8"}, {"030b", "030B"}, {"  x", "  X"}}) {
        for (auto at = upper.find(from); at != upper.npos; at = upper.find(from)) {
            upper.replace(at, std::string(from).size(), to);
        }
    }
    EXPECT_EQ(os.str(), upper);
    Routing::RouteMap::PosixRegex const regex(
        "^RT:AS65000:1 SoO:65000:1 Color:CO\\(00\\):100 own:4 typed$");
    EXPECT_TRUE(list->matchCommunitiesRegex(&regex));
    wholeOrRefused([&] { return list->toStrep(); });
    wholeOrRefused([&] { return list->matchCommunitiesRegex(&regex); });
}

TEST_P(ExtCommLists, VerdictsAreCachedWhileTheListIsInterned) {
    auto const own = internOwn(*comms, Mox::makeActive<OwnPolicy>(extCommClassificationUnSpecified,
                                                                  ExtCommContent(costCommunity)));
    Routing::RouteMap::PosixRegex const regex("own:4");
    Routing::RouteMap::PosixRegex const other("own:5");
    auto const asked = [&](ExtCommList const& list, Routing::RouteMap::PosixRegex const& by) {
        auto const before = own->asked;
        EXPECT_EQ(list.matchCommunitiesRegex(&by), &by == &regex);
        return own->asked - before;
    };
    auto list = fill({rt1});
    list->commIs(own);
    EXPECT_EQ(asked(*list, regex) + asked(*list, regex), 4) << "not frozen yet";
    list->dedup(table.get());
    EXPECT_EQ(asked(*list, regex), 2);
    EXPECT_EQ(asked(*list, other), 2);
    EXPECT_EQ(asked(*list, regex) + asked(*list, other), 0);
    auto const* const place = list.get();
    list = nullptr;
    list = fill({rt1});
    list->commIs(own);
    list->dedup(table.get());
    EXPECT_EQ(asked(*list, regex), 2)
        << "another list, " << (list == place ? "" : "not ") << "in the same place";
}

TEST_P(ExtCommLists, DuplicatesReadLikeTheInternedList) {
    auto const list = intern({rt1, noAsBandwidth, validity});
    auto const lost = fill({validity, rt1, noAsBandwidth, rt1});
    ASSERT_EQ(lost->dedup(table.get()), list);
    EXPECT_EQ(lost->dedupState(), Kel::dedupHandleStateNeverDeduped());
    EXPECT_EQ(lost->hash(), list->hash());
    EXPECT_TRUE(lost->compare(list.get()) && list->compare(lost.get()));
    EXPECT_EQ(lost->totalTransitiveCommunities(), list->totalTransitiveCommunities());
    EXPECT_TRUE(lost->hasLinkBandwidth() && lost->hasOriginValidationState());
    EXPECT_EQ(lost->serialize(Serialization(0xe)), list->serialize(Serialization(0xe)));
    EXPECT_EQ(lost->snapshot()->classificationLists(), list->snapshot()->classificationLists());
}

TEST_P(ExtCommLists, HitsAllocateOnlyTheListAndItsArrays) {
    auto const list = intern({color100, rt2, rt1});
    auto const before = allocationsSoFar();
    EXPECT_EQ(intern({rt1, rt2, color100, color100}), list);
    EXPECT_LE(allocationsSoFar() - before, 3U) << "list, members, classification lists";
}

TEST_P(ExtCommLists, SortVectorsOfAgents) {
    std::vector<ExtComm::PtrConst> vector;
    for (auto const value : {soo, rt2, color100, rt1, rt2}) {
        ExtCommVectorAdd(comm(value), vector);
    }
    ExtCommVectorSort(vector);
    EXPECT_EQ(vector, (std::vector{comm(rt1), comm(rt2), comm(soo), comm(color100)}));
    EXPECT_EQ(ExtCommVectorLookup(true, vector, rt2), comm(rt2));
    EXPECT_EQ(ExtCommVectorLookup(true, vector, bandwidth65000), nullptr);
    std::vector<ExtCommClassificationList::PtrConst> lists;
    auto const list = intern({rt1, soo});
    auto const origins = list->classificationList(extCommClassificationRouteOrigin);
    ExtCommListClassificationListIs(lists, origins);
    EXPECT_EQ(lists.size(), extCommClassificationRouteOrigin + 1U);
    auto const targets = list->classificationList(extCommClassificationRouteTarget);
    ExtCommListClassificationListIs(lists, targets);
    EXPECT_EQ(lists, (std::vector<ExtCommClassificationList::PtrConst>{nullptr, targets, origins}));
}

TEST_P(ExtCommLists, CanBeAppendedToThemselves) {
    auto const list = fill({rt2, rt1});
    list->append(list);
    list->append(nullptr);
    list->appendClassificationList(nullptr);
    EXPECT_EQ(list->comms(), 4U);
    EXPECT_EQ(list->dedup(table.get()), intern({rt1, rt2}));
}

class ExtCommListModel : public testing::TestWithParam<bool> {
    PointerMode mode_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Mode, ExtCommListModel, bothPointerModes(), pointerModeName);

TEST_P(ExtCommListModel, LongListsAreSortedAndUnique) {
    EightOctets row;
    longListsAreSortedAndUnique(row);
}

TEST_P(ExtCommListModel, EveryAllocationMayFail) {
    everyAllocationMayFail<EightOctets>();
}

TEST_P(ExtCommListModel, ListsReleasedWhileStreamingPrintCompletely) {
    EightOctets row;
    streamedWholeThoughReleasedMeanwhile(row);
}

TEST_P(ExtCommListModel, RandomListsAndTheirObserversAgreeWithSets) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        EightOctets row;
        RandomLists(row, seed).operate(5000);
        ASSERT_FALSE(HasFatalFailure()) << "seed " << seed;
        EXPECT_EQ(row.observer.came, row.observer.went);
        EXPECT_GT(row.observer.came, 100);
    }
}

using ExtCommListsDeathTest = ExtCommLists;
INSTANTIATE_TEST_SUITE_P(Mode, ExtCommListsDeathTest, bothPointerModes(), pointerModeName);

TEST_P(ExtCommListsDeathTest, Contracts) {
    auto const unsorted = fill({rt1});
    auto const interned = Mox::constPtrCast<ExtCommList>(intern({rt1}));
    auto const part = extCommClassificationListFactory(extCommClassificationColor);
    auto const neverInterned =
        Mox::makeActive<ExtComm>(extCommClassificationColor, ExtCommContent(color100));
    auto const twice = intern({validity, validity + 1});
    expectAssertions({
        {"'__null != comm'", [&] { unsorted->commIs(nullptr); }},
        {"'__null == ( comm ) || ( comm )->dedupState() != Kel::dedupHandleStateNeverDeduped()'",
         [&] { unsorted->commIs(neverInterned); }},
        {"'__null == ( comm ) || ", [&] { part->commIs(neverInterned); }},
        {"'dedupState() == Kel::dedupHandleStateNeverDeduped()'",
         [&] { interned->commIs(comm(rt2)); }},
        {"'dedupState() == Kel::dedupHandleStateNeverDeduped()'",
         [&] { interned->append(unsorted); }},
        {"'commVectorSorted'", [&] { (void)unsorted->comm(rt1); }},
        {"'commVectorSorted'", [&] { (void)part->comm(rt1); }},
        {"totalCommunities: Assertion 'commVectorSorted()'",
         [&] { (void)unsorted->totalCommunities(); }},
        {"'commVectorSorted()'", [&] { (void)part->hash(); }},
        {"'commVectorSorted()'", [&] { (void)part->compare(part.get()); }},
        {"classificationList: Assertion '__null == ( this ) || ( this )->dedupState() != "
         "Kel::dedupHandleStateNeverDeduped()'",
         [&] { (void)unsorted->classificationList(extCommClassificationColor); }},
        {"ExtCommList.cpp:#: dedup: Assertion 'comms() <= 1'",
         [&] {
             (void)intern({bandwidth65000, noAsBandwidth});
         }},
        {"'__null == ( _classificationList ) || ( _classificationList )->dedupState() == "
         "Kel::dedupHandleStateNeverDeduped()'",
         [&] { (void)interned->dedup(table.get()); }},
        {"hashOfIdentities: Assertion '__null == ( p ) || ( p )->dedupState() != "
         "Kel::dedupHandleStateNeverDeduped()'",
         [&] {
             unsorted->createClassificationListVector(true);
             (void)unsorted->hash();
         }},
        // The announced length equals the written one: one origin validation state.
        {"'serialized.size() == attrSize_ + headerSize_'",
         [&] { (void)twice->serialize(Serialization(0xa)); }},
    });
}

TEST(NullArgumentsDeathTest, AssertInTheCallee) {
    auto const table = extCommListDedupTableFactory();
    ClassificationListVector<ExtCommClassificationList> vector;
    auto const collection = table->notifyingRtExtCommListCollection();
    auto const part = extCommClassificationListFactory(extCommClassificationRouteTarget);
    expectAssertions({
        {"'__null != parseExtCommRule'",
         [] { ExtComm::dedupContent(extCommDedupTableFactory(nullptr).get(), {}); }},
        {"'__null != parseExtCommRule'",
         [] { ExtCommIp6::dedupContent(extCommIp6DedupTableFactory(nullptr).get(), {}); }},
        {"'__null != table'", [] { ExtComm::dedupContent(nullptr, {}); }},
        {"'__null != table'", [] { ExtCommIp6::dedupContent(nullptr, {}); }},
        {"'__null != table'", [] { (void)extCommListFactory()->dedup(nullptr); }},
        {"'__null != table'", [] { (void)extCommIp6ListFactory()->dedup(nullptr); }},
        {"'__null != table'", [] { (void)commListFactory()->dedup(nullptr); }},
        {"'__null != table'", [] { (void)largeCommListFactory()->dedup(nullptr); }},
        {"'__null != table'", [&] { (void)part->dedup(nullptr); }},
        {"'__null != object'", [&] { (void)table->dedup(nullptr); }},
        {"'__null != producerRtList'",
         [] { (void)Mox::makeActive<ExtCommLifeTimeNotifiee>(NotifyingRouteTargetList::Ptr()); }},
        {"'__null != collection'", [] { rtExtCommListLifeTimeNotifieeFactory(nullptr); }},
        {"'__null != rtExtCommList'", [&] { collection->rtExtCommListIs(nullptr); }},
        {"'__null != list'", [&] { ExtCommListClassificationListIs(vector, nullptr); }},
        {"'__null != regex'", [] { (void)extCommListFactory()->matchCommunitiesRegex(nullptr); }},
        {"'__null != extComm'", [] { (void)ExtCommList::serializable(nullptr, Serialization()); }},
        {"'__null != manager'", [] { ExtCommList::destash(nullptr, nullptr); }},
        {"'__null != manager'", [] { CommList::destash(nullptr, nullptr); }},
        {"'__null != store'", [] { ExtComm::destash(nullptr, nullptr); }},
        {"'__null != context'", [&] { table->dumpState(nullptr, 0); }},
        {"'__null != suffix'", [] { (void)extCommTypeAsString(nullptr, 0, 0, true); }},
    });
}

} // namespace
