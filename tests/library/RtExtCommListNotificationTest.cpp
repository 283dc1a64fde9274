#include "ExtCommListRow.h"
#include "support/Expectations.h"

#include <Routing/RouteMap/PosixRegex.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Routing::Bgp;

// Numbers of route targets and of other communities, see ExtCommListCases.h.
constexpr unsigned rtA = 3;
constexpr unsigned rtB = 13;
constexpr unsigned rtC = 23;
constexpr unsigned noTarget = 8;

class RtExtCommLists : public testing::TestWithParam<bool> {
  protected:
    ExtCommList::PtrConst list(std::vector<unsigned> const& numbers) {
        return intern(row, numbers);
    }

    static RtExtCommClassificationList::PtrConst rtsOf(ExtCommList const& list) {
        return Mox::staticPtrCast<RtExtCommClassificationList const>(
            list.classificationList(extCommClassificationRouteTarget));
    }

  private:
    PointerMode mode_{GetParam()};

  protected:
    EightOctets row;
};

INSTANTIATE_TEST_SUITE_P(Mode, RtExtCommLists, bothPointerModes(), pointerModeName);

/// Calls a function during a notification.
class ReactingObserver : public RtObserver {
  public:
    using RtObserver::RtObserver;

    void handleRtExtCommList(NotifierPtr const& each) override {
        RtObserver::handleRtExtCommList(each);
        auto const hook = notifier()->rtExtCommListHas(each) ? onCome : onGo;
        if (hook) {
            hook(each);
        }
    }

    std::function<void(NotifierPtr const&)> onCome;
    std::function<void(NotifierPtr const&)> onGo;
};

TEST_P(RtExtCommLists, AreInTheCollectionWhileReferenced) {
    auto first = list({rtA, rtB});
    auto second = list({rtB, noTarget, rtA});
    auto rts = rtsOf(*first);
    auto const notifier = rts->getLifeTimeNotifier();
    EXPECT_EQ(notifier->rtExtCommListRawPtr(), rts.get());
    EXPECT_EQ(notifier->comm(extCommKey(*row.comm(rtA))), row.comm(rtA));
    EXPECT_EQ(notifier->toStrep(), rts->toStrep());
    first = nullptr;
    second = nullptr;
    EXPECT_EQ(row.observer.went, 0) << "the held part keeps it in use";
    rts = nullptr;
    EXPECT_EQ(row.observer.came, 1);
    EXPECT_EQ(row.observer.went, 1);
    auto const* const left = notifier->rtExtCommListRawPtr();
    EXPECT_EQ(left->dedupState(), Kel::dedupHandleStateLeft());
    EXPECT_EQ(left->lifeTimeNotifier(), nullptr);
    EXPECT_EQ(left->comms(), 2U) << "the notifier holds it";
    EXPECT_NE(rtsOf(*list({rtA, rtB})).get(), left);
}

TEST_P(RtExtCommLists, InternedDirectlyAreInTheCollection) {
    auto const rts = extCommClassificationListFactory(extCommClassificationRouteTarget);
    rts->commIs(row.comm(rtA));
    auto const interned = rts->dedup(row.table.get());
    ASSERT_EQ(interned, rts);
    ASSERT_EQ(row.collection->rtExtCommLists(), 1U);
    row.collection->forEachRtExtCommList(
        [&](auto const& each) { EXPECT_EQ(each->rtExtCommListRawPtr(), rts.get()); });
}

TEST_P(RtExtCommLists, AreRemovedWhenNotificationStops) {
    auto const held = list({rtA});
    auto const heldToo = list({rtB, noTarget});
    row.table->rtExtCommClassificationListDedupTable()->lifeTimeNotifieeIs(nullptr);
    EXPECT_EQ(row.observer.went, 2);
    EXPECT_EQ(row.collection->rtExtCommLists(), 0U);
    EXPECT_EQ(rtsOf(*held)->lifeTimeNotifier(), nullptr);
    EXPECT_EQ(rtsOf(*held)->referenceCount(), 3U) << "the list, this and the table";
    EXPECT_EQ(list({rtA}), held);
    auto const unwatched = list({rtC});
    EXPECT_EQ(row.observer.came, 2);

    auto const& table = *row.table;
    auto const collection = notifyingRtExtCommListCollectionFactory();
    auto const before = table.rtExtCommListLifeTimeNotifiee();
    EXPECT_EQ(row.table->rtExtCommListLifeTimeNotifieeIs(row.collection), before);
    auto const after = row.table->rtExtCommListLifeTimeNotifieeIs(collection);
    EXPECT_NE(after, before);
    table.rtExtCommClassificationListDedupTable()->lifeTimeNotifieeIs(after);
    auto const watched = list({rtA, rtC});
    EXPECT_EQ(collection->rtExtCommLists(), 1U);
    collection->rtExtCommListIs(rtsOf(*watched)->getLifeTimeNotifier());
    EXPECT_EQ(collection->rtExtCommLists(), 1U);
}

TEST_P(RtExtCommLists, ObserversMayInternAndReleaseLists) {
    std::vector<ExtCommList::PtrConst> mine;
    ReactingObserver observer(row.collection);
    observer.onCome = [&](auto const& each) {
        if (each->comm(extCommKey(*row.comm(rtA)))) {
            mine = {list({rtB, noTarget}), list({rtB})};
        }
    };
    observer.onGo = [&](auto const&) { auto const dropped = std::exchange(mine, {}); };
    auto held = list({rtA});
    ASSERT_NO_FATAL_FAILURE(row.check({{rtA}, {rtB}}));
    held = nullptr;
    ASSERT_NO_FATAL_FAILURE(row.check({}));
    EXPECT_EQ(row.classificationLists(), 0U);
    EXPECT_EQ(observer.came, 2);
    EXPECT_EQ(observer.went, 2);
}

TEST_P(RtExtCommLists, TheTableMayBeDestroyedDuringANotification) {
    ReactingObserver observer(row.collection);
    auto const earlier = list({rtC});
    observer.onCome = [&](auto const&) { row.table = nullptr; };
    auto const held = list({rtA, noTarget});
    EXPECT_FALSE(row.table);
    EXPECT_EQ(held->comms(), 2U);
    EXPECT_EQ(held->dedupState(), Kel::dedupHandleStateLeft());
    EXPECT_EQ(row.collection->rtExtCommLists(), 0U);
    EXPECT_EQ(row.observer.went, 2);

    EightOctets second;
    ReactingObserver another(second.collection);
    auto going = intern(second, {rtA});
    auto const staying = intern(second, {rtB});
    another.onGo = [&](auto const&) { second.table = nullptr; };
    going = nullptr;
    EXPECT_FALSE(second.table);
    EXPECT_EQ(second.observer.went, 2);
    EXPECT_EQ(rtsOf(*staying)->lifeTimeNotifier(), nullptr);
}

TEST_P(RtExtCommLists, NothingIsLeftOverIfAnObserverThrows) {
    ReactingObserver observer(row.collection);
    observer.onCome = [](auto const&) { throw std::runtime_error("no"); };
    auto const filled = fill(row, {rtB, noTarget, rtA});
    EXPECT_THROW((void)filled->dedup(row.table.get()), std::runtime_error);
    EXPECT_EQ(row.classificationLists(), 0U);
    EXPECT_EQ(row.observer.went, 1);
    RtObserver::NotifierPtr kept;
    observer.onCome = [&](auto const& each) {
        kept = each;
        throw std::runtime_error("no");
    };
    EXPECT_THROW((void)filled->dedup(row.table.get()), std::runtime_error);
    EXPECT_EQ(kept->rtExtCommListRawPtr()->lifeTimeNotifier(), nullptr);
    ASSERT_NO_FATAL_FAILURE(row.check({}));
    observer.onCome = nullptr;
    EXPECT_EQ(filled->dedup(row.table.get()), filled.get());
    ASSERT_NO_FATAL_FAILURE(expectMembers(row, *filled, {rtA, rtB, noTarget}));
    ASSERT_NO_FATAL_FAILURE(row.check({{rtA, rtB}}));
}

TEST_P(RtExtCommLists, AreDumped) {
    auto const held = list({rtA, noTarget});
    EXPECT_EQ(dumpOf(*row.collection, 0),
              " NotifyingRtExtCommListCollection rtExtCommLists #1;\n  rtExtCommList " +
                  rtsOf(*held)->toStrep().str() + "\n");
    auto const dump = dumpOf(*row.table, 3);
    auto at = std::size_t{0};
    for (std::string const line :
         {"   ExtCommListDedupTable\n", "     extComm\n",
          "       Kel::DedupHashTableUnorderedSet #1 ", "     extCommClassification\n",
          "       Kel::DedupHashTableUnorderedSet #1 ", "     rtExtCommClassification\n",
          "       Kel::DedupHashTableUnorderedSet #1 "}) {
        at = ('\n' + dump).find('\n' + line, at);
        ASSERT_NE(at, dump.npos) << line << dump;
    }
}

TEST_P(RtExtCommLists, AreTracedAtLevelNine) {
    TracedLines const traced(8);
    (void)list({rtA});
    Mox::traceLevelIs(9);
    (void)list({rtA});
    row.table = nullptr;
    ASSERT_EQ(traced.lines.size(), 3U);
    std::string const objects = "Routing::Bgp::RtExtCommListLifeTimeNotifiee 0x[0-9a-f]+ "
                                "handle: Routing::Bgp::RtExtCommClassificationList 0x[0-9a-f]+ "
                                "rtExtCommListLifeTimeNotifier: "
                                "Routing::Bgp::RtExtCommListLifeTimeNotifier 0x[0-9a-f]+";
    auto const matches = [&](std::size_t line, std::string const& text) {
        Routing::RouteMap::PosixRegex const regex("^9 .*: " + text + "$");
        return regex.execute(traced.lines[line].c_str()) == 0;
    };
    EXPECT_TRUE(matches(0, "handleInsert: " + objects)) << traced.lines[0];
    EXPECT_TRUE(matches(1, "handleRemove: " + objects)) << traced.lines[1];
    EXPECT_TRUE(matches(2, "handleNotificationStop: Kel::DedupHashTableUnorderedSet 0x[0-9a-f]+"));
}

using RtExtCommListsDeathTest = RtExtCommLists;
INSTANTIATE_TEST_SUITE_P(Mode, RtExtCommListsDeathTest, bothPointerModes(), pointerModeName);

TEST_P(RtExtCommListsDeathTest, WrongNotifiersAssert) {
    auto const held = list({rtA});
    auto const rts = Mox::constPtrCast<RtExtCommClassificationList>(rtsOf(*held));
    auto const& notifiee = row.table->rtExtCommListLifeTimeNotifiee();
    auto const fresh = rtExtCommClassificationListFactory(extCommClassificationRouteTarget);
    auto const plain = Mox::makeActive<ExtCommClassificationList>(extCommClassificationRouteTarget);
    expectAssertions({{"ExtCommListDedupTable.cpp:#: handleInsert: Assertion '__null == "
                       "rtExtCommList->lifeTimeNotifier()' failed",
                       [&] { notifiee->handleInsert(rts); }},
                      {"handleInsert: Assertion '__null != rtExtCommList' failed",
                       [&] { (void)plain->dedup(row.table.get()); }},
                      {"handleRemove: Assertion '__null != lifeTimeNotifier' failed",
                       [&] { notifiee->handleRemove(fresh.get()); }}});
}

} // namespace
