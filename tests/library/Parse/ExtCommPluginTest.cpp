#include "support/Expectations.h"

#include <Mox/Exception.h>
#include <VoBgp/BgpShowCliExtCommCache.h>
#include <VoBgp/Parse/ExtComm.h>
#include <VoBgp/Parse/ExtCommColor.h>
#include <VoBgp/Parse/ExtCommRouteOrigin.h>
#include <VoBgp/Parse/ExtCommRouteTarget.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Routing::Bgp;
using Registry = BgpParseExtCommRuleCollections;

constexpr U64 aColor = 0x030b'0000'0000'0064;
constexpr U64 aRouteTarget = 0x0002'fde8'0000'0064;

ExtCommClassification classOf(BgpParseExtendedCommunityRule const& rule, U64 community) {
    return rule.parseExtendedCommunity(ExtCommContent(community))->classification();
}

BgpParseExtendedCommunityRule::Ptr newRule(Registry::Ptr const& registry) {
    return bgpParseExtendedCommunityRuleFactory(BgpParseExtCommControl(registry));
}

/// The sub-rule of a rule of transitive opaque values.
BgpParseExtComSubTypeTransOpaqueRuleBase::PtrConst
opaqueSubRule(BgpParseExtendedCommunityRule const& rule, BgpExtCommPktSubtypeTransOpaque subtype) {
    auto const perType = rule.typeRule(extCommPktTypeTransOpaque);
    return static_cast<BgpParseExtCommTransOpaqueRule const*>(perType.get())->subTypeRule(subtype);
}

constexpr auto colorSubtype = extCommPktSubtypeTransOpaqueColorExtendedCommunity;

/// A plug-in that overrides every hook by PluginOverride, and records the kinds.
class RecordingPlugin : public BgpParseExtCommPluginBaseSm {
  public:
    using BgpParseExtCommPluginBaseSm::BgpParseExtCommPluginBaseSm;

    mutable std::vector<Mox::AttributeNumber> hooks;
    mutable BgpParseExtCommControl lastControl;
    mutable std::function<void()> reaction = [] {};

  protected:
    template <class Kind>
    void instantiateFor(ExtCommRuleKey<Kind> const&, BgpParseExtCommControl const& control) const {
        hooks.push_back(Kind::attribute);
        lastControl = control;
        reaction();
    }
};

template <class Kind, class Next>
using EveryPluginHook = typename Kind::template PluginOverride<Kind, Next>;

class Counter final : public ExtCommChain<ExtCommRuleKinds, EveryPluginHook, RecordingPlugin> {
  public:
    explicit Counter(Registry::PtrConst const& registry)
      : ExtCommChain(registry) {}
};

// ---- Plug-ins -----------------------------------------------------------------------------------

TEST(ExtCommPlugin, EachKindCallsItsHookWithTheControlOfTheRule) {
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    auto const plugin = Mox::makeActive<Counter>(registry);
    auto const rule = newRule(registry);
    std::vector<Mox::AttributeNumber> const announced{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0};
    EXPECT_EQ(plugin->hooks, announced);
    EXPECT_EQ(plugin->lastControl, rule->parseControl());

    // A late plug-in is notified of existing rules, in the order of the sets.
    auto const late = Mox::makeActive<Counter>(registry);
    late->handleStartup();
    auto sorted = announced;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(late->hooks, sorted);

    // The kind that is never announced has its hook, too.
    auto const ip6 = rule->ip6TypeRule(extCommIp6PktTypeNonTransIpv6Address);
    auto const* const nonTrans = static_cast<BgpParseExtCommIp6NonTransRule const*>(ip6.get());
    late->hooks.clear();
    late->handleExtCommIp6SubTypeNonTransRuleInstance(BgpParseExtCommIp6SubTypeNonTransRuleKey(
        const_cast<BgpParseExtCommIp6NonTransRule*>(nonTrans)));
    EXPECT_EQ(late->hooks, std::vector<Mox::AttributeNumber>{13});
}

TEST(ExtCommPlugin, LatePlugInsAreNotifiedOfExistingRules) {
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    auto const first = newRule(registry);
    auto const second = newRule(registry);
    EXPECT_EQ(classOf(*first, aColor), extCommClassificationUnSpecified);
    auto const plugin = bgpParseExtCommColorSmFactory(registry);
    EXPECT_EQ(classOf(*first, aColor), extCommClassificationColor);
    EXPECT_EQ(classOf(*second, aColor), extCommClassificationColor);
}

TEST(ExtCommPlugin, IsNotNotifiedWhenFlaggedOrSwitchedOff) {
    using Plugin = BgpParseExtCommColorSm;
    std::function<void(Plugin&, bool deaf)> const ways[] = {
        [](Plugin& plugin, bool deaf) { plugin.moxDoZombieReactors(deaf); },
        [](Plugin& plugin, bool deaf) { plugin.hasNotificationActiveIs(!deaf); },
    };
    for (auto const& deafIs : ways) {
        auto const registry = bgpParseExtCommRuleCollectionsFactory();
        auto const plugin = bgpParseExtCommColorSmFactory(registry);
        deafIs(*plugin, true);
        auto const rule = newRule(registry);
        deafIs(*plugin, false);
        // It is not notified of rules it missed, only of later ones.
        EXPECT_EQ(opaqueSubRule(*rule, colorSubtype), nullptr);
        EXPECT_NE(opaqueSubRule(*newRule(registry), colorSubtype), nullptr);
    }
}

TEST(ExtCommPlugin, IsNotNotifiedAfterRuleCollectionsDel) {
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    auto const plugin = bgpParseExtCommColorSmFactory(registry);
    plugin->ruleCollectionsDel();
    EXPECT_EQ(registry->referenceCount(), 1u);
    auto const rule = newRule(registry);
    plugin->handleStartup();
    EXPECT_EQ(opaqueSubRule(*rule, colorSubtype), nullptr);
}

TEST(ExtCommPlugin, FilesNothingWithoutARegistry) {
    auto const plugin = bgpParseExtCommColorSmFactory(nullptr);
    plugin->handleStartup();
    plugin->moxDoZombieReactors(true);
    plugin->ruleCollectionsDel();
    EXPECT_TRUE(plugin->isZombie());
    EXPECT_EQ(plugin->ruleCollections(), nullptr);
}

TEST(ExtCommPlugin, FilesASubRuleIntoARuleThatIsBeingRemoved) {
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    auto const plugin = bgpParseExtCommColorSmFactory(registry);
    auto rule = newRule(registry);
    auto const before = opaqueSubRule(*rule, colorSubtype);

    // An observer registered after the plug-in sees the departing rule as the plug-in left it.
    class Witness : public Registry::Notifiee {
      public:
        using Notifiee::Notifiee;
        BgpParseExtComSubTypeTransOpaqueRuleBase::PtrConst seen;
        void handleExtCommSubTypeTransOpaqueRuleInstance(
            BgpParseExtCommSubTypeTransOpaqueRuleKey const& key) override {
            seen = key.rule()->subTypeRule(colorSubtype);
        }
    } witness(registry);
    rule = nullptr;
    EXPECT_NE(witness.seen, nullptr);
    EXPECT_NE(witness.seen, before);
    EXPECT_EQ(before->referenceCount(), 1u);
}

TEST(ExtCommPlugin, MayBeDestroyedByItsOwnReaction) {
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    auto plugin = Mox::makeActive<Counter>(registry);
    auto const other = Mox::makeActive<Counter>(registry);
    plugin->reaction = [&] { plugin = nullptr; };
    auto const rule = newRule(registry);
    EXPECT_EQ(plugin, nullptr);
    EXPECT_EQ(other->hooks.size(), 13u);
    // And while it is notified of existing rules.
    plugin = Mox::makeActive<Counter>(registry);
    plugin->reaction = [&plugin, owned = std::make_shared<int>()] {
        std::weak_ptr const remaining = owned;
        plugin = nullptr;
        EXPECT_FALSE(remaining.expired()) << "the plug-in is destroyed after its hook";
    };
    plugin.get()->handleStartup();
    EXPECT_EQ(plugin, nullptr);
}

TEST(ExtCommPluginDeathTest, RegisteringANullSubRuleAsserts) {
    auto const plugin = bgpParseExtCommColorSmFactory(nullptr);
    expectAssertions({{"^Parse/ExtComm.cpp:#: addExtendedCommunityTypeSubRule: Assertion "
                       "'__null != rule' failed",
                       [&] { plugin->addExtendedCommunityTypeSubRule({}, nullptr); }},
                      {"^Parse/ExtComm.cpp:#: addExtCommSubTypeTransGenericPart2SubRule: Assertion "
                       "'rule != __null' failed",
                       [&] { plugin->addExtCommSubTypeTransGenericPart2SubRule({}, nullptr); }},
                      {"^Parse/ExtComm.cpp:#: addExtCommIp6SubTypeTransSubRule: Assertion "
                       "'rule != __null' failed",
                       [&] { plugin->addExtCommIp6SubTypeTransSubRule({}, nullptr); }}});
}

// ---- The container ------------------------------------------------------------------------------

TEST(ExtCommContainer, StartUpFillsTheTreeInOrder) {
    TracedLines const traced(8);
    auto const container = bgpParseExtCommContainerSmFactory();
    std::pair<std::string, std::string> const expected[] = {
        {"TransTwoOctetAs", "RouteOrigin"},
        {"TransTwoOctetAs", "RouteTarget"},
        {"TransIpv4Address", "RouteOrigin"},
        {"TransIpv4Address", "RouteTarget"},
        {"TransFourOctetAs", "RouteOrigin"},
        {"TransFourOctetAs", "RouteTarget"},
        {"TransOpaque", "TunnelEncap"},
        {"TransOpaque", "DefaultGateway"},
        {"TransOpaque", "Color"},
        {"NonTransTwoOctetAs", "LinkBandwidth"},
        {"NonTransOpaque", "OriginValidationState"},
    };
    ASSERT_EQ(traced.lines.size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        auto const& line = traced.lines[i];
        auto const& [kind, plugin] = expected[i];
        EXPECT_TRUE(line.starts_with("8 Parse/ExtComm" + plugin + ".cpp:")) << line;
        EXPECT_NE(line.find(": instantiateExtCommSubType" + kind +
                            "SubRule: Routing::Bgp::BgpParseExtComm" + plugin + "Sm 0x"),
                  line.npos)
            << line;
    }
    EXPECT_EQ(container->extCommParserSms().size(), 7u);
    EXPECT_EQ(container->extCommParserSmsMetadata().nextIndex, 6u);
    ASSERT_NE(container->extCommCache(), nullptr);
    EXPECT_TRUE(container->extCommCache()->hasNotificationActive());

    // Two plug-ins registered sub-rules with one rule.
    auto const rule = container->extCommParser()->typeRule(extCommPktTypeTransTwoOctetAs);
    auto const* const twoOctetAs =
        static_cast<BgpParseExtCommTransTwoOctetAsRule const*>(rule.get());
    EXPECT_EQ(twoOctetAs->subTypeRules(), 2u);
    EXPECT_TRUE(twoOctetAs->subTypeRuleHas(extCommPktSubtypeTransTwoOctetAsRouteTarget));
    EXPECT_TRUE(twoOctetAs->subTypeRuleHas(extCommPktSubtypeTransTwoOctetAsRouteOrigin));
}

TEST(ExtCommContainer, TheRuleIsReplacedForAnotherControlOnly) {
    auto const container = bgpParseExtCommContainerSmFactory();
    auto const rule = container->extCommParser();
    EXPECT_EQ(container->extCommParserIs(rule->parseControl()), rule);
    EXPECT_EQ(container->parseExtCommRuleCollectionsIs(), container->parseExtCommRuleCollections());

    auto const other = bgpParseExtCommRuleCollectionsFactory();
    auto const replaced = container->extCommParserIs(BgpParseExtCommControl(other));
    EXPECT_NE(replaced, rule);
    EXPECT_EQ(rule->referenceCount(), 1u);
    // Its registry has no plug-ins.
    EXPECT_EQ(classOf(*replaced, aColor), extCommClassificationUnSpecified);
    EXPECT_EQ(classOf(*rule, aColor), extCommClassificationColor);
}

TEST(ExtCommContainer, PlugInsAreAppendedToTheQueue) {
    auto const container = bgpParseExtCommContainerSmFactory();
    auto const registry = container->parseExtCommRuleCollections();
    auto const plugin = bgpParseExtCommColorSmFactory(registry);
    auto const outside = plugin->referenceCount();
    container->extCommParserSmsDelAll();
    // After it was emptied, the queue continues from the counter, which is the last index.
    EXPECT_EQ(container->extCommParserSmsEnq(plugin), 6u);
    EXPECT_EQ(container->extCommParserSmsEnq(plugin), 7u);
    EXPECT_EQ(container->extCommParserSmsEnq(plugin), 8u);
    EXPECT_TRUE(container->extCommParserSmsDel(7));
    EXPECT_FALSE(container->extCommParserSmsDel(7));
    EXPECT_EQ(container->extCommParserSms(7), nullptr);
    EXPECT_EQ(container->extCommParserSms(8), plugin);
    EXPECT_TRUE(!container->extCommParserSmsHas(7) && container->extCommParserSmsHas(8));
    EXPECT_EQ(container->extCommParserSmsEnq(plugin), 9u);
    EXPECT_EQ(container->extCommParserSmsDeq(), plugin);
    EXPECT_EQ(container->extCommParserSms().headIndex(), 8u);
    container->extCommParserSmsIs(20, plugin);
    container->extCommParserSmsIs(20, plugin);
    EXPECT_EQ(container->extCommParserSmsEnq(plugin), 21u);
    container->extCommParserSmsDel(21);
    container->extCommParserSmsDel(20);
    EXPECT_EQ(container->extCommParserSmsEnq(plugin), 21u) << "the counter does not go back";
    container->extCommParserSmsIs(std::numeric_limits<U32>::max(), plugin);
    EXPECT_THROW(container->extCommParserSmsEnq(plugin), Mox::RangeException);
    EXPECT_THROW(container->extCommParserSmsEnq(nullptr), Mox::NullMutatorArgumentException);
    EXPECT_THROW(container->extCommParserSmsIs(0, nullptr), Mox::NullMutatorArgumentException);
    container->extCommParserSmsDelAll();
    EXPECT_EQ(container->extCommParserSmsDeq(), nullptr);
    EXPECT_EQ(plugin->referenceCount(), outside);
}

// ---- Life and death -----------------------------------------------------------------------------

/// Releases a set of mutually referring objects in every order. No destroyed object may be accessed
/// (the sanitizers check), the remaining ones must work, and the registry must be destroyed with
/// the last one.
TEST(ExtCommLife, EveryOrderOfDestructionIsSafe) {
    std::array<std::size_t, 4> order{0, 1, 2, 3};
    do {
        auto container = bgpParseExtCommContainerSmFactory();
        auto const registry = container->parseExtCommRuleCollections();
        auto plugin = bgpParseExtCommColorSmFactory(registry);
        auto rule = container->extCommParser();
        auto table = extCommDedupTableFactory(rule);
        auto const routeTarget = ExtComm::dedupContent(table.get(), ExtCommContent(aRouteTarget));
        std::array<std::function<void()>, 4> const drop{
            [&] { container = nullptr; },
            [&] { plugin = nullptr; },
            [&] { rule = nullptr; },
            [&] { table = nullptr; },
        };
        for (auto const part : order) {
            drop[part]();
            if (rule) {
                EXPECT_EQ(classOf(*rule, aColor), extCommClassificationColor);
                EXPECT_EQ(classOf(*rule, aRouteTarget), extCommClassificationRouteTarget);
            }
        }
        EXPECT_EQ(routeTarget->toStrepForPolicy(ExtComm::StrepFormat(1)), "65000:100");
        EXPECT_EQ(registry->referenceCount(), 1u);
        EXPECT_EQ(registry->notifieeList()->size(), 0u);
        ExtCommRuleKinds::forEach(
            [&]<class Each>() { EXPECT_TRUE(registry->template keys<Each>().empty()); });
    } while (std::next_permutation(order.begin(), order.end()));
}

} // namespace
