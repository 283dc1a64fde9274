#pragma once

#include <Mox/Export.h>
#include <Mox/Notifiee.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <string_view>

/// The fourteen kinds of parse rule, one row each, in the order of the registry's sets. A row holds
/// every published name in which kinds differ, whole:
///
///     number      the registry's attribute, from 0; and the tag by which templates know the kind
///     Rule        the rule that is announced
///     Key         what announces it
///     set, setIs, setDel, setDelAll, setHas
///                 the registry's set of such keys, and what changes and asks it
///     handle      what a plug-in does with a key of the kind
///     instantiate the hook by which it builds its sub-rule
///     add         what files the sub-rule into the announced rule
///     SubRule     the base of such sub-rules
///     SubRuleKey  what they are keyed by
///
/// and, but for the rule of the first row, which dispatches on the type octet, what is a per-type
/// rule's own:
///
///     pktType     the type octet that selects it
///     Layout      what it builds when no sub-rule claims a value
///     announced   whether it announces itself
///
/// Spellings differ on purpose: `BgpParseExtComSubType...RuleBase` has one m.
// clang-format off
#define VOBGP_EXT_COMM_RULE_KINDS(TYPE, SUBTYPE) \
    TYPE(0, Type, \
         BgpParseExtendedCommunityRule, \
         BgpParseExtendedCommunityRuleKey, \
         extendedCommunityTypeRuleInstance, \
         extendedCommunityTypeRuleInstanceIs, \
         extendedCommunityTypeRuleInstanceDel, \
         extendedCommunityTypeRuleInstanceDelAll, \
         extendedCommunityTypeRuleInstanceHas, \
         handleExtendedCommunityTypeRuleInstance, \
         instantiateExtendedCommunityTypeSubRule, \
         addExtendedCommunityTypeSubRule, \
         BgpParseExtendedCommunityTypeRuleBase, \
         BgpExtCommPktType) \
    SUBTYPE(1, TransTwoOctetAs, \
            BgpParseExtCommTransTwoOctetAsRule, \
            BgpParseExtCommSubTypeTransTwoOctetAsRuleKey, \
            extendedCommSubTypeTransTwoOctetAsRuleInstance, \
            extendedCommSubTypeTransTwoOctetAsRuleInstanceIs, \
            extendedCommSubTypeTransTwoOctetAsRuleInstanceDel, \
            extendedCommSubTypeTransTwoOctetAsRuleInstanceDelAll, \
            extendedCommSubTypeTransTwoOctetAsRuleInstanceHas, \
            handleExtCommSubTypeTransTwoOctetAsRuleInstance, \
            instantiateExtCommSubTypeTransTwoOctetAsSubRule, \
            addExtCommSubTypeTransTwoOctetAsSubRule, \
            BgpParseExtComSubTypeTransTwoOctetAsRuleBase, \
            BgpExtCommPktSubtypeTransTwoOctetAs, \
            extCommPktTypeTransTwoOctetAs, \
            TwoOctetAs, \
            Announced::yes) \
    SUBTYPE(2, TransIpv4Address, \
            BgpParseExtCommTransIpv4AddressRule, \
            BgpParseExtCommSubTypeTransIpv4AddressRuleKey, \
            extendedCommSubTypeTransIpv4AddressRuleInstance, \
            extendedCommSubTypeTransIpv4AddressRuleInstanceIs, \
            extendedCommSubTypeTransIpv4AddressRuleInstanceDel, \
            extendedCommSubTypeTransIpv4AddressRuleInstanceDelAll, \
            extendedCommSubTypeTransIpv4AddressRuleInstanceHas, \
            handleExtCommSubTypeTransIpv4AddressRuleInstance, \
            instantiateExtCommSubTypeTransIpv4AddressSubRule, \
            addExtCommSubTypeTransIpv4AddressSubRule, \
            BgpParseExtComSubTypeTransIpv4AddressRuleBase, \
            BgpExtCommPktSubtypeTransIpv4Address, \
            extCommPktTypeTransIpv4Address, \
            Ipv4Address, \
            Announced::yes) \
    SUBTYPE(3, TransFourOctetAs, \
            BgpParseExtCommTransFourOctetAsRule, \
            BgpParseExtCommSubTypeTransFourOctetAsRuleKey, \
            extendedCommSubTypeTransFourOctetAsRuleInstance, \
            extendedCommSubTypeTransFourOctetAsRuleInstanceIs, \
            extendedCommSubTypeTransFourOctetAsRuleInstanceDel, \
            extendedCommSubTypeTransFourOctetAsRuleInstanceDelAll, \
            extendedCommSubTypeTransFourOctetAsRuleInstanceHas, \
            handleExtCommSubTypeTransFourOctetAsRuleInstance, \
            instantiateExtCommSubTypeTransFourOctetAsSubRule, \
            addExtCommSubTypeTransFourOctetAsSubRule, \
            BgpParseExtComSubTypeTransFourOctetAsRuleBase, \
            BgpExtCommPktSubtypeTransFourOctetAs, \
            extCommPktTypeTransFourOctetAs, \
            FourOctetAs, \
            Announced::yes) \
    SUBTYPE(4, TransOpaque, \
            BgpParseExtCommTransOpaqueRule, \
            BgpParseExtCommSubTypeTransOpaqueRuleKey, \
            extendedCommSubTypeTransOpaqueRuleInstance, \
            extendedCommSubTypeTransOpaqueRuleInstanceIs, \
            extendedCommSubTypeTransOpaqueRuleInstanceDel, \
            extendedCommSubTypeTransOpaqueRuleInstanceDelAll, \
            extendedCommSubTypeTransOpaqueRuleInstanceHas, \
            handleExtCommSubTypeTransOpaqueRuleInstance, \
            instantiateExtCommSubTypeTransOpaqueSubRule, \
            addExtCommSubTypeTransOpaqueSubRule, \
            BgpParseExtComSubTypeTransOpaqueRuleBase, \
            BgpExtCommPktSubtypeTransOpaque, \
            extCommPktTypeTransOpaque, \
            Subtyped, \
            Announced::yes) \
    SUBTYPE(5, TransGeneric, \
            BgpParseExtCommTransGenericRule, \
            BgpParseExtCommSubTypeTransGenericRuleKey, \
            extendedCommSubTypeTransGenericRuleInstance, \
            extendedCommSubTypeTransGenericRuleInstanceIs, \
            extendedCommSubTypeTransGenericRuleInstanceDel, \
            extendedCommSubTypeTransGenericRuleInstanceDelAll, \
            extendedCommSubTypeTransGenericRuleInstanceHas, \
            handleExtCommSubTypeTransGenericRuleInstance, \
            instantiateExtCommSubTypeTransGenericSubRule, \
            addExtCommSubTypeTransGenericSubRule, \
            BgpParseExtComSubTypeTransGenericRuleBase, \
            BgpExtCommPktSubtypeTransGeneric, \
            extCommPktTypeTransGeneric, \
            Subtyped, \
            Announced::yes) \
    SUBTYPE(6, TransGenericPart2, \
            BgpParseExtCommTransGenericPart2Rule, \
            BgpParseExtCommSubTypeTransGenericPart2RuleKey, \
            extendedCommSubTypeTransGenericPart2RuleInstance, \
            extendedCommSubTypeTransGenericPart2RuleInstanceIs, \
            extendedCommSubTypeTransGenericPart2RuleInstanceDel, \
            extendedCommSubTypeTransGenericPart2RuleInstanceDelAll, \
            extendedCommSubTypeTransGenericPart2RuleInstanceHas, \
            handleExtCommSubTypeTransGenericPart2RuleInstance, \
            instantiateExtCommSubTypeTransGenericPart2SubRule, \
            addExtCommSubTypeTransGenericPart2SubRule, \
            BgpParseExtComSubTypeTransGenericPart2RuleBase, \
            BgpExtCommPktSubtypeTransGenericPart2, \
            extCommPktTypeTransGenericPart2, \
            Subtyped, \
            Announced::yes) \
    SUBTYPE(7, TransGenericPart3, \
            BgpParseExtCommTransGenericPart3Rule, \
            BgpParseExtCommSubTypeTransGenericPart3RuleKey, \
            extendedCommSubTypeTransGenericPart3RuleInstance, \
            extendedCommSubTypeTransGenericPart3RuleInstanceIs, \
            extendedCommSubTypeTransGenericPart3RuleInstanceDel, \
            extendedCommSubTypeTransGenericPart3RuleInstanceDelAll, \
            extendedCommSubTypeTransGenericPart3RuleInstanceHas, \
            handleExtCommSubTypeTransGenericPart3RuleInstance, \
            instantiateExtCommSubTypeTransGenericPart3SubRule, \
            addExtCommSubTypeTransGenericPart3SubRule, \
            BgpParseExtComSubTypeTransGenericPart3RuleBase, \
            BgpExtCommPktSubtypeTransGenericPart3, \
            extCommPktTypeTransGenericPart3, \
            Subtyped, \
            Announced::yes) \
    SUBTYPE(8, NonTransTwoOctetAs, \
            BgpParseExtCommNonTransTwoOctetAsRule, \
            BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey, \
            extendedCommSubTypeNonTransTwoOctetAsRuleInstance, \
            extendedCommSubTypeNonTransTwoOctetAsRuleInstanceIs, \
            extendedCommSubTypeNonTransTwoOctetAsRuleInstanceDel, \
            extendedCommSubTypeNonTransTwoOctetAsRuleInstanceDelAll, \
            extendedCommSubTypeNonTransTwoOctetAsRuleInstanceHas, \
            handleExtCommSubTypeNonTransTwoOctetAsRuleInstance, \
            instantiateExtCommSubTypeNonTransTwoOctetAsSubRule, \
            addExtCommSubTypeNonTransTwoOctetAsSubRule, \
            BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase, \
            BgpExtCommPktSubtypeNonTransTwoOctetAs, \
            extCommPktTypeNonTransTwoOctetAs, \
            TwoOctetAs, \
            Announced::yes) \
    SUBTYPE(9, NonTransIpv4Address, \
            BgpParseExtCommNonTransIpv4AddressRule, \
            BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey, \
            extendedCommSubTypeNonTransIpv4AddressRuleInstance, \
            extendedCommSubTypeNonTransIpv4AddressRuleInstanceIs, \
            extendedCommSubTypeNonTransIpv4AddressRuleInstanceDel, \
            extendedCommSubTypeNonTransIpv4AddressRuleInstanceDelAll, \
            extendedCommSubTypeNonTransIpv4AddressRuleInstanceHas, \
            handleExtCommSubTypeNonTransIpv4AddressRuleInstance, \
            instantiateExtCommSubTypeNonTransIpv4AddressSubRule, \
            addExtCommSubTypeNonTransIpv4AddressSubRule, \
            BgpParseExtComSubTypeNonTransIpv4AddressRuleBase, \
            BgpExtCommPktSubtypeNonTransIpv4Address, \
            extCommPktTypeNonTransIpv4Address, \
            Ipv4Address, \
            Announced::yes) \
    SUBTYPE(10, NonTransFourOctetAs, \
            BgpParseExtCommNonTransFourOctetAsRule, \
            BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey, \
            extendedCommSubTypeNonTransFourOctetAsRuleInstance, \
            extendedCommSubTypeNonTransFourOctetAsRuleInstanceIs, \
            extendedCommSubTypeNonTransFourOctetAsRuleInstanceDel, \
            extendedCommSubTypeNonTransFourOctetAsRuleInstanceDelAll, \
            extendedCommSubTypeNonTransFourOctetAsRuleInstanceHas, \
            handleExtCommSubTypeNonTransFourOctetAsRuleInstance, \
            instantiateExtCommSubTypeNonTransFourOctetAsSubRule, \
            addExtCommSubTypeNonTransFourOctetAsSubRule, \
            BgpParseExtComSubTypeNonTransFourOctetAsRuleBase, \
            BgpExtCommPktSubtypeNonTransFourOctetAs, \
            extCommPktTypeNonTransFourOctetAs, \
            FourOctetAs, \
            Announced::yes) \
    SUBTYPE(11, NonTransOpaque, \
            BgpParseExtCommNonTransOpaqueRule, \
            BgpParseExtCommSubTypeNonTransOpaqueRuleKey, \
            extendedCommSubTypeNonTransOpaqueRuleInstance, \
            extendedCommSubTypeNonTransOpaqueRuleInstanceIs, \
            extendedCommSubTypeNonTransOpaqueRuleInstanceDel, \
            extendedCommSubTypeNonTransOpaqueRuleInstanceDelAll, \
            extendedCommSubTypeNonTransOpaqueRuleInstanceHas, \
            handleExtCommSubTypeNonTransOpaqueRuleInstance, \
            instantiateExtCommSubTypeNonTransOpaqueSubRule, \
            addExtCommSubTypeNonTransOpaqueSubRule, \
            BgpParseExtComSubTypeNonTransOpaqueRuleBase, \
            BgpExtCommPktSubtypeNonTransOpaque, \
            extCommPktTypeNonTransOpaque, \
            Subtyped, \
            Announced::yes) \
    SUBTYPE(12, Ip6Trans, \
            BgpParseExtCommIp6TransRule, \
            BgpParseExtCommIp6SubTypeTransRuleKey, \
            extendedCommIp6SubTypeTransRuleInstance, \
            extendedCommIp6SubTypeTransRuleInstanceIs, \
            extendedCommIp6SubTypeTransRuleInstanceDel, \
            extendedCommIp6SubTypeTransRuleInstanceDelAll, \
            extendedCommIp6SubTypeTransRuleInstanceHas, \
            handleExtCommIp6SubTypeTransRuleInstance, \
            instantiateExtCommIp6SubTypeTransSubRule, \
            addExtCommIp6SubTypeTransSubRule, \
            BgpParseExtCommIp6SubTypeTransRuleBase, \
            BgpExtCommIp6PktSubtypeTransIpv6Address, \
            extCommIp6PktTypeTransIpv6Address, \
            Ip6Subtyped, \
            Announced::yes) \
    SUBTYPE(13, Ip6NonTrans, \
            BgpParseExtCommIp6NonTransRule, \
            BgpParseExtCommIp6SubTypeNonTransRuleKey, \
            extendedCommIp6SubTypeNonTransRuleInstance, \
            extendedCommIp6SubTypeNonTransRuleInstanceIs, \
            extendedCommIp6SubTypeNonTransRuleInstanceDel, \
            extendedCommIp6SubTypeNonTransRuleInstanceDelAll, \
            extendedCommIp6SubTypeNonTransRuleInstanceHas, \
            handleExtCommIp6SubTypeNonTransRuleInstance, \
            instantiateExtCommIp6SubTypeNonTransSubRule, \
            addExtCommIp6SubTypeNonTransSubRule, \
            BgpParseExtCommIp6SubTypeNonTransRuleBase, \
            BgpExtCommIp6PktSubtypeNonTransIpv6Address, \
            extCommIp6PktTypeNonTransIpv6Address, \
            Ip6Subtyped, \
            Announced::no)
// clang-format on

namespace Routing::Bgp {

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

/// The two widths of a community: what is parsed, into what, by which type octet.
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

/// The tags of the kinds: the rows of the table as the templates read them.
namespace ExtCommRuleKind {

#define VOBGP_TYPE_KIND(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas,        \
                        handle, instantiate, add, SubRuleBase, Enumeration)                        \
    struct VOBGP_EXPORT Tag {                                                                      \
        static constexpr Mox::AttributeNumber attribute = number;                                  \
        static constexpr std::string_view setName = #set;                                          \
        static constexpr std::string_view keyName = "Routing::Bgp::" #Key;                         \
        using Rule = RuleClass;                                                                    \
        using SubRule = ExtCommTypeRuleBase<ExtCommWidth::EightOctets>;                            \
        using SubRuleKey = Enumeration;                                                            \
    };
#define VOBGP_SUBTYPE_KIND(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas,     \
                           handle, instantiate, add, SubRuleBase, Enumeration, selectedBy,         \
                           LayoutTag, announcedAs)                                                 \
    struct VOBGP_EXPORT Tag {                                                                      \
        static constexpr Mox::AttributeNumber attribute = number;                                  \
        static constexpr std::string_view setName = #set;                                          \
        static constexpr std::string_view keyName = "Routing::Bgp::" #Key;                         \
        static constexpr std::string_view ruleName = "Routing::Bgp::" #RuleClass;                  \
        static constexpr std::string_view subRuleName = "Routing::Bgp::" #SubRuleBase;             \
        static constexpr char const* nullSubRule = #RuleClass "::subTypeRuleIs";                   \
        static constexpr auto pktType = selectedBy;                                                \
        static constexpr Announced announced = announcedAs;                                        \
        using Rule = ExtCommPerTypeRule<Tag>;                                                      \
        using SubRule = ExtCommSubRuleBase<Tag>;                                                   \
        using SubRuleKey = Enumeration;                                                            \
        using Layout = ExtCommLayout::LayoutTag;                                                   \
    };

VOBGP_EXT_COMM_RULE_KINDS(VOBGP_TYPE_KIND, VOBGP_SUBTYPE_KIND)

#undef VOBGP_TYPE_KIND
#undef VOBGP_SUBTYPE_KIND

} // namespace ExtCommRuleKind

/// A list of kinds, for code that is written once for all of them.
template <class... Kinds>
struct ExtCommRuleKindList {
    template <template <class...> class Template>
    using Into = Template<Kinds...>;

    /// Calls `visitor.operator()<Kind>()` for each, in order.
    template <class Visitor>
    static constexpr void forEach(Visitor visitor) {
        (visitor.template operator()<Kinds>(), ...);
    }
};

namespace Detail {
// Each row brings a comma before it.
template <class Nothing, class... Kinds>
struct RuleKindsOfTable {
    using List = ExtCommRuleKindList<Kinds...>;
};
} // namespace Detail

#define VOBGP_KIND_TAG(number, Tag, ...) , ExtCommRuleKind::Tag
using ExtCommRuleKinds =
    Detail::RuleKindsOfTable<void VOBGP_EXT_COMM_RULE_KINDS(VOBGP_KIND_TAG, VOBGP_KIND_TAG)>::List;
#undef VOBGP_KIND_TAG

static_assert(
    [] {
        Mox::AttributeNumber next = 0;
        bool inOrder = true;
        ExtCommRuleKinds::forEach([&]<class Kind>() { inOrder &= Kind::attribute == next++; });
        return inOrder;
    }(),
    "the rows stand in the order of their numbers");

} // namespace Routing::Bgp
