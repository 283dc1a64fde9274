#pragma once

#include <Mox/Enumeration.h>
#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/Type.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/Parse/ExtCommRuleCollections.h>
#include <VoBgp/Parse/ExtCommRuleKinds.h>
#include <VoBgp/VoBgpCommunity.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace Routing::Bgp {

/// Base of every parse rule: part of the tree that turns a value into the object that stands for
/// it.
///
/// A rule is owned by the rule above it, the topmost by the agent and its intern tables; it holds
/// its control and, by that, the registry. What it is a rule for never changes. Reactor thread, but
/// for parsing, which only reads.
class VOBGP_EXPORT BgpParseExtCommRuleBase : public Mox::PtrInterface {
  public:
    MOX_COUNTED(BgpParseExtCommRuleBase)

    ~BgpParseExtCommRuleBase() override;

    BgpParseExtCommControl const& parseControl() const noexcept { return parseControl_; }

  protected:
    explicit BgpParseExtCommRuleBase(BgpParseExtCommControl const& parseControl)
      : parseControl_(parseControl) {}

    /// The registry, to announce oneself in. A control names it as constant: whoever else holds a
    /// control only reads it. A control that names none is the caller's bug.
    BgpParseExtCommRuleCollections& ruleCollections() const noexcept;

    /// Announces the rule. An observer that throws leaves it unannounced: the rule will not come
    /// to be.
    template <class Kind>
    void announce(ExtCommRuleKey<Kind> key) {
        try {
            ruleCollections().keyIs(key);
        } catch (...) {
            ruleCollections().keyDel(key);
            throw;
        }
    }

    /// Runs a rule's handleDel() as its last reference goes. By the time an observer throws, the
    /// key has gone; and the release that brought this about never throws.
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
/// it. Else as its base.
template <class Width>
class VOBGP_EXPORT ExtCommTypeRuleBase : public BgpParseExtCommRuleBase {
  public:
    MOX_COUNTED(ExtCommTypeRuleBase)
    using PktType = typename Width::PktType;

    ~ExtCommTypeRuleBase() override = default;

    /// A new, not yet interned object, or null.
    virtual Mox::PtrConst<typename Width::Community>
    inhale(typename Width::Content const& content) const = 0;

    PktType pktType() const noexcept { return pktType_; }
    /// Under what a rule above files this one.
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

/// A rule for one subtype octet of a type: what a plug-in supplies. It builds an object for a
/// value, or declines it by null and leaves it to the per-type rule. Else as its base.
template <class Kind>
class VOBGP_EXPORT ExtCommSubRuleBase : public BgpParseExtCommRuleBase {
  public:
    MOX_COUNTED(ExtCommSubRuleBase)
    using PktSubType = typename Kind::SubRuleKey;
    using Width = typename Kind::Layout::Width;

    ~ExtCommSubRuleBase() override = default;

    /// A new, not yet interned object, or null.
    virtual Mox::PtrConst<typename Width::Community>
    inhale(typename Width::Content const& content) const = 0;

    PktSubType pktSubType() const noexcept { return pktSubType_; }
    /// Under what a rule above files this one.
    PktSubType filedUnder() const noexcept { return pktSubType_; }

  protected:
    ExtCommSubRuleBase(BgpParseExtCommControl const& parseControl, PktSubType pktSubType)
      : BgpParseExtCommRuleBase(parseControl)
      , pktSubType_(pktSubType) {}

  private:
    PktSubType const pktSubType_;
};

/// What a per-type rule builds when no sub-rule claims a value: a new object of the type's layout,
/// of unspecified classification.
namespace ExtCommLayout {

struct VOBGP_EXPORT TwoOctetAs {
    using Width = ExtCommWidth::EightOctets;
    static ExtComm::PtrConst build(ExtCommContent const& content);
};

struct VOBGP_EXPORT FourOctetAs {
    using Width = ExtCommWidth::EightOctets;
    static ExtComm::PtrConst build(ExtCommContent const& content);
};

struct VOBGP_EXPORT Ipv4Address {
    using Width = ExtCommWidth::EightOctets;
    static ExtComm::PtrConst build(ExtCommContent const& content);
};

struct VOBGP_EXPORT Subtyped {
    using Width = ExtCommWidth::EightOctets;
    static ExtComm::PtrConst build(ExtCommContent const& content);
};

struct VOBGP_EXPORT Ip6Subtyped {
    using Width = ExtCommWidth::TwentyOctets;
    static ExtCommIp6::PtrConst build(ExtCommIp6Content const& content);
};

} // namespace ExtCommLayout

/// The rules that a rule has below it, each under its own type or subtype: a few of them, in one
/// packed array in their order.
///
/// It holds the rules. Any number can be filed; only a member that the wire may carry is ever asked
/// for. Thread-compatible.
template <class Rule>
class ExtCommRuleMap {
  public:
    using RulePtr = Mox::PtrConst<Rule>;
    using Key = decltype(std::declval<Rule const&>().filedUnder());

    std::size_t size() const noexcept { return entries_.size(); }

    /// The rule filed there, or null.
    RulePtr get(Key key) const noexcept {
        auto const place = lowerBound(entries_, key);
        return place != entries_.end() && place->key == key ? place->rule : RulePtr();
    }

    /// Files a rule under its own key, in place of the one that is there: the last one wins.
    void is(RulePtr rule) {
        auto const key = rule->filedUnder();
        auto const place = lowerBound(entries_, key);
        if (place != entries_.end() && place->key == key) {
            // The old one goes last, with `rule`: its destructor may come back to this map.
            place->rule.swap(rule);
        } else {
            entries_.insert(place, Entry{key, std::move(rule)});
        }
    }

    /// Removes the rule filed there and returns it, or null.
    RulePtr del(Key key) noexcept {
        RulePtr removed;
        auto const place = lowerBound(entries_, key);
        if (place != entries_.end() && place->key == key) {
            removed.swap(place->rule);
            entries_.erase(place);
        }
        return removed;
    }

    void delAll() noexcept { auto const removed = std::exchange(entries_, {}); }

    /// What the rule for an octet makes of a content; null if it declines or there is none.
    template <class Content>
    auto inhale(U8 octet, Content const& content) const {
        using Result = decltype(std::declval<Rule const&>().inhale(content));
        auto const key = static_cast<Key>(octet);
        if (!bgpIsValidEnumMember(key)) {
            return Result();
        }
        // A reference of its own: the rule may be replaced while it is at it.
        auto const rule = get(key);
        return rule ? rule->inhale(content) : Result();
    }

  private:
    /// The key beside the rule: a look-up touches no rule but the one it finds.
    struct Entry {
        Key key;
        RulePtr rule;
    };

    template <class Entries>
    static auto lowerBound(Entries& entries, Key key) noexcept {
        return std::lower_bound(entries.begin(), entries.end(), key,
                                [](Entry const& each, Key wanted) { return each.key < wanted; });
    }

    std::vector<Entry> entries_;
};

/// The rule for one type octet: asks the sub-rule for the value's subtype octet, and builds an
/// object of the type's layout if there is none or it declines.
///
/// It announces itself to the plug-ins when it is made, and takes that back when it goes; both tell
/// every observer of the registry. Else as its base.
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

    /// A new, not yet interned object; never null.
    Mox::PtrConst<typename Width::Community>
    inhale(typename Width::Content const& content) const override;

    /// The sub-rule for a subtype, or null.
    Mox::PtrConst<SubRule> subTypeRule(SubRuleKey subtype) const noexcept {
        return subTypeRule_.get(subtype);
    }

    bool subTypeRuleHas(SubRuleKey subtype) const noexcept {
        return subTypeRule(subtype) != nullptr;
    }

    std::size_t subTypeRules() const noexcept { return subTypeRule_.size(); }

    /// Files a sub-rule under its subtype, in place of the one that is there: the last one wins. A
    /// null one is a `Mox::NullMutatorArgumentException`.
    void subTypeRuleIs(Mox::PtrConst<SubRule> const& rule);

    /// Removes the sub-rule for a subtype and returns it, or null.
    Mox::PtrConst<SubRule> subTypeRuleDel(SubRuleKey subtype) noexcept {
        return subTypeRule_.del(subtype);
    }

    void subTypeRuleDelAll() noexcept { subTypeRule_.delAll(); }

    /// Announces the rule; run by the constructor. The rule of the non-transitive IPv6 type takes
    /// its key back instead: deliberately, no plug-in is asked for sub-rules for it. One that is
    /// filed directly is kept and never used, because no subtype of the type is in use
    /// (docs/decisions/ip6-non-transitive.md).
    void handleInitialized();

    /// Takes the announcement back. The plug-ins hear of that as of an announcement, and file one
    /// more sub-rule into the departing rule; that is harmless.
    void handleDel();

  private:
    void onZeroReferences() noexcept override { this->depart(*this); }

    ExtCommRuleMap<SubRule> subTypeRule_;
    Detail::LiveObject const live_{this, Kind::attribute};
};

#define VOBGP_NO_KIND(...)
#define VOBGP_KIND_CLASSES(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas,     \
                           handle, instantiate, add, SubRuleBase, ...)                             \
    using SubRuleBase = ExtCommSubRuleBase<ExtCommRuleKind::Tag>;                                  \
    using RuleClass = ExtCommPerTypeRule<ExtCommRuleKind::Tag>;                                    \
    extern template class ExtCommSubRuleBase<ExtCommRuleKind::Tag>;                                \
    extern template class ExtCommPerTypeRule<ExtCommRuleKind::Tag>;
VOBGP_EXT_COMM_RULE_KINDS(VOBGP_NO_KIND, VOBGP_KIND_CLASSES)
#undef VOBGP_KIND_CLASSES
#undef VOBGP_NO_KIND

/// The rule at the top: turns any extended community into the most specific object that the rules
/// below it know how to build.
///
/// It makes the rule of each type in the table of kinds, and has the plug-ins of its registry fill
/// them. Owned by the container and by the tables that parse by it. Reactor
/// thread, but for parsing, which only reads.
class VOBGP_EXPORT BgpParseExtendedCommunityRule : public BgpParseExtCommRuleBase {
  public:
    MOX_COUNTED(BgpParseExtendedCommunityRule)

    explicit BgpParseExtendedCommunityRule(BgpParseExtCommControl const& parseControl);
    ~BgpParseExtendedCommunityRule() override;

    /// A new, not yet interned object for any content; never null.
    ExtComm::PtrConst parseExtendedCommunity(ExtCommContent const& content) const;
    ExtCommIp6::PtrConst parseExtendedCommunityIp6(ExtCommIp6Content const& content) const;

    /// The text of a value, eight octets as one integer in host order, for show commands. Nothing
    /// is interned.
    String showString(U64 const& extCommVal, bool formatAsDot, bool ucmpLinkbwWeighted,
                      bool formatJson) const;

    // The rules of the types, each under its own type octet; the last one filed wins. Filing a null
    // one is a `Mox::NullMutatorArgumentException`; Del returns what it removed, or null.

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

    /// Makes and files the rules of the types, which announce themselves meanwhile, and announces
    /// this one last; run by the constructor.
    void handleInitialized();

    /// Takes the announcement back.
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
    Detail::LiveObject const live_{this, ExtCommRuleKind::Type::attribute};
};

/// A new rule with its notifications switched on. The control must name a registry.
VOBGP_EXPORT BgpParseExtendedCommunityRule::Ptr
bgpParseExtendedCommunityRuleFactory(BgpParseExtCommControl const& parseControl);

} // namespace Routing::Bgp
