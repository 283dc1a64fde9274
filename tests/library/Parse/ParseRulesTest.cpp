#include "support/Allocations.h"
#include "support/Expectations.h"

#include <Mox/Exception.h>
#include <VoBgp/ExtCommIp6DedupTable.h>
#include <VoBgp/Parse/ExtComm.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Routing::Bgp;
using Registry = BgpParseExtCommRuleCollections;
namespace Kind = ExtCommRuleKind;

/// A recorded notification: the number of the hook and the key's rule.
struct Heard {
    Mox::AttributeNumber attribute;
    void const* rule;
    bool operator==(Heard const&) const = default;
};

class KeyRecorder : public Registry::Notifiee {
  public:
    using Notifiee::Notifiee;
    std::vector<Heard> heard;
    /// Called after each.
    std::function<void()> reaction = [] {};

  protected:
    template <class Each>
    void handleKey(ExtCommRuleKey<Each> const& key) {
        heard.push_back({Each::attribute, key.rule()});
        reaction();
    }
};

template <class Each, class Next>
using EveryNotifieeHook = typename Each::template NotifieeOverride<Next>;
using Recorder = ExtCommChain<ExtCommRuleKinds, EveryNotifieeHook, KeyRecorder>;

/// The tree of rules without any plug-in.
struct BareTree {
    Registry::Ptr registry = bgpParseExtCommRuleCollectionsFactory();
    BgpParseExtCommControl control{registry};
    BgpParseExtendedCommunityRule::Ptr rule = bgpParseExtendedCommunityRuleFactory(control);

    template <class Rule>
    Rule* perTypeRule(BgpExtCommPktType type) const {
        return const_cast<Rule*>(static_cast<Rule const*>(rule->typeRule(type).get()));
    }
};

using OpaqueRule = BgpParseExtCommTransOpaqueRule;

/// A sub-rule with a behaviour given by the test.
template <class Base>
class SubRule final : public Base {
  public:
    using Inhale = std::function<ExtComm::PtrConst(ExtCommContent const&)>;
    SubRule(BgpParseExtCommControl const& control, U32 subtype, Inhale inhale)
      : Base(control, static_cast<typename Base::PktSubType>(subtype))
      , inhale_(std::move(inhale)) {}
    ExtComm::PtrConst inhale(ExtCommContent const& content) const override {
        return inhale_(content);
    }

  private:
    Inhale inhale_;
};

using OpaqueSubRule = SubRule<BgpParseExtComSubTypeTransOpaqueRuleBase>;

/// An object that identifies the sub-rule.
ExtComm::PtrConst newColor(ExtCommContent const& content) {
    return Mox::makeActive<ExtComm>(extCommClassificationColor, content);
}

ExtCommClassification classOf(BareTree const& tree, U64 community) {
    return tree.rule->parseExtendedCommunity(ExtCommContent(community))->classification();
}

/// The number of keys in all sets of a registry.
std::size_t keysIn(Registry const& registry) {
    std::size_t keys = 0;
    ExtCommRuleKinds::forEach([&]<class Each>() { keys += registry.keys<Each>().size(); });
    return keys;
}

// ---- Keys and the registry ----------------------------------------------------------------------

TEST(RuleRegistry, EverySetNotifiesOfEachChangeOnce) {
    BareTree const tree;
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    Recorder recorder(registry);
    ExtCommRuleKinds::forEach([&]<class Each>() {
        // Not rules of that kind, but a registry never accesses them.
        int places[3];
        std::vector<Heard> expected;
        std::vector<ExtCommRuleKey<Each>> keys;
        for (auto& place : places) {
            keys.emplace_back(reinterpret_cast<typename Each::Rule*>(&place));
            expected.push_back({Each::attribute, &place});
        }
        recorder.heard.clear();
        EXPECT_FALSE(registry->keyDel(keys[0]));
        for (auto const& key : keys) {
            EXPECT_EQ(registry->keyIs(key), key);
            registry->keyIs(key);
        }
        EXPECT_EQ(recorder.heard, expected) << Each::setName;
        recorder.heard.clear();
        registry->template keyDelAll<Each>();
        EXPECT_EQ(recorder.heard.size(), 3u) << Each::setName;
        EXPECT_TRUE(registry->template keys<Each>().empty());
    });
}

TEST(RuleRegistry, MayBeReleasedWhileAllKeysAreRemoved) {
    ExtCommRuleKinds::forEach([]<class Each>() {
        int places[3];
        Recorder recorder(bgpParseExtCommRuleCollectionsFactory());
        auto& registry = const_cast<Registry&>(*recorder.notifier());
        for (auto& place : places) {
            registry.keyIs(ExtCommRuleKey<Each>(reinterpret_cast<typename Each::Rule*>(&place)));
        }
        recorder.heard.clear();
        recorder.reaction = [&] { recorder.notifierIs(nullptr); };
        registry.keyDelAll<Each>();
        EXPECT_EQ(recorder.heard.size(), 1u) << Each::setName;
    });
}

TEST(RuleRegistry, KeysReadBackAndControlsOnlyWhileTheirRegistryExists) {
    using Key = BgpParseExtendedCommunityRuleKey;
    auto const readKey = [](String const& text) {
        return errorOf<Mox::RangeException>([&] { strepToValue<Key>(text); });
    };
    auto const readControl = [](String const& text) {
        return errorOf<Mox::RangeException>([&] { strepToValue<BgpParseExtCommControl>(text); });
    };
    auto tree = std::make_unique<BareTree>();
    expectReadsBack(Key(tree->rule.get()));
    expectReadsBack(tree->control);
    EXPECT_EQ(valueToStrep(Key()), "0x0");
    expectReadsBack(Key());
    EXPECT_TRUE(!strepToValue<BgpParseExtCommControl>("0x0"));

    auto const key = valueToStrep(Key(tree->rule.get()));
    auto const control = valueToStrep(tree->control);
    for (auto const& text :
         {String(""), String("0x"), String("0"), String("None"), String("-1"), String("0xg"),
          String("0x10000000000000000"), String(key.str() + "g")}) {
        EXPECT_EQ(readKey(text), "rule") << text;
    }
    EXPECT_EQ(readControl(key), "ruleCollections");
    tree.reset();
    EXPECT_EQ(valueToStrep(strepToValue<Key>(key)), key);
    EXPECT_EQ(readControl(control), "ruleCollections");
}

TEST(RuleRegistry, RulesAreAnnouncedBottomUpAndRemovedTopDown) {
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    Recorder recorder(registry);
    auto rule = bgpParseExtendedCommunityRuleFactory(BgpParseExtCommControl(registry));
    // All except 13: the rule of the non-transitive IPv6 type removes a key that it never added.
    std::vector<Mox::AttributeNumber> numbers;
    for (auto const& each : std::exchange(recorder.heard, {})) {
        numbers.push_back(each.attribute);
    }
    EXPECT_EQ(numbers,
              (std::vector<Mox::AttributeNumber>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0}));
    rule = nullptr;
    ASSERT_EQ(recorder.heard.size(), 13u);
    EXPECT_EQ(recorder.heard.front().attribute, 0u);
    EXPECT_EQ(keysIn(*registry), 0u);
}

TEST(RuleRegistry, IsUnchangedIfAnObserverThrows) {
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    Recorder recorder(registry);
    recorder.reaction = [&] {
        if (recorder.heard.size() == 3) {
            throw std::runtime_error("no");
        }
    };
    EXPECT_THROW(bgpParseExtendedCommunityRuleFactory(BgpParseExtCommControl(registry)),
                 std::runtime_error);
    EXPECT_EQ(keysIn(*registry), 0u);
}

TEST(RuleRegistry, ObserversThatThrowOnRemovalDoNotStopOthers) {
    BareTree tree;
    Recorder recorder(tree.registry);
    recorder.reaction = [] { throw std::runtime_error("no"); };
    tree.rule = nullptr;
    EXPECT_EQ(recorder.heard.size(), 13u);
}

TEST(RuleRegistryDeathTest, AControlMustNameARegistry) {
    expectAssertions(
        {{"Parse/ExtCommRules.cpp:#: ruleCollections: Assertion '__null != ruleCollections' failed",
          [] { bgpParseExtendedCommunityRuleFactory(BgpParseExtCommControl()); }}});
}

// ---- Filing -------------------------------------------------------------------------------------

TEST(ParseRules, NullRulesThrowTheNameOfTheOperation) {
    BareTree const tree;
    auto const filing = [](auto file) { return errorOf<Mox::NullMutatorArgumentException>(file); };
    EXPECT_EQ(filing([&] { tree.rule->typeRuleIs(nullptr); }),
              "BgpParseExtendedCommunityRule::typeRuleIs");
    EXPECT_EQ(filing([&] { tree.rule->ip6TypeRuleIs(nullptr); }),
              "BgpParseExtendedCommunityRule::ip6TypeRuleIs");
    auto const perType = Mox::makeActive<BgpParseExtCommNonTransFourOctetAsRule>(tree.control);
    EXPECT_EQ(filing([&] { perType->subTypeRuleIs(nullptr); }),
              "BgpParseExtCommNonTransFourOctetAsRule::subTypeRuleIs");
    auto const ip6 = Mox::makeActive<BgpParseExtCommIp6NonTransRule>(tree.control);
    EXPECT_EQ(filing([&] { ip6->subTypeRuleIs(nullptr); }),
              "BgpParseExtCommIp6NonTransRule::subTypeRuleIs");
    EXPECT_EQ(tree.rule->typeRules(), 11u);
    EXPECT_EQ(tree.rule->ip6TypeRules(), 2u);
}

TEST(ParseRules, TheLastSubRuleOfASubtypeReplacesTheOthers) {
    BareTree const tree;
    auto* const opaque = tree.perTypeRule<OpaqueRule>(extCommPktTypeTransOpaque);
    auto const decline = [](ExtCommContent const&) -> ExtComm::PtrConst { return nullptr; };
    auto const first = Mox::makeActive<OpaqueSubRule>(tree.control, 0x06u, decline);
    auto const second = Mox::makeActive<OpaqueSubRule>(tree.control, 0x06u, newColor);
    opaque->subTypeRuleIs(Mox::makeActive<OpaqueSubRule>(tree.control, 0x0bu, decline));
    opaque->subTypeRuleIs(first);
    opaque->subTypeRuleIs(first);
    opaque->subTypeRuleIs(Mox::makeActive<OpaqueSubRule>(tree.control, 0x01u, decline));
    EXPECT_EQ(opaque->subTypeRules(), 3u);
    EXPECT_EQ(classOf(tree, 0x0306'0000'0000'0001), extCommClassificationUnSpecified);
    opaque->subTypeRuleIs(second);
    EXPECT_EQ(first->referenceCount(), 1u);
    EXPECT_EQ(classOf(tree, 0x0306'0000'0000'0001), extCommClassificationColor);
    EXPECT_EQ(classOf(tree, 0x0301'0000'0000'0001), extCommClassificationUnSpecified);
    EXPECT_EQ(opaque->subTypeRuleDel(extCommPktSubtypeTransOpaqueOspfRouteType), second.get());
    EXPECT_EQ(opaque->subTypeRuleDel(extCommPktSubtypeTransOpaqueOspfRouteType), nullptr);
    opaque->subTypeRuleDelAll();
    EXPECT_EQ(opaque->subTypeRules(), 0u);
}

TEST(ParseRules, SubRulesAreCalledOnlyForMembersValidOnTheWire) {
    BareTree const tree;
    using TwoOctetAsRule = BgpParseExtCommTransTwoOctetAsRule;
    using TwoOctetAsSubRule = SubRule<BgpParseExtComSubTypeTransTwoOctetAsRuleBase>;
    auto* const rule = tree.perTypeRule<TwoOctetAsRule>(extCommPktTypeTransTwoOctetAs);
    // 0x14 has a name for show output only; 0x55 has none; 256 is not an octet.
    for (U32 const subtype : {0x14u, 0x55u, 256u}) {
        rule->subTypeRuleIs(Mox::makeActive<TwoOctetAsSubRule>(tree.control, subtype, newColor));
        EXPECT_TRUE(
            rule->subTypeRuleHas(static_cast<BgpExtCommPktSubtypeTransTwoOctetAs>(subtype)));
    }
    for (U64 const community : {0x0014'0001'0000'0001u, 0x0055'0001'0000'0001u}) {
        EXPECT_EQ(classOf(tree, community), extCommClassificationUnSpecified);
    }
}

TEST(ParseRules, SubRulesMayReplaceThemselvesDuringACall) {
    BareTree const tree;
    auto* const opaque = tree.perTypeRule<OpaqueRule>(extCommPktTypeTransOpaque);
    std::string const text(100, 'x');
    opaque->subTypeRuleIs(Mox::makeActive<OpaqueSubRule>(
        tree.control, 0x06u, [=](ExtCommContent const& content) -> ExtComm::PtrConst {
            opaque->subTypeRuleDelAll();
            return text.size() == 100 ? newColor(content) : nullptr;
        }));
    EXPECT_EQ(classOf(tree, 0x0306'0000'0000'0001), extCommClassificationColor);
    EXPECT_EQ(classOf(tree, 0x0306'0000'0000'0001), extCommClassificationUnSpecified);
}

TEST(ParseRules, ARemovedRuleIsDestroyedAndItsTypeParsedAsPlain) {
    BareTree const tree;
    auto const& rule = tree.rule;
    auto removed = rule->typeRuleDel(extCommPktTypeTransOpaque);
    EXPECT_EQ(rule->typeRuleDel(extCommPktTypeTransOpaque), nullptr);
    EXPECT_EQ(rule->parseExtendedCommunity(ExtCommContent(0x0306'0000'0000'0001))->fwkType().name(),
              "Routing::Bgp::ExtComm");
    EXPECT_EQ(tree.registry->extendedCommSubTypeTransOpaqueRuleInstance().size(), 1u);
    removed = nullptr;
    EXPECT_EQ(tree.registry->extendedCommSubTypeTransOpaqueRuleInstance().size(), 0u);
    rule->ip6TypeRuleDelAll();
    EXPECT_EQ(rule->parseExtendedCommunityIp6({})->fwkType().name(), "Routing::Bgp::ExtCommIp6");
}

/// Claims one subtype.
class OwnTypeRule final : public BgpParseExtendedCommunityTypeRuleBase {
  public:
    OwnTypeRule(BgpParseExtCommControl const& control, BgpExtCommPktType type)
      : BgpParseExtendedCommunityTypeRuleBase(control, type) {}
    ExtComm::PtrConst inhale(ExtCommContent const& content) const override {
        return content.subtypeOctet() == 0x06 ? newColor(content) : nullptr;
    }
};

TEST(ParseRules, AnAgentsTypeRuleReplacesTheRuleOfThatType) {
    BareTree const tree;
    auto const own = Mox::makeActive<OwnTypeRule>(tree.control, extCommPktTypeTransOpaque);
    tree.rule->typeRuleIs(own);
    EXPECT_EQ(tree.rule->typeRule(extCommPktTypeTransOpaque), own);
    EXPECT_EQ(tree.rule->typeRules(), 11u);
    EXPECT_EQ(classOf(tree, 0x0306'0000'0000'0001), extCommClassificationColor);
    EXPECT_EQ(classOf(tree, 0x0301'0000'0000'0001), extCommClassificationUnSpecified);
    EXPECT_EQ(classOf(tree, 0x4306'0000'0000'0001), extCommClassificationUnSpecified);
}

// ---- Dispatch -----------------------------------------------------------------------------------

class Ip6SubRule final : public BgpParseExtCommIp6SubTypeTransRuleBase {
  public:
    explicit Ip6SubRule(BgpParseExtCommControl const& control, std::function<void()> before = {})
      : BgpParseExtCommIp6SubTypeTransRuleBase(control, extCommIp6PktSubtypeRouteTarget)
      , before_(std::move(before)) {}
    ExtCommIp6::PtrConst inhale(ExtCommIp6Content const& content) const override {
        if (before_) {
            before_();
        }
        return extCommIp6Factory(extCommClassificationRouteTarget, content);
    }

  private:
    std::function<void()> before_;
};

/// The rule of transitive IPv6 values, to be filled.
BgpParseExtCommIp6TransRule& ip6TransRule(BareTree const& tree) {
    auto const rule = tree.rule->ip6TypeRule(extCommIp6PktTypeTransIpv6Address);
    return const_cast<BgpParseExtCommIp6TransRule&>(
        static_cast<BgpParseExtCommIp6TransRule const&>(*rule));
}

TEST(ParseRules, AnIp6SubRuleClaimsItsSubtypeOfTheTransitiveTypeOnly) {
    BareTree const tree;
    ip6TransRule(tree).subTypeRuleIs(Mox::makeActive<Ip6SubRule>(tree.control));
    auto const classified = [&](U8 type, U8 subtype) {
        return tree.rule->parseExtendedCommunityIp6({type, subtype, {}, 1})->classification();
    };
    EXPECT_EQ(classified(0x00, 0x02), extCommClassificationRouteTarget);
    EXPECT_EQ(classified(0x00, 0x03), extCommClassificationUnSpecified);
    EXPECT_EQ(classified(0x40, 0x02), extCommClassificationUnSpecified);
}

TEST(ParseRules, SubRulesMayReleaseTheirTableAndRule) {
    BareTree tree;
    auto table = extCommDedupTableFactory(tree.rule);
    auto ip6Table = extCommIp6DedupTableFactory(tree.rule);
    auto const drop = [&] {
        table = nullptr;
        ip6Table = nullptr;
        tree.rule = nullptr;
    };
    tree.perTypeRule<OpaqueRule>(extCommPktTypeTransOpaque)
        ->subTypeRuleIs(Mox::makeActive<OpaqueSubRule>(tree.control, 0x06u,
                                                       [drop](ExtCommContent const& content) {
                                                           drop();
                                                           return newColor(content);
                                                       }));
    ExtCommContent const content(0x0306'0000'0000'0001);
    EXPECT_EQ(ExtComm::dedupContent(table.get(), content)->getContent(), content);
    EXPECT_FALSE(table);

    tree.rule = bgpParseExtendedCommunityRuleFactory(tree.control);
    ip6Table = extCommIp6DedupTableFactory(tree.rule);
    ip6TransRule(tree).subTypeRuleIs(Mox::makeActive<Ip6SubRule>(tree.control, drop));
    ExtCommIp6Content const ip6Content(0x00, 0x02, {}, 1);
    EXPECT_EQ(ExtCommIp6::dedupContent(ip6Table.get(), ip6Content)->getContent(), ip6Content);
    EXPECT_FALSE(ip6Table);
}

TEST(ParseRules, SubRulesMayBuildAnotherContent) {
    BareTree const tree;
    ExtCommContent const built(0x0306'0000'0000'0002);
    tree.perTypeRule<OpaqueRule>(extCommPktTypeTransOpaque)
        ->subTypeRuleIs(Mox::makeActive<OpaqueSubRule>(
            tree.control, 0x06u, [built](ExtCommContent const&) { return newColor(built); }));
    auto const table = extCommDedupTableFactory(tree.rule);
    auto const first = ExtComm::dedupContent(table.get(), ExtCommContent(0x0306'0000'0000'0001));
    EXPECT_EQ(ExtComm::dedupContent(table.get(), built), first);
}

/// Prints the requested format.
class FormatEcho final : public ExtComm {
  public:
    using ExtComm::ExtComm;
    String toStrepForPolicy(StrepFormat format) const override {
        return std::to_string(format.value());
    }
};

TEST(ParseRules, ShowStringsSelectTheirFormatFlagByFlag) {
    BareTree const tree;
    tree.perTypeRule<OpaqueRule>(extCommPktTypeTransOpaque)
        ->subTypeRuleIs(Mox::makeActive<OpaqueSubRule>(
            tree.control, 0x06u, [](ExtCommContent const& content) -> ExtComm::PtrConst {
                return Mox::makeActive<FormatEcho>(extCommClassificationUnSpecified, content);
            }));
    struct {
        bool asdot, weighted, json;
        U32 format;
    } const rows[] = {
        {false, false, false, 0x0c}, {true, false, false, 0x2c}, {false, true, false, 0x4c},
        {false, false, true, 0x1c},  {true, true, true, 0x7c},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(tree.rule->showString(0x0306'0000'0000'0001, row.asdot, row.weighted, row.json),
                  std::to_string(row.format));
    }
}

// ---- Costs and strangers ------------------------------------------------------------------------

TEST(ParseRules, ParsingAllocatesOnlyTheObject) {
    auto const container = bgpParseExtCommContainerSmFactory();
    auto const& rule = container->extCommParser();
    auto const allocations = [](auto const& parse) {
        static_cast<void>(parse()); // the first object of a size may take a chunk for more
        auto const before = allocationsSoFar();
        auto const parsed = parse();
        return allocationsSoFar() - before;
    };
    for (U64 const community :
         {0x0002'fde8'0000'0064u, 0x0103'0a00'0001'0005u, 0x4004'fde8'4974'2400u,
          0x030b'8000'0000'0064u, 0x0305'0000'0000'0001u, 0x0600'0000'0000'0001u}) {
        ExtCommContent const content(community);
        EXPECT_LE(allocations([&] { return rule->parseExtendedCommunity(content); }), 1u)
            << content;
    }
    for (U8 const type : {U8{0x00}, U8{0x40}, U8{0x80}}) {
        ExtCommIp6Content const content(type, 0x02, {}, 1);
        EXPECT_LE(allocations([&] { return rule->parseExtendedCommunityIp6(content); }), 1u);
    }
}

} // namespace
