#include "Allocations.h"

#include <Mox/Exception.h>
#include <VoBgp/Parse/ExtComm.h>

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Routing::Bgp;
using Registry = BgpParseExtCommRuleCollections;
namespace Kind = ExtCommRuleKind;

/// What an observer heard: the number of the hook that was called and the key's rule.
struct Heard {
    Mox::AttributeNumber attribute;
    void const* rule;
    bool operator==(Heard const&) const = default;
};

class Recorder : public Registry::Notifiee {
  public:
    using Notifiee::Notifiee;
    std::vector<Heard> heard;
    /// What else to do with each.
    std::function<void()> reaction = [] {};

#define RECORD(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas, handle, ...)    \
    void handle(Key const& key) override {                                                         \
        heard.push_back({number, key.rule()});                                                     \
        reaction();                                                                                \
    }
    VOBGP_EXT_COMM_RULE_KINDS(RECORD, RECORD)
#undef RECORD
};

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

/// A sub-rule that does as it is told.
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

/// A sub-rule's object that a test recognises.
ExtComm::PtrConst color(ExtCommContent const& content) {
    return Mox::makeActive<ExtComm>(extCommClassificationColor, content);
}

ExtCommClassification classOf(BareTree const& tree, U64 community) {
    return tree.rule->parseExtendedCommunity(ExtCommContent(community))->classification();
}

template <class Mutator>
std::string errorOf(Mutator mutator) {
    try {
        mutator();
    } catch (Mox::Exception const& error) {
        return error.what();
    }
    return "no error";
}

// ---- Keys and the registry ----------------------------------------------------------------------

TEST(RuleRegistry, EverySetTellsEachComingAndGoingOnceAtItsHook) {
    BareTree const tree;
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    Recorder recorder(registry);
    ExtCommRuleKinds::forEach([&]<class Each>() {
        // Not rules of the kind, but a registry never looks.
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

TEST(RuleRegistry, ARuleKeyReadsBackOnlyAsALivingRuleOfItsKind) {
    auto tree = std::make_unique<BareTree>();
    BgpParseExtendedCommunityRuleKey const key(tree->rule.get());
    auto const text = valueToStrep(key);
    EXPECT_EQ(strepToValue<BgpParseExtendedCommunityRuleKey>(text), key);
    EXPECT_EQ(valueToStrep(BgpParseExtendedCommunityRuleKey()), "0x0");
    EXPECT_EQ(strepToValue<BgpParseExtendedCommunityRuleKey>("0x0").rule(), nullptr);

    std::vector<String> notThere{"", "0x", "0", "None", "-1", "0x1", "0xg", "0x10000000000000000"};
    notThere.push_back(text.str() + "0");
    // A rule, but of another kind; and what is no rule at all.
    notThere.push_back(valueToStrep(BgpParseExtCommSubTypeTransOpaqueRuleKey(
        tree->perTypeRule<OpaqueRule>(extCommPktTypeTransOpaque))));
    notThere.push_back(valueToStrep(tree->control));
    for (auto const& each : notThere) {
        EXPECT_EQ(errorOf([&] { strepToValue<BgpParseExtendedCommunityRuleKey>(each); }), "rule")
            << each;
    }
    tree.reset();
    EXPECT_EQ(errorOf([&] { strepToValue<BgpParseExtendedCommunityRuleKey>(text); }), "rule");
}

TEST(RuleRegistry, AControlReadsBackOnlyAsALivingRegistry) {
    auto tree = std::make_unique<BareTree>();
    auto const text = valueToStrep(tree->control);
    auto const rule = valueToStrep(BgpParseExtendedCommunityRuleKey(tree->rule.get()));
    EXPECT_EQ(strepToValue<BgpParseExtCommControl>(text), tree->control);
    EXPECT_TRUE(!strepToValue<BgpParseExtCommControl>("0x0"));
    EXPECT_EQ(errorOf([&] { strepToValue<BgpParseExtCommControl>(rule); }), "ruleCollections");
    tree.reset();
    EXPECT_EQ(errorOf([&] { strepToValue<BgpParseExtCommControl>(text); }), "ruleCollections");
}

TEST(RuleRegistry, RulesAnnounceThemselvesBottomUpAndLeaveTopDown) {
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    Recorder recorder(registry);
    auto rule = bgpParseExtendedCommunityRuleFactory(BgpParseExtCommControl(registry));
    auto const attributes = [&] {
        std::vector<Mox::AttributeNumber> numbers;
        for (auto const& each : std::exchange(recorder.heard, {})) {
            numbers.push_back(each.attribute);
        }
        return numbers;
    };
    // All but 13: the rule of the non-transitive IPv6 type takes a key back that it never filed.
    EXPECT_EQ(attributes(),
              (std::vector<Mox::AttributeNumber>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0}));
    rule = nullptr;
    auto const left = attributes();
    EXPECT_EQ(left.size(), 13u);
    EXPECT_EQ(left.front(), 0u);
    ExtCommRuleKinds::forEach(
        [&]<class Each>() { EXPECT_TRUE(registry->template keys<Each>().empty()); });
}

TEST(RuleRegistry, TwoRulesWithOneControlHaveKeysOfTheirOwn) {
    BareTree const tree;
    auto const second = bgpParseExtendedCommunityRuleFactory(tree.control);
    EXPECT_EQ(tree.registry->extendedCommunityTypeRuleInstance().size(), 2u);
    EXPECT_EQ(tree.registry->extendedCommSubTypeNonTransOpaqueRuleInstance().size(), 2u);
    BgpParseExtendedCommunityRuleKey const a(tree.rule.get());
    BgpParseExtendedCommunityRuleKey const b(second.get());
    EXPECT_NE(a, b);
    EXPECT_EQ(a < b, a.rule() < b.rule());
}

TEST(RuleRegistry, ARuleThatAnObserverRefusesLeavesNoKey) {
    auto const registry = bgpParseExtCommRuleCollectionsFactory();
    Recorder recorder(registry);
    recorder.reaction = [&] {
        if (recorder.heard.size() == 3) {
            throw std::runtime_error("no");
        }
    };
    EXPECT_THROW(bgpParseExtendedCommunityRuleFactory(BgpParseExtCommControl(registry)),
                 std::runtime_error);
    ExtCommRuleKinds::forEach(
        [&]<class Each>() { EXPECT_TRUE(registry->template keys<Each>().empty()); });
}

TEST(RuleRegistry, AnObserverThatThrowsAtADepartureStopsNobody) {
    BareTree tree;
    Recorder recorder(tree.registry);
    recorder.reaction = [] { throw std::runtime_error("no"); };
    tree.rule = nullptr;
    EXPECT_EQ(recorder.heard.size(), 13u);
}

TEST(RuleRegistryDeathTest, AControlMustNameARegistry) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(bgpParseExtendedCommunityRuleFactory(BgpParseExtCommControl()),
                 "Parse/ExtCommRules.cpp:.*Assertion '__null != ruleCollections' failed");
}

// ---- Filing -------------------------------------------------------------------------------------

TEST(ParseRules, ANullRuleIsRefusedByTypeAndOperation) {
    BareTree const tree;
    auto const& rule = tree.rule;
    EXPECT_EQ(errorOf([&] { rule->typeRuleIs(nullptr); }),
              "BgpParseExtendedCommunityRule::typeRuleIs");
    EXPECT_EQ(errorOf([&] { rule->ip6TypeRuleIs(nullptr); }),
              "BgpParseExtendedCommunityRule::ip6TypeRuleIs");
    BgpParseExtCommNonTransFourOctetAsRule::Ptr const perType =
        Mox::makeActive<BgpParseExtCommNonTransFourOctetAsRule>(tree.control);
    EXPECT_EQ(errorOf([&] { perType->subTypeRuleIs(nullptr); }),
              "BgpParseExtCommNonTransFourOctetAsRule::subTypeRuleIs");
    BgpParseExtCommIp6NonTransRule::Ptr const ip6 =
        Mox::makeActive<BgpParseExtCommIp6NonTransRule>(tree.control);
    EXPECT_EQ(errorOf([&] { ip6->subTypeRuleIs(nullptr); }),
              "BgpParseExtCommIp6NonTransRule::subTypeRuleIs");
    EXPECT_EQ(rule->typeRules(), 11u);
    EXPECT_EQ(rule->ip6TypeRules(), 2u);
}

TEST(ParseRules, TheLastSubRuleOfASubtypeWinsAndTheOldOneGoes) {
    BareTree const tree;
    auto* const opaque = tree.perTypeRule<OpaqueRule>(extCommPktTypeTransOpaque);
    auto const decline = [](ExtCommContent const&) -> ExtComm::PtrConst { return nullptr; };
    auto const first = Mox::makeActive<OpaqueSubRule>(tree.control, 0x06u, decline);
    auto const second = Mox::makeActive<OpaqueSubRule>(tree.control, 0x06u, color);
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

TEST(ParseRules, OnlyAMemberThatTheWireMayCarryIsEverAskedFor) {
    BareTree const tree;
    using TwoOctetAsRule = BgpParseExtCommTransTwoOctetAsRule;
    using TwoOctetAsSubRule = SubRule<BgpParseExtComSubTypeTransTwoOctetAsRuleBase>;
    auto* const rule = tree.perTypeRule<TwoOctetAsRule>(extCommPktTypeTransTwoOctetAs);
    // 0x14 has a name, but for show output; 0x55 has none; no octet is 256.
    for (U32 const subtype : {0x14u, 0x55u, 256u}) {
        rule->subTypeRuleIs(Mox::makeActive<TwoOctetAsSubRule>(tree.control, subtype, color));
        EXPECT_TRUE(
            rule->subTypeRuleHas(static_cast<BgpExtCommPktSubtypeTransTwoOctetAs>(subtype)));
    }
    for (U64 const community : {0x0014'0001'0000'0001u, 0x0055'0001'0000'0001u}) {
        EXPECT_EQ(classOf(tree, community), extCommClassificationUnSpecified);
    }
}

TEST(ParseRules, ASubRuleMayReplaceItselfWhileItIsAsked) {
    BareTree const tree;
    auto* const opaque = tree.perTypeRule<OpaqueRule>(extCommPktTypeTransOpaque);
    std::string const text(100, 'x');
    opaque->subTypeRuleIs(Mox::makeActive<OpaqueSubRule>(
        tree.control, 0x06u, [=](ExtCommContent const& content) -> ExtComm::PtrConst {
            opaque->subTypeRuleDelAll();
            return text.size() == 100 ? color(content) : nullptr;
        }));
    EXPECT_EQ(classOf(tree, 0x0306'0000'0000'0001), extCommClassificationColor);
    EXPECT_EQ(classOf(tree, 0x0306'0000'0000'0001), extCommClassificationUnSpecified);
}

TEST(ParseRules, ATypeWithoutItsRuleYieldsPlainObjectsAndTheRuleLeavesWithItsLastReference) {
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

// ---- Dispatch -----------------------------------------------------------------------------------

TEST(ParseRules, WithoutPlugInsTheTypeOctetAloneDecides) {
    BareTree const tree;
    auto const layoutOf = [](unsigned type) -> std::string {
        switch (type) {
        case 0x00:
        case 0x02:
        case 0x40:
        case 0x42:
            return "Routing::Bgp::ExtCommAsNumber";
        case 0x01:
        case 0x41:
            return "Routing::Bgp::ExtCommIpv4Address";
        case 0x03:
        case 0x43:
        case 0x80:
        case 0x81:
        case 0x82:
            return "Routing::Bgp::ExtCommSubtyped";
        default:
            return "Routing::Bgp::ExtComm";
        }
    };
    for (unsigned type = 0; type < 256; ++type) {
        for (unsigned const subtype : {0x00u, 0x02u, 0x04u, 0x08u, 0xffu}) {
            ExtCommContent const content(U64{type} << 56 | U64{subtype} << 48 | 1);
            auto const parsed = tree.rule->parseExtendedCommunity(content);
            EXPECT_EQ(parsed->fwkType().name(), layoutOf(type)) << type << ' ' << subtype;
            EXPECT_EQ(parsed->classification(), extCommClassificationUnSpecified);
            EXPECT_EQ(parsed->getContent(), content);
            EXPECT_TRUE(parsed->hasNotificationActive());
            EXPECT_FALSE(parsed->everDeduped());
            if (auto const* const as = dynamic_cast<ExtCommAsNumber const*>(parsed.get())) {
                EXPECT_EQ(as->fourByteAs(), (type & 0xf) == 2);
            }
        }
        ExtCommIp6Content const content(static_cast<U8>(type), 0x02, {}, 1);
        auto const parsed = tree.rule->parseExtendedCommunityIp6(content);
        bool const hasRule = type == 0x00 || type == 0x40;
        EXPECT_EQ(parsed->fwkType().name(),
                  hasRule ? "Routing::Bgp::ExtCommIp6Subtyped" : "Routing::Bgp::ExtCommIp6");
        EXPECT_EQ(parsed->getContent(), content);
        EXPECT_TRUE(parsed->hasNotificationActive());
    }
}

class Ip6SubRule final : public BgpParseExtCommIp6SubTypeTransRuleBase {
  public:
    explicit Ip6SubRule(BgpParseExtCommControl const& control)
      : BgpParseExtCommIp6SubTypeTransRuleBase(control, extCommIp6PktSubtypeRouteTarget) {}
    ExtCommIp6::PtrConst inhale(ExtCommIp6Content const& content) const override {
        return extCommIp6Factory(extCommClassificationRouteTarget, content);
    }
};

TEST(ParseRules, AnIp6SubRuleClaimsItsSubtypeOfTheTransitiveTypeOnly) {
    BareTree const tree;
    auto const typeRule = tree.rule->ip6TypeRule(extCommIp6PktTypeTransIpv6Address);
    auto const* const trans = static_cast<BgpParseExtCommIp6TransRule const*>(typeRule.get());
    const_cast<BgpParseExtCommIp6TransRule*>(trans)->subTypeRuleIs(
        Mox::makeActive<Ip6SubRule>(tree.control));
    auto const classified = [&](U8 type, U8 subtype) {
        return tree.rule->parseExtendedCommunityIp6({type, subtype, {}, 1})->classification();
    };
    EXPECT_EQ(classified(0x00, 0x02), extCommClassificationRouteTarget);
    EXPECT_EQ(classified(0x00, 0x03), extCommClassificationUnSpecified);
    EXPECT_EQ(classified(0x40, 0x02), extCommClassificationUnSpecified);
}

/// Prints the format that it was asked for.
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

TEST(ParseRules, AParseAllocatesTheObjectAndNothingElse) {
    auto const container = bgpParseExtCommContainerSmFactory();
    auto const& rule = container->extCommParser();
    for (U64 const community :
         {0x0002'fde8'0000'0064u, 0x0103'0a00'0001'0005u, 0x4004'fde8'4974'2400u,
          0x030b'8000'0000'0064u, 0x0305'0000'0000'0001u, 0x0600'0000'0000'0001u}) {
        auto const before = allocationsSoFar();
        auto const parsed = rule->parseExtendedCommunity(ExtCommContent(community));
        EXPECT_EQ(allocationsSoFar() - before, 1u) << std::hex << community;
    }
    for (U8 const type : {U8{0x00}, U8{0x40}, U8{0x80}}) {
        auto const before = allocationsSoFar();
        auto const parsed = rule->parseExtendedCommunityIp6({type, 0x02, {}, 1});
        EXPECT_EQ(allocationsSoFar() - before, 1u);
    }
}

TEST(ParseRules, WhateverStrangersSendParsesAndPrints) {
    auto const container = bgpParseExtCommContainerSmFactory();
    auto const& rule = container->extCommParser();
    std::mt19937_64 random(20'260'501);
    for (int i = 0; i < 20'000; ++i) {
        auto const word = random();
        // Half of them of a type and subtype that is known, or nearly.
        ExtCommContent const content(i % 2 == 0 ? word : word & 0xc30f'ffff'ffff'ffff);
        auto const parsed = rule->parseExtendedCommunity(content);
        ASSERT_EQ(parsed->getContent(), content);
        std::ostringstream os;
        os << *parsed;
        ASSERT_FALSE(os.str().empty());
        ExtComm::StrepFormat const format(static_cast<U32>(word >> 8) & 0x7f);
        parsed->toStrepForPolicy(format);

        Lumo::Ip6Addr::Octets octets;
        for (auto& octet : octets) {
            octet = static_cast<U8>(random());
        }
        auto const type = static_cast<U8>(i % 2 == 0 ? word : word & 0x40);
        ExtCommIp6Content const ip6(type, static_cast<U8>(word >> 8), Lumo::Ip6Addr(octets),
                                    static_cast<U16>(word >> 16));
        auto const parsedIp6 = rule->parseExtendedCommunityIp6(ip6);
        ASSERT_EQ(parsedIp6->getContent(), ip6);
        ASSERT_FALSE(parsedIp6->toStrep().empty());
    }
}

} // namespace
