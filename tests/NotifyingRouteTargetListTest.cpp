#include <VoBgp/NotifyingRouteTargetList.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Routing::Bgp::NotifyingRouteTargetList;
using Routing::Bgp::notifyingRouteTargetListFactory;
using Routing::Bgp::RouteTarget;

class Ear : public NotifyingRouteTargetList::Notifiee {
  public:
    using Notifiee::Notifiee;
    void handleRt(RouteTarget const& rt) override {
        log.push_back((notifier()->rtHas(rt) ? "+" : "-") + rt.toStrep().str());
    }
    std::vector<std::string> log;
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
    for (auto const& rt : {a, b, c}) {
        list->rtIs(rt);
    }
    ear.log.clear();
    list->rtDelAll();
    EXPECT_EQ(ear.log, (std::vector<std::string>{"-1:1", "-1:2", "-10.0.0.1:3"}));
    EXPECT_EQ(list->rts(), 0U);
    ear.notifierIs(nullptr);
    list->rtIs(a);
    EXPECT_EQ(ear.log.size(), 3U);
}

TEST(NotifyingRouteTargetList, AnObserverThatAddsWhileAllIsRemovedIsHeard) {
    class Adder : public Ear {
      public:
        using Ear::Ear;
        NotifyingRouteTargetList::Ptr list;
        void handleRt(RouteTarget const& rt) override {
            Ear::handleRt(rt);
            if (rt == a && !notifier()->rtHas(a)) {
                list->rtDel(b);
                list->rtIs(c);
            }
        }
    };
    auto const list = notifyingRouteTargetListFactory();
    list->rtIs(a);
    list->rtIs(b);
    Adder adder(list);
    adder.list = list;
    list->rtDelAll();
    EXPECT_EQ(adder.log, (std::vector<std::string>{"-1:1", "-1:2", "+10.0.0.1:3"}));
    EXPECT_EQ(list->rts(), 1U) << "what was added meanwhile stays";
}

TEST(NotifyingRouteTargetList, DumpsItsCountAndItsMembers) {
    auto const list = notifyingRouteTargetListFactory();
    auto const context = Mox::makeCounted<Kel::StringDumpContext>();
    list->dumpState(context, 0);
    list->rtIs(c);
    list->dumpState(context, 3);
    EXPECT_EQ(context->text(), "NotifyingRouteTargetList #0:\n"
                               "   NotifyingRouteTargetList #1:\n"
                               "     10.0.0.1:3\n");
}

} // namespace
