#pragma once

#include <Mox/Enumeration.h>
#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/PtrInterface.h>
#include <Mox/Type.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/Parse/ExtCommRuleCollections.h>
#include <VoBgp/Parse/ExtCommRuleKinds.h>
#include <VoBgp/VoBgpCommunity.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace Routing::Bgp {

/// Base of every parse rule. The rules form a tree, which turns a value into an object.
///
/// Owned by the rule above it, or by the agent and its intern tables; holds its control, which
/// keeps the registry alive. Reactor thread, except for parsing, which only reads.
class VOBGP_EXPORT BgpParseExtCommRuleBase : public Mox::PtrInterface {
  public:
    MOX_COUNTED(BgpParseExtCommRuleBase)

    ~BgpParseExtCommRuleBase() override;

    BgpParseExtCommControl const& parseControl() const noexcept { return parseControl_; }

  protected:
    explicit BgpParseExtCommRuleBase(BgpParseExtCommControl const& parseControl)
      : parseControl_(parseControl) {}

    /// The registry, for announcing the rule. REQUIRES: the control refers to one (asserted).
    BgpParseExtCommRuleCollections& ruleCollections() const noexcept;

    /// Announces the rule. If an observer throws, the rule is not announced, and its construction
    /// fails.
    template <class Kind>
    void announce(ExtCommRuleKey<Kind> key) {
        try {
            ruleCollections().keyIs(key);
        } catch (...) {
            ruleCollections().keyDel(key);
            throw;
        }
    }

    /// Runs handleDel() when the last reference is released. Exceptions of observers are dropped: a
    /// release never throws, and the key has been removed by then.
    template <class Rule>
    static void depart(Rule& rule) noexcept {
        try {
            rule.handleDel();
        } catch (...) {
        }
    }

  private:
    BgpParseExtCommControl const parseControl_;
};

/// A rule for one type octet of communities of a width: builds an object for a value, or declines
/// it.
template <class Width>
class VOBGP_EXPORT ExtCommTypeRuleBase : public BgpParseExtCommRuleBase {
  public:
    MOX_COUNTED(ExtCommTypeRuleBase)
    using PktType = typename Width::PktType;

    ~ExtCommTypeRuleBase() override = default;

    /// Returns a new object, not interned, or null to decline the value.
    virtual Mox::PtrConst<typename Width::Community>
    inhale(typename Width::Content const& content) const = 0;

    PktType pktType() const noexcept { return pktType_; }
    /// The number that the parent rule files this one under.
    PktType filedUnder() const noexcept { return pktType_; }

  protected:
    ExtCommTypeRuleBase(BgpParseExtCommControl const& parseControl, PktType pktType)
      : BgpParseExtCommRuleBase(parseControl)
      , pktType_(pktType) {}

  private:
    PktType const pktType_;
};

using BgpParseExtendedCommunityTypeRuleBase = ExtCommTypeRuleBase<ExtCommWidth::EightOctets>;
using BgpParseExtendedCommunityIp6TypeRuleBase = ExtCommTypeRuleBase<ExtCommWidth::TwentyOctets>;
extern template class ExtCommTypeRuleBase<ExtCommWidth::EightOctets>;
extern template class ExtCommTypeRuleBase<ExtCommWidth::TwentyOctets>;

/// A rule for one subtype octet of a type, which a plug-in supplies. Builds an object for a value,
/// or declines it and leaves it to the per-type rule.
template <class Kind>
class VOBGP_EXPORT ExtCommSubRuleBase : public BgpParseExtCommRuleBase {
  public:
    MOX_COUNTED(ExtCommSubRuleBase)
    using PktSubType = typename Kind::SubRuleKey;
    using Width = typename Kind::Layout::Width;

    ~ExtCommSubRuleBase() override = default;

    /// Returns a new object, not interned, or null to decline the value.
    virtual Mox::PtrConst<typename Width::Community>
    inhale(typename Width::Content const& content) const = 0;

    PktSubType pktSubType() const noexcept { return pktSubType_; }
    /// What the rule above files this one under.
    PktSubType filedUnder() const noexcept { return pktSubType_; }

  protected:
    ExtCommSubRuleBase(BgpParseExtCommControl const& parseControl, PktSubType pktSubType)
      : BgpParseExtCommRuleBase(parseControl)
      , pktSubType_(pktSubType) {}

  private:
    PktSubType const pktSubType_;
};

/// The layout of a type's values: the class of the objects that are built if no sub-rule applies,
/// and the width of an AS number.
namespace ExtCommLayout {

struct TwoOctetAs {
    using Width = ExtCommWidth::EightOctets;
    using Community = ExtCommAsNumber;
    static constexpr bool fourByteAs = false;
};

struct FourOctetAs {
    using Width = ExtCommWidth::EightOctets;
    using Community = ExtCommAsNumber;
    static constexpr bool fourByteAs = true;
};

struct Ipv4Address {
    using Width = ExtCommWidth::EightOctets;
    using Community = ExtCommIpv4Address;
};

struct Subtyped {
    using Width = ExtCommWidth::EightOctets;
    using Community = ExtCommSubtyped;
};

struct Ip6Subtyped {
    using Width = ExtCommWidth::TwentyOctets;
    using Community = ExtCommIp6Subtyped;
};

/// Returns a new community with a content of that layout, with notifications enabled. The
/// constructor takes the classification (unless the class fixes it), the content, and the width of
/// the AS number (if the class has both).
template <class Layout, class Community, class... Classification>
Mox::Ptr<Community> build(typename Layout::Width::Content const& content,
                          Classification... classification) {
    using Content = typename Layout::Width::Content;
    if constexpr (std::is_constructible_v<Community, Classification..., Content const&>) {
        return Mox::makeActive<Community>(classification..., content);
    } else {
        return Mox::makeActive<Community>(classification..., content, Layout::fourByteAs);
    }
}

} // namespace ExtCommLayout

/// The rules below a rule, by type or subtype, in a sorted array.
///
/// Holds the rules. A rule can be filed under any number, but a parse asks only for members that
/// the wire may carry: it finds them by the octet. Thread-compatible.
template <class Rule>
class ExtCommRuleMap {
  public:
    using RulePtr = Mox::PtrConst<Rule>;
    using Key = decltype(std::declval<Rule const&>().filedUnder());

    std::size_t size() const noexcept { return entries_.size(); }

    /// Returns null if not found.
    RulePtr get(Key key) const noexcept {
        auto const place = lowerBound(entries_, key);
        return place != entries_.end() && place->key == key ? place->rule : RulePtr();
    }

    /// Files a rule under its own key; replaces the current one.
    void is(RulePtr rule) {
        auto const key = rule->filedUnder();
        auto const place = lowerBound(entries_, key);
        if (place != entries_.end() && place->key == key) {
            parsesIs(key, rule.get());
            // The old rule is destroyed last, with `rule`: its destructor may change this map.
            place->rule.swap(rule);
        } else {
            parsesIs(key, entries_.insert(place, Entry{key, std::move(rule)})->rule.get());
        }
    }

    /// Removes the rule and returns it; null if not found.
    RulePtr del(Key key) noexcept {
        RulePtr removed;
        auto const place = lowerBound(entries_, key);
        if (place != entries_.end() && place->key == key) {
            parsesIs(key, nullptr);
            removed.swap(place->rule);
            entries_.erase(place);
        }
        return removed;
    }

    void delAll() noexcept {
        parses_ = {};
        auto const removed = std::exchange(entries_, {});
    }

    /// Parses a content by the rule for an octet. Returns null if the rule declines or is missing.
    template <class Content>
    auto inhale(U8 octet, Content const& content) const {
        auto const* const rule = parses_[octet];
        if (rule == nullptr) {
            return decltype(rule->inhale(content))();
        }
        // The rule may be replaced while it parses.
        Mox::ScopedHold const held(*rule);
        return rule->inhale(content);
    }

  private:
    /// The key is kept beside the rule, so that a look-up touches only the rule it finds.
    struct Entry {
        Key key;
        RulePtr rule;
    };

    template <class Entries>
    static auto lowerBound(Entries& entries, Key key) noexcept {
        return std::lower_bound(entries.begin(), entries.end(), key,
                                [](Entry const& each, Key wanted) { return each.key < wanted; });
    }

    /// Sets the rule that parses values with this octet, if the key is an octet that is valid on
    /// the wire.
    void parsesIs(Key key, Rule const* rule) noexcept {
        auto const octet = static_cast<U8>(key);
        if (static_cast<Key>(octet) == key && bgpIsValidEnumMember(key)) {
            parses_[octet] = rule;
        }
    }

    std::vector<Entry> entries_;
    /// The rule for each octet that is valid on the wire, or null.
    std::array<Rule const*, 256> parses_{};
};

/// The rule for one type octet: asks the sub-rule for the value's subtype octet, and builds an
/// object of the type's layout if the sub-rule is missing or declines.
///
/// Announces itself in the registry when it is constructed and removes its key when it is
/// destroyed; the observers of the registry are notified of both.
template <class Kind>
class VOBGP_EXPORT ExtCommPerTypeRule final
  : public ExtCommTypeRuleBase<typename Kind::Layout::Width> {
  public:
    MOX_COUNTED(ExtCommPerTypeRule)
    using Width = typename Kind::Layout::Width;
    using SubRule = typename Kind::SubRule;
    using SubRuleKey = typename Kind::SubRuleKey;

    explicit ExtCommPerTypeRule(BgpParseExtCommControl const& parseControl);
    ~ExtCommPerTypeRule() override;

    /// Returns a new object, not interned; never null.
    Mox::PtrConst<typename Width::Community>
    inhale(typename Width::Content const& content) const override;

    /// Returns null if not found.
    Mox::PtrConst<SubRule> subTypeRule(SubRuleKey subtype) const noexcept {
        return subTypeRule_.get(subtype);
    }

    bool subTypeRuleHas(SubRuleKey subtype) const noexcept {
        return subTypeRule(subtype) != nullptr;
    }

    std::size_t subTypeRules() const noexcept { return subTypeRule_.size(); }

    /// Files a sub-rule under its subtype; replaces the current one. Throws
    /// `Mox::NullMutatorArgumentException` for null.
    void subTypeRuleIs(Mox::PtrConst<SubRule> const& rule);

    /// Removes the sub-rule and returns it; null if not found.
    Mox::PtrConst<SubRule> subTypeRuleDel(SubRuleKey subtype) noexcept {
        return subTypeRule_.del(subtype);
    }

    void subTypeRuleDelAll() noexcept { subTypeRule_.delAll(); }

    /// Announces the rule; called by the constructor. The rule of the non-transitive IPv6 type
    /// removes its key instead, so that plug-ins are not asked for sub-rules for it
    /// (docs/decisions/ip6-non-transitive.md).
    void handleInitialized();

    /// Removes the rule's key. Plug-ins react as to an announcement and file another sub-rule into
    /// the rule, which is harmless.
    void handleDel();

  private:
    void onZeroReferences() noexcept override { this->depart(*this); }

    ExtCommRuleMap<SubRule> subTypeRule_;
};

using BgpParseExtCommTransTwoOctetAsRule = ExtCommPerTypeRule<ExtCommRuleKind::TransTwoOctetAs>;
using BgpParseExtCommTransIpv4AddressRule = ExtCommPerTypeRule<ExtCommRuleKind::TransIpv4Address>;
using BgpParseExtCommTransFourOctetAsRule = ExtCommPerTypeRule<ExtCommRuleKind::TransFourOctetAs>;
using BgpParseExtCommTransOpaqueRule = ExtCommPerTypeRule<ExtCommRuleKind::TransOpaque>;
using BgpParseExtCommTransGenericRule = ExtCommPerTypeRule<ExtCommRuleKind::TransGeneric>;
using BgpParseExtCommTransGenericPart2Rule = ExtCommPerTypeRule<ExtCommRuleKind::TransGenericPart2>;
using BgpParseExtCommTransGenericPart3Rule = ExtCommPerTypeRule<ExtCommRuleKind::TransGenericPart3>;
using BgpParseExtCommNonTransTwoOctetAsRule =
    ExtCommPerTypeRule<ExtCommRuleKind::NonTransTwoOctetAs>;
using BgpParseExtCommNonTransIpv4AddressRule =
    ExtCommPerTypeRule<ExtCommRuleKind::NonTransIpv4Address>;
using BgpParseExtCommNonTransFourOctetAsRule =
    ExtCommPerTypeRule<ExtCommRuleKind::NonTransFourOctetAs>;
using BgpParseExtCommNonTransOpaqueRule = ExtCommPerTypeRule<ExtCommRuleKind::NonTransOpaque>;
using BgpParseExtCommIp6TransRule = ExtCommPerTypeRule<ExtCommRuleKind::Ip6Trans>;
using BgpParseExtCommIp6NonTransRule = ExtCommPerTypeRule<ExtCommRuleKind::Ip6NonTrans>;

using BgpParseExtComSubTypeTransTwoOctetAsRuleBase =
    ExtCommSubRuleBase<ExtCommRuleKind::TransTwoOctetAs>;
using BgpParseExtComSubTypeTransIpv4AddressRuleBase =
    ExtCommSubRuleBase<ExtCommRuleKind::TransIpv4Address>;
using BgpParseExtComSubTypeTransFourOctetAsRuleBase =
    ExtCommSubRuleBase<ExtCommRuleKind::TransFourOctetAs>;
using BgpParseExtComSubTypeTransOpaqueRuleBase = ExtCommSubRuleBase<ExtCommRuleKind::TransOpaque>;
using BgpParseExtComSubTypeTransGenericRuleBase = ExtCommSubRuleBase<ExtCommRuleKind::TransGeneric>;
using BgpParseExtComSubTypeTransGenericPart2RuleBase =
    ExtCommSubRuleBase<ExtCommRuleKind::TransGenericPart2>;
using BgpParseExtComSubTypeTransGenericPart3RuleBase =
    ExtCommSubRuleBase<ExtCommRuleKind::TransGenericPart3>;
using BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase =
    ExtCommSubRuleBase<ExtCommRuleKind::NonTransTwoOctetAs>;
using BgpParseExtComSubTypeNonTransIpv4AddressRuleBase =
    ExtCommSubRuleBase<ExtCommRuleKind::NonTransIpv4Address>;
using BgpParseExtComSubTypeNonTransFourOctetAsRuleBase =
    ExtCommSubRuleBase<ExtCommRuleKind::NonTransFourOctetAs>;
using BgpParseExtComSubTypeNonTransOpaqueRuleBase =
    ExtCommSubRuleBase<ExtCommRuleKind::NonTransOpaque>;
using BgpParseExtCommIp6SubTypeTransRuleBase = ExtCommSubRuleBase<ExtCommRuleKind::Ip6Trans>;
using BgpParseExtCommIp6SubTypeNonTransRuleBase = ExtCommSubRuleBase<ExtCommRuleKind::Ip6NonTrans>;

#define VOBGP_KIND_CLASSES(Kind)                                                                   \
    extern template class ExtCommSubRuleBase<ExtCommRuleKind::Kind>;                               \
    extern template class ExtCommPerTypeRule<ExtCommRuleKind::Kind>;
VOBGP_EXT_COMM_SUBTYPE_KINDS(VOBGP_KIND_CLASSES)
#undef VOBGP_KIND_CLASSES

/// The top-level rule: turns any extended community into the most specific object that the rules
/// below it can build.
///
/// Creates the rule of each kind with a type octet; the plug-ins of its registry fill them. Owned
/// by the container and by the tables that parse with it. Reactor thread, except for parsing, which
/// only reads.
class VOBGP_EXPORT BgpParseExtendedCommunityRule : public BgpParseExtCommRuleBase {
  public:
    MOX_COUNTED(BgpParseExtendedCommunityRule)

    explicit BgpParseExtendedCommunityRule(BgpParseExtCommControl const& parseControl);
    ~BgpParseExtendedCommunityRule() override;

    /// Returns a new object for any content, not interned; never null.
    ExtComm::PtrConst parseExtendedCommunity(ExtCommContent const& content) const;
    ExtCommIp6::PtrConst parseExtendedCommunityIp6(ExtCommIp6Content const& content) const;

    /// The text of a value for show commands; `extCommVal` is the eight octets as one integer in
    /// host order. Nothing is interned.
    String showString(U64 const& extCommVal, bool formatAsDot, bool ucmpLinkbwWeighted,
                      bool formatJson) const;

    // The per-type rules by type octet. Filing a rule replaces the current one; null throws
    // `Mox::NullMutatorArgumentException`. Look-ups return null if not found; `Del` returns the
    // rule that it removed, or null.

    BgpParseExtendedCommunityTypeRuleBase::PtrConst
    typeRule(BgpExtCommPktType pktType) const noexcept {
        return typeRule_.get(pktType);
    }

    bool typeRuleHas(BgpExtCommPktType pktType) const noexcept {
        return typeRule(pktType) != nullptr;
    }

    std::size_t typeRules() const noexcept { return typeRule_.size(); }
    void typeRuleIs(BgpParseExtendedCommunityTypeRuleBase::PtrConst const& rule);

    BgpParseExtendedCommunityTypeRuleBase::PtrConst
    typeRuleDel(BgpExtCommPktType pktType) noexcept {
        return typeRule_.del(pktType);
    }

    void typeRuleDelAll() noexcept { typeRule_.delAll(); }

    BgpParseExtendedCommunityIp6TypeRuleBase::PtrConst
    ip6TypeRule(BgpExtCommIp6PktType pktType) const noexcept {
        return ip6TypeRule_.get(pktType);
    }

    bool ip6TypeRuleHas(BgpExtCommIp6PktType pktType) const noexcept {
        return ip6TypeRule(pktType) != nullptr;
    }

    std::size_t ip6TypeRules() const noexcept { return ip6TypeRule_.size(); }
    void ip6TypeRuleIs(BgpParseExtendedCommunityIp6TypeRuleBase::PtrConst const& rule);

    BgpParseExtendedCommunityIp6TypeRuleBase::PtrConst
    ip6TypeRuleDel(BgpExtCommIp6PktType pktType) noexcept {
        return ip6TypeRule_.del(pktType);
    }

    void ip6TypeRuleDelAll() noexcept { ip6TypeRule_.delAll(); }

    /// Creates and files the per-type rules, which announce themselves, then announces this one.
    /// Called by the constructor.
    void handleInitialized();

    /// Removes the rule's key from the registry.
    void handleDel();

  private:
    void onZeroReferences() noexcept override { depart(*this); }

    void fileTypeRule(BgpParseExtendedCommunityTypeRuleBase::PtrConst const& rule) {
        typeRuleIs(rule);
    }

    void fileTypeRule(BgpParseExtendedCommunityIp6TypeRuleBase::PtrConst const& rule) {
        ip6TypeRuleIs(rule);
    }

    ExtCommRuleMap<BgpParseExtendedCommunityTypeRuleBase> typeRule_;
    ExtCommRuleMap<BgpParseExtendedCommunityIp6TypeRuleBase> ip6TypeRule_;
};

/// Returns a new rule with notifications enabled. REQUIRES: the control refers to a registry
/// (asserted).
VOBGP_EXPORT BgpParseExtendedCommunityRule::Ptr
bgpParseExtendedCommunityRuleFactory(BgpParseExtCommControl const& parseControl);

} // namespace Routing::Bgp
