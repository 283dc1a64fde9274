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

class RecordingObserver : public NotifyingRouteTargetList::Notifiee {
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

TEST(NotifyingRouteTargetList, NotifiesOfEachChangeOnce) {
    auto const list = notifyingRouteTargetListFactory();
    RecordingObserver observer(list);
    list->rtIs(a);
    list->rtIs(a);
    EXPECT_TRUE(list->rtDel(a));
    EXPECT_FALSE(list->rtDel(a));
    list->rtIs(b);
    list->rtIs(c);
    list->rtDelAll();
    EXPECT_EQ(list->rts(), 0U);
    EXPECT_EQ(observer.log, " +1:1 -1:1 +1:2 +10.0.0.1:3 -1:2 -10.0.0.1:3");
    observer.notifierIs(nullptr);
    observer.log.clear();
    list->rtIs(a);
    EXPECT_EQ(observer.log, "");
}

TEST(NotifyingRouteTargetList, ObserversMayAddWhileAllAreRemoved) {
    auto const list = notifyingRouteTargetListFactory();
    list->rtIs(a);
    list->rtIs(b);
    RecordingObserver observer(list);
    observer.then = [&] {
        list->rtDel(b);
        list->rtIs(c);
    };
    list->rtDelAll();
    EXPECT_EQ(observer.log, " -1:1 -1:2 +10.0.0.1:3");
    EXPECT_EQ(list->rts(), 1U) << "what was added meanwhile stays";
}

TEST(NotifyingRouteTargetList, MayBeReleasedDuringIteration) {
    RecordingObserver observer;
    auto const onlyHeldByTheEar = [&] {
        auto const list = notifyingRouteTargetListFactory();
        list->rtIs(a);
        list->rtIs(b);
        observer.notifierIs(list);
        return list.get();
    };
    observer.then = [&] { observer.notifierIs(nullptr); };
    onlyHeldByTheEar()->rtDelAll();
    EXPECT_EQ(observer.log, " -1:1");
    auto visited = 0;
    onlyHeldByTheEar()->forEachRt([&](RouteTarget const&) {
        observer.notifierIs(nullptr);
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
