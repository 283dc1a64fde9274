#pragma once

#include <Mox/Export.h>
#include <Mox/Notifiee.h>
#include <Mox/Ptr.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <cstddef>
#include <string_view>
#include <tuple>

// Header-only: the rows of the kinds, and templates over them.

namespace Routing::Bgp {

class BgpParseExtCommControl;
class BgpParseExtendedCommunityRule;
class ExtComm;
template <class Kind>
class VOBGP_EXPORT ExtCommPerTypeRule;
template <class Kind>
class VOBGP_EXPORT ExtCommRuleKey;
template <class Kind>
class VOBGP_EXPORT ExtCommSubRuleBase;
template <class Width>
class VOBGP_EXPORT ExtCommTypeRuleBase;

namespace ExtCommLayout {
struct TwoOctetAs;
struct FourOctetAs;
struct Ipv4Address;
struct Subtyped;
struct Ip6Subtyped;
} // namespace ExtCommLayout

/// Whether a rule asks plug-ins for sub-rules by announcing itself.
enum class Announced : bool { no, yes };

/// The two widths of a community: content, object, and the enumeration of type octets.
namespace ExtCommWidth {

/// RFC 4360.
struct VOBGP_EXPORT EightOctets {
    static constexpr std::string_view typeRuleBaseName =
        "Routing::Bgp::BgpParseExtendedCommunityTypeRuleBase";
    using Content = ExtCommContent;
    using Community = ExtComm;
    using PktType = BgpExtCommPktType;

    static U8 typeOctet(Content const& content) noexcept { return content.typeOctet(); }
    static U8 subtypeOctet(Content const& content) noexcept { return content.subtypeOctet(); }
};

/// RFC 5701.
struct VOBGP_EXPORT TwentyOctets {
    static constexpr std::string_view typeRuleBaseName =
        "Routing::Bgp::BgpParseExtendedCommunityIp6TypeRuleBase";
    using Content = ExtCommIp6Content;
    using Community = ExtCommIp6;
    using PktType = BgpExtCommIp6PktType;

    static U8 typeOctet(Content const& content) noexcept { return content.type(); }
    static U8 subtypeOctet(Content const& content) noexcept { return content.subtype(); }
};

} // namespace ExtCommWidth

/// Base of the row of every kind.
template <class Row>
struct ExtCommRuleKindOf {
    using Kind = Row;
    using Key = ExtCommRuleKey<Row>;
};

/// Base of the row of a kind of per-type rule.
template <class Row>
struct ExtCommSubtypeKind : ExtCommRuleKindOf<Row> {
    using Rule = ExtCommPerTypeRule<Row>;
    using SubRule = ExtCommSubRuleBase<Row>;
    static constexpr Announced announced = Announced::yes;
};

// Two macros declare the operations of a row. Their arguments are complete names, so that a search
// finds them.

/// The registry's set of the kind's keys, and the operations that change and query it. `Keys` holds
/// the set.
#define VOBGP_RULE_SET(set, setIs, setDel, setDelAll, setHas)                                      \
    static constexpr std::string_view setName = #set;                                              \
    template <class Keys>                                                                          \
    struct NamedSet : Keys {                                                                       \
        using Keys::Keys;                                                                          \
        auto const& set() const noexcept { return this->keys(); }                                  \
        auto setIs(Key const& key) { return this->keyIs(key); }                                    \
        bool setDel(Key const& key) { return this->keyDel(key); }                                  \
        void setDelAll() { this->keyDelAll(); }                                                    \
        bool setHas(Key const& key) const noexcept { return this->keys().has(key); }               \
    };

/// The hooks of the kind, each a class that derives from `Next`:
///
///     NotifieeHook      an observer's `handle(key)`, empty
///     NotifieeOverride  overrides it: calls `handleKey(key)`
///     PluginHook        a plug-in's `instantiate(key, control)`, empty; `handle(key)`, which calls
///                       it; `handle()`, which calls it for every key; `add(key, subRule)`
///     PluginOverride    overrides it: calls `instantiateFor<Tag>(key, control)`
///
/// and `notify(observer, key)`, which calls `handle(key)` of an observer or of a plug-in.
#define VOBGP_RULE_HOOKS(handle, instantiate, add)                                                 \
    static constexpr char const* instantiateName = #instantiate;                                   \
    static constexpr char const* addName = #add;                                                   \
    template <class Next>                                                                          \
    class VOBGP_EXPORT NotifieeHook : public Next {                                                \
      public:                                                                                      \
        virtual void handle(Key const& /*key*/) {}                                                 \
    };                                                                                             \
    template <class Next>                                                                          \
    class VOBGP_EXPORT NotifieeOverride : public Next {                                            \
      public:                                                                                      \
        using Next::Next;                                                                          \
        void handle(Key const& key) override { this->handleKey(key); }                             \
    };                                                                                             \
    template <class Next>                                                                          \
    class VOBGP_EXPORT PluginHook : public Next {                                                  \
      public:                                                                                      \
        virtual void instantiate(Key const& /*key*/,                                               \
                                 BgpParseExtCommControl const& /*control*/) const {}               \
        void handle(Key const& key) const { instantiate(key, this->controlOf(key)); }              \
        void handle() const {                                                                      \
            this->template forEachKey<Kind>([this](Key const& key) { handle(key); });              \
        }                                                                                          \
        void add(Key const& key, Mox::PtrConst<SubRule> const& subRule) const {                    \
            this->fileSubRule(key, subRule);                                                       \
        }                                                                                          \
    };                                                                                             \
    template <class Tag, class Next>                                                               \
    class VOBGP_EXPORT PluginOverride : public Next {                                              \
      public:                                                                                      \
        using Next::Next;                                                                          \
        void instantiate(Key const& key, BgpParseExtCommControl const& control) const override {   \
            this->template instantiateFor<Tag>(key, control);                                      \
        }                                                                                          \
    };                                                                                             \
    template <class Observer>                                                                      \
    static void notify(Observer& observer, Key const& key) {                                       \
        observer.handle(key);                                                                      \
    }

/// The fourteen kinds of parse rule, one row each, in the order of the registry's sets. A row has
/// all names in which kinds differ:
///
///     attribute   the number of the registry's attribute, from 0
///     keyName     the name of `Key`, by which the rule is announced
///     setName, `VOBGP_RULE_SET`
///                 the registry's set of such keys
///     `VOBGP_RULE_HOOKS`
///                 the hooks of observers and plug-ins for keys of the kind
///     Rule        the rule that is announced
///     SubRule     the base of the sub-rules that plug-ins file into it
///
/// and, except in the first row, whose rule dispatches on the type octet:
///
///     ruleName, subRuleName
///                 the names of `Rule` and `SubRule`
///     SubRuleKey  the enumeration of subtypes, under which sub-rules are filed
///     pktType     the type octet that selects the rule
///     Layout      what the rule builds if no sub-rule accepts a value
///     announced   whether the rule announces itself; yes by default
///
/// Spellings differ on purpose: `BgpParseExtComSubType...RuleBase` has one m.
namespace ExtCommRuleKind {

struct VOBGP_EXPORT Type : ExtCommRuleKindOf<Type> {
    static constexpr Mox::AttributeNumber attribute = 0;
    using Rule = BgpParseExtendedCommunityRule;
    using SubRule = ExtCommTypeRuleBase<ExtCommWidth::EightOctets>;
    static constexpr std::string_view keyName = "Routing::Bgp::BgpParseExtendedCommunityRuleKey";
    VOBGP_RULE_SET(extendedCommunityTypeRuleInstance, extendedCommunityTypeRuleInstanceIs,
                   extendedCommunityTypeRuleInstanceDel, extendedCommunityTypeRuleInstanceDelAll,
                   extendedCommunityTypeRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtendedCommunityTypeRuleInstance,
                     instantiateExtendedCommunityTypeSubRule, addExtendedCommunityTypeSubRule)
};

struct VOBGP_EXPORT TransTwoOctetAs : ExtCommSubtypeKind<TransTwoOctetAs> {
    static constexpr Mox::AttributeNumber attribute = 1;
    static constexpr auto pktType = extCommPktTypeTransTwoOctetAs;
    using SubRuleKey = BgpExtCommPktSubtypeTransTwoOctetAs;
    using Layout = ExtCommLayout::TwoOctetAs;
    static constexpr std::string_view ruleName = "Routing::Bgp::BgpParseExtCommTransTwoOctetAsRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeTransTwoOctetAsRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransTwoOctetAsRuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeTransTwoOctetAsRuleInstance,
                   extendedCommSubTypeTransTwoOctetAsRuleInstanceIs,
                   extendedCommSubTypeTransTwoOctetAsRuleInstanceDel,
                   extendedCommSubTypeTransTwoOctetAsRuleInstanceDelAll,
                   extendedCommSubTypeTransTwoOctetAsRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeTransTwoOctetAsRuleInstance,
                     instantiateExtCommSubTypeTransTwoOctetAsSubRule,
                     addExtCommSubTypeTransTwoOctetAsSubRule)
};

struct VOBGP_EXPORT TransIpv4Address : ExtCommSubtypeKind<TransIpv4Address> {
    static constexpr Mox::AttributeNumber attribute = 2;
    static constexpr auto pktType = extCommPktTypeTransIpv4Address;
    using SubRuleKey = BgpExtCommPktSubtypeTransIpv4Address;
    using Layout = ExtCommLayout::Ipv4Address;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtCommTransIpv4AddressRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeTransIpv4AddressRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransIpv4AddressRuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeTransIpv4AddressRuleInstance,
                   extendedCommSubTypeTransIpv4AddressRuleInstanceIs,
                   extendedCommSubTypeTransIpv4AddressRuleInstanceDel,
                   extendedCommSubTypeTransIpv4AddressRuleInstanceDelAll,
                   extendedCommSubTypeTransIpv4AddressRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeTransIpv4AddressRuleInstance,
                     instantiateExtCommSubTypeTransIpv4AddressSubRule,
                     addExtCommSubTypeTransIpv4AddressSubRule)
};

struct VOBGP_EXPORT TransFourOctetAs : ExtCommSubtypeKind<TransFourOctetAs> {
    static constexpr Mox::AttributeNumber attribute = 3;
    static constexpr auto pktType = extCommPktTypeTransFourOctetAs;
    using SubRuleKey = BgpExtCommPktSubtypeTransFourOctetAs;
    using Layout = ExtCommLayout::FourOctetAs;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtCommTransFourOctetAsRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeTransFourOctetAsRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransFourOctetAsRuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeTransFourOctetAsRuleInstance,
                   extendedCommSubTypeTransFourOctetAsRuleInstanceIs,
                   extendedCommSubTypeTransFourOctetAsRuleInstanceDel,
                   extendedCommSubTypeTransFourOctetAsRuleInstanceDelAll,
                   extendedCommSubTypeTransFourOctetAsRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeTransFourOctetAsRuleInstance,
                     instantiateExtCommSubTypeTransFourOctetAsSubRule,
                     addExtCommSubTypeTransFourOctetAsSubRule)
};

struct VOBGP_EXPORT TransOpaque : ExtCommSubtypeKind<TransOpaque> {
    static constexpr Mox::AttributeNumber attribute = 4;
    static constexpr auto pktType = extCommPktTypeTransOpaque;
    using SubRuleKey = BgpExtCommPktSubtypeTransOpaque;
    using Layout = ExtCommLayout::Subtyped;
    static constexpr std::string_view ruleName = "Routing::Bgp::BgpParseExtCommTransOpaqueRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeTransOpaqueRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransOpaqueRuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeTransOpaqueRuleInstance,
                   extendedCommSubTypeTransOpaqueRuleInstanceIs,
                   extendedCommSubTypeTransOpaqueRuleInstanceDel,
                   extendedCommSubTypeTransOpaqueRuleInstanceDelAll,
                   extendedCommSubTypeTransOpaqueRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeTransOpaqueRuleInstance,
                     instantiateExtCommSubTypeTransOpaqueSubRule,
                     addExtCommSubTypeTransOpaqueSubRule)
};

struct VOBGP_EXPORT TransGeneric : ExtCommSubtypeKind<TransGeneric> {
    static constexpr Mox::AttributeNumber attribute = 5;
    static constexpr auto pktType = extCommPktTypeTransGeneric;
    using SubRuleKey = BgpExtCommPktSubtypeTransGeneric;
    using Layout = ExtCommLayout::Subtyped;
    static constexpr std::string_view ruleName = "Routing::Bgp::BgpParseExtCommTransGenericRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeTransGenericRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransGenericRuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeTransGenericRuleInstance,
                   extendedCommSubTypeTransGenericRuleInstanceIs,
                   extendedCommSubTypeTransGenericRuleInstanceDel,
                   extendedCommSubTypeTransGenericRuleInstanceDelAll,
                   extendedCommSubTypeTransGenericRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeTransGenericRuleInstance,
                     instantiateExtCommSubTypeTransGenericSubRule,
                     addExtCommSubTypeTransGenericSubRule)
};

struct VOBGP_EXPORT TransGenericPart2 : ExtCommSubtypeKind<TransGenericPart2> {
    static constexpr Mox::AttributeNumber attribute = 6;
    static constexpr auto pktType = extCommPktTypeTransGenericPart2;
    using SubRuleKey = BgpExtCommPktSubtypeTransGenericPart2;
    using Layout = ExtCommLayout::Subtyped;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtCommTransGenericPart2Rule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeTransGenericPart2RuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransGenericPart2RuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeTransGenericPart2RuleInstance,
                   extendedCommSubTypeTransGenericPart2RuleInstanceIs,
                   extendedCommSubTypeTransGenericPart2RuleInstanceDel,
                   extendedCommSubTypeTransGenericPart2RuleInstanceDelAll,
                   extendedCommSubTypeTransGenericPart2RuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeTransGenericPart2RuleInstance,
                     instantiateExtCommSubTypeTransGenericPart2SubRule,
                     addExtCommSubTypeTransGenericPart2SubRule)
};

struct VOBGP_EXPORT TransGenericPart3 : ExtCommSubtypeKind<TransGenericPart3> {
    static constexpr Mox::AttributeNumber attribute = 7;
    static constexpr auto pktType = extCommPktTypeTransGenericPart3;
    using SubRuleKey = BgpExtCommPktSubtypeTransGenericPart3;
    using Layout = ExtCommLayout::Subtyped;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtCommTransGenericPart3Rule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeTransGenericPart3RuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransGenericPart3RuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeTransGenericPart3RuleInstance,
                   extendedCommSubTypeTransGenericPart3RuleInstanceIs,
                   extendedCommSubTypeTransGenericPart3RuleInstanceDel,
                   extendedCommSubTypeTransGenericPart3RuleInstanceDelAll,
                   extendedCommSubTypeTransGenericPart3RuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeTransGenericPart3RuleInstance,
                     instantiateExtCommSubTypeTransGenericPart3SubRule,
                     addExtCommSubTypeTransGenericPart3SubRule)
};

struct VOBGP_EXPORT NonTransTwoOctetAs : ExtCommSubtypeKind<NonTransTwoOctetAs> {
    static constexpr Mox::AttributeNumber attribute = 8;
    static constexpr auto pktType = extCommPktTypeNonTransTwoOctetAs;
    using SubRuleKey = BgpExtCommPktSubtypeNonTransTwoOctetAs;
    using Layout = ExtCommLayout::TwoOctetAs;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtCommNonTransTwoOctetAsRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeNonTransTwoOctetAsRuleInstance,
                   extendedCommSubTypeNonTransTwoOctetAsRuleInstanceIs,
                   extendedCommSubTypeNonTransTwoOctetAsRuleInstanceDel,
                   extendedCommSubTypeNonTransTwoOctetAsRuleInstanceDelAll,
                   extendedCommSubTypeNonTransTwoOctetAsRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeNonTransTwoOctetAsRuleInstance,
                     instantiateExtCommSubTypeNonTransTwoOctetAsSubRule,
                     addExtCommSubTypeNonTransTwoOctetAsSubRule)
};

struct VOBGP_EXPORT NonTransIpv4Address : ExtCommSubtypeKind<NonTransIpv4Address> {
    static constexpr Mox::AttributeNumber attribute = 9;
    static constexpr auto pktType = extCommPktTypeNonTransIpv4Address;
    using SubRuleKey = BgpExtCommPktSubtypeNonTransIpv4Address;
    using Layout = ExtCommLayout::Ipv4Address;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtCommNonTransIpv4AddressRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeNonTransIpv4AddressRuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeNonTransIpv4AddressRuleInstance,
                   extendedCommSubTypeNonTransIpv4AddressRuleInstanceIs,
                   extendedCommSubTypeNonTransIpv4AddressRuleInstanceDel,
                   extendedCommSubTypeNonTransIpv4AddressRuleInstanceDelAll,
                   extendedCommSubTypeNonTransIpv4AddressRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeNonTransIpv4AddressRuleInstance,
                     instantiateExtCommSubTypeNonTransIpv4AddressSubRule,
                     addExtCommSubTypeNonTransIpv4AddressSubRule)
};

struct VOBGP_EXPORT NonTransFourOctetAs : ExtCommSubtypeKind<NonTransFourOctetAs> {
    static constexpr Mox::AttributeNumber attribute = 10;
    static constexpr auto pktType = extCommPktTypeNonTransFourOctetAs;
    using SubRuleKey = BgpExtCommPktSubtypeNonTransFourOctetAs;
    using Layout = ExtCommLayout::FourOctetAs;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtCommNonTransFourOctetAsRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeNonTransFourOctetAsRuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeNonTransFourOctetAsRuleInstance,
                   extendedCommSubTypeNonTransFourOctetAsRuleInstanceIs,
                   extendedCommSubTypeNonTransFourOctetAsRuleInstanceDel,
                   extendedCommSubTypeNonTransFourOctetAsRuleInstanceDelAll,
                   extendedCommSubTypeNonTransFourOctetAsRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeNonTransFourOctetAsRuleInstance,
                     instantiateExtCommSubTypeNonTransFourOctetAsSubRule,
                     addExtCommSubTypeNonTransFourOctetAsSubRule)
};

struct VOBGP_EXPORT NonTransOpaque : ExtCommSubtypeKind<NonTransOpaque> {
    static constexpr Mox::AttributeNumber attribute = 11;
    static constexpr auto pktType = extCommPktTypeNonTransOpaque;
    using SubRuleKey = BgpExtCommPktSubtypeNonTransOpaque;
    using Layout = ExtCommLayout::Subtyped;
    static constexpr std::string_view ruleName = "Routing::Bgp::BgpParseExtCommNonTransOpaqueRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommSubTypeNonTransOpaqueRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtComSubTypeNonTransOpaqueRuleBase";
    VOBGP_RULE_SET(extendedCommSubTypeNonTransOpaqueRuleInstance,
                   extendedCommSubTypeNonTransOpaqueRuleInstanceIs,
                   extendedCommSubTypeNonTransOpaqueRuleInstanceDel,
                   extendedCommSubTypeNonTransOpaqueRuleInstanceDelAll,
                   extendedCommSubTypeNonTransOpaqueRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommSubTypeNonTransOpaqueRuleInstance,
                     instantiateExtCommSubTypeNonTransOpaqueSubRule,
                     addExtCommSubTypeNonTransOpaqueSubRule)
};

struct VOBGP_EXPORT Ip6Trans : ExtCommSubtypeKind<Ip6Trans> {
    static constexpr Mox::AttributeNumber attribute = 12;
    static constexpr auto pktType = extCommIp6PktTypeTransIpv6Address;
    using SubRuleKey = BgpExtCommIp6PktSubtypeTransIpv6Address;
    using Layout = ExtCommLayout::Ip6Subtyped;
    static constexpr std::string_view ruleName = "Routing::Bgp::BgpParseExtCommIp6TransRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommIp6SubTypeTransRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtCommIp6SubTypeTransRuleBase";
    VOBGP_RULE_SET(extendedCommIp6SubTypeTransRuleInstance,
                   extendedCommIp6SubTypeTransRuleInstanceIs,
                   extendedCommIp6SubTypeTransRuleInstanceDel,
                   extendedCommIp6SubTypeTransRuleInstanceDelAll,
                   extendedCommIp6SubTypeTransRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommIp6SubTypeTransRuleInstance,
                     instantiateExtCommIp6SubTypeTransSubRule, addExtCommIp6SubTypeTransSubRule)
};

struct VOBGP_EXPORT Ip6NonTrans : ExtCommSubtypeKind<Ip6NonTrans> {
    static constexpr Mox::AttributeNumber attribute = 13;
    static constexpr auto pktType = extCommIp6PktTypeNonTransIpv6Address;
    using SubRuleKey = BgpExtCommIp6PktSubtypeNonTransIpv6Address;
    using Layout = ExtCommLayout::Ip6Subtyped;
    static constexpr Announced announced = Announced::no;
    static constexpr std::string_view ruleName = "Routing::Bgp::BgpParseExtCommIp6NonTransRule";
    static constexpr std::string_view keyName =
        "Routing::Bgp::BgpParseExtCommIp6SubTypeNonTransRuleKey";
    static constexpr std::string_view subRuleName =
        "Routing::Bgp::BgpParseExtCommIp6SubTypeNonTransRuleBase";
    VOBGP_RULE_SET(extendedCommIp6SubTypeNonTransRuleInstance,
                   extendedCommIp6SubTypeNonTransRuleInstanceIs,
                   extendedCommIp6SubTypeNonTransRuleInstanceDel,
                   extendedCommIp6SubTypeNonTransRuleInstanceDelAll,
                   extendedCommIp6SubTypeNonTransRuleInstanceHas)
    VOBGP_RULE_HOOKS(handleExtCommIp6SubTypeNonTransRuleInstance,
                     instantiateExtCommIp6SubTypeNonTransSubRule,
                     addExtCommIp6SubTypeNonTransSubRule)
};
} // namespace ExtCommRuleKind

#undef VOBGP_RULE_SET
#undef VOBGP_RULE_HOOKS

/// Applies a macro to every kind of per-type rule, in the order of the rows.
#define VOBGP_EXT_COMM_SUBTYPE_KINDS(DO)                                                           \
    DO(TransTwoOctetAs)                                                                            \
    DO(TransIpv4Address)                                                                           \
    DO(TransFourOctetAs)                                                                           \
    DO(TransOpaque)                                                                                \
    DO(TransGeneric)                                                                               \
    DO(TransGenericPart2)                                                                          \
    DO(TransGenericPart3)                                                                          \
    DO(NonTransTwoOctetAs)                                                                         \
    DO(NonTransIpv4Address)                                                                        \
    DO(NonTransFourOctetAs)                                                                        \
    DO(NonTransOpaque)                                                                             \
    DO(Ip6Trans)                                                                                   \
    DO(Ip6NonTrans)

/// A list of rows, for code that handles all of them.
template <class... Rows>
struct ExtCommRowList {
    static constexpr std::size_t size = sizeof...(Rows);
    template <std::size_t index>
    using At = std::tuple_element_t<index, std::tuple<Rows...>>;

    template <template <class...> class Template>
    using Into = Template<Rows...>;

    /// Calls `visitor.operator()<Row>()` for each, in order.
    template <class Visitor>
    static constexpr void forEach(Visitor visitor) {
        (visitor.template operator()<Rows>(), ...);
    }
};

#define VOBGP_KIND_TAG(Kind) , ExtCommRuleKind::Kind
/// All kinds, in the order of the rows.
struct ExtCommRuleKinds
  : ExtCommRowList<ExtCommRuleKind::Type VOBGP_EXT_COMM_SUBTYPE_KINDS(VOBGP_KIND_TAG)> {};
#undef VOBGP_KIND_TAG

/// A chain of classes that derive from `Base`, one `Link` for each of the first `count` rows of a
/// list: the link of the first row derives from `Base`, each other link from the one before it.
template <class List, template <class Row, class Next> class Link, class Base,
          std::size_t count = List::size>
class VOBGP_EXPORT ExtCommChain
  : public Link<typename List::template At<count - 1>, ExtCommChain<List, Link, Base, count - 1>> {
    using Last =
        Link<typename List::template At<count - 1>, ExtCommChain<List, Link, Base, count - 1>>;

  public:
    using Last::Last;
};

template <class List, template <class Row, class Next> class Link, class Base>
class VOBGP_EXPORT ExtCommChain<List, Link, Base, 0> : public Base {
  public:
    using Base::Base;
};

static_assert(
    [] {
        Mox::AttributeNumber next = 0;
        bool inOrder = true;
        ExtCommRuleKinds::forEach([&]<class Kind>() { inOrder &= Kind::attribute == next++; });
        return inOrder;
    }(),
    "the rows must be in the order of their numbers");

} // namespace Routing::Bgp
