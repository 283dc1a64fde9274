#include "support/Expectations.h"

#include <VoBgp/NotifyingRouteTargetList.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace {

using Routing::Bgp::NotifyingRouteTargetList;
using Routing::Bgp::notifyingRouteTargetListFactory;
using Routing::Bgp::RouteTarget;

class Ear : public NotifyingRouteTargetList::Notifiee {
  public:
    using Notifiee::Notifiee;
    void handleRt(RouteTarget const& rt) override {
        log += (notifier()->rtHas(rt) ? " +" : " -") + rt.toStrep().str();
        if (auto const action = std::exchange(then, nullptr); action) {
            action();
        }
    }
    std::string log;
    std::function<void()> then;
};

constexpr RouteTarget a(0x0002000100000001);
constexpr RouteTarget b(0x0002000100000002);
constexpr RouteTarget c(0x01020a0000010003);

TEST(NotifyingRouteTargetList, TellsOfEveryChangeOnce) {
    auto const list = notifyingRouteTargetListFactory();
    Ear ear(list);
    list->rtIs(a);
    list->rtIs(a);
    EXPECT_TRUE(list->rtDel(a));
    EXPECT_FALSE(list->rtDel(a));
    list->rtIs(b);
    list->rtIs(c);
    list->rtDelAll();
    EXPECT_EQ(list->rts(), 0U);
    EXPECT_EQ(ear.log, " +1:1 -1:1 +1:2 +10.0.0.1:3 -1:2 -10.0.0.1:3");
    ear.notifierIs(nullptr);
    ear.log.clear();
    list->rtIs(a);
    EXPECT_EQ(ear.log, "");
}

TEST(NotifyingRouteTargetList, AnObserverThatAddsWhileAllIsRemovedIsHeard) {
    auto const list = notifyingRouteTargetListFactory();
    list->rtIs(a);
    list->rtIs(b);
    Ear ear(list);
    ear.then = [&] {
        list->rtDel(b);
        list->rtIs(c);
    };
    list->rtDelAll();
    EXPECT_EQ(ear.log, " -1:1 -1:2 +10.0.0.1:3");
    EXPECT_EQ(list->rts(), 1U) << "what was added meanwhile stays";
}

TEST(NotifyingRouteTargetList, MayLoseItsLastPointerWhileItIsWalked) {
    Ear ear;
    auto const onlyHeldByTheEar = [&] {
        auto const list = notifyingRouteTargetListFactory();
        list->rtIs(a);
        list->rtIs(b);
        ear.notifierIs(list);
        return list.get();
    };
    ear.then = [&] { ear.notifierIs(nullptr); };
    onlyHeldByTheEar()->rtDelAll();
    EXPECT_EQ(ear.log, " -1:1");
    auto visited = 0;
    onlyHeldByTheEar()->forEachRt([&](RouteTarget const&) {
        ear.notifierIs(nullptr);
        ++visited;
    });
    EXPECT_EQ(visited, 2);
}

TEST(NotifyingRouteTargetList, DumpsItsCountAndItsMembers) {
    auto const list = notifyingRouteTargetListFactory();
    EXPECT_EQ(dumpOf(*list, 0), "NotifyingRouteTargetList #0:\n");
    list->rtIs(c);
    EXPECT_EQ(dumpOf(*list, 3), "   NotifyingRouteTargetList #1:\n     10.0.0.1:3\n");
}

} // namespace
