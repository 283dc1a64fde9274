#pragma once

#include <Mox/Export.h>
#include <Mox/Hash.h>
#include <Mox/Notifiee.h>
#include <Mox/Ptr.h>
#include <Mox/SetAttribute.h>
#include <Mox/Type.h>
#include <Mox/ValueText.h>
#include <VoBgp/Parse/ExtCommRuleKinds.h>

#include <compare>
#include <cstddef>
#include <utility>

namespace Routing::Bgp {

namespace Detail {

/// Reads the text of a pointer, `0x` and hexadecimal digits. Throws a `Mox::RangeException` with
/// the attribute's name for any other text.
VOBGP_EXPORT void* readPointer(Mox::ValueReader& in, char const* attribute);

/// An entry in the process-wide list of live registries. Reading the text of a counted pointer
/// checks the address against this list. A member of the registry. Reactor thread.
class VOBGP_EXPORT LiveRegistry {
  public:
    explicit LiveRegistry(void const* registry);
    ~LiveRegistry();
    LiveRegistry(LiveRegistry const&) = delete;
    LiveRegistry& operator=(LiveRegistry const&) = delete;

  private:
    void const* registry_;
};

} // namespace Detail

/// The key by which a rule of one kind is announced: the rule's address.
///
/// The rule is not owned; it removes its key before it is destroyed. Ordered by address. Immutable
/// except for assignment. The text is that of a pointer, `0x` and hexadecimal digits; reading
/// another text throws a `Mox::RangeException` for "rule". A key that was read may name a rule that
/// is not there: compare it with keys of a registry before its rule is used.
template <class Kind>
class VOBGP_EXPORT ExtCommRuleKey {
  public:
    using Rule = typename Kind::Rule;

    constexpr ExtCommRuleKey() noexcept = default;

    constexpr explicit ExtCommRuleKey(Rule* rule) noexcept
      : rule_(rule) {}
    constexpr Rule* rule() const noexcept { return rule_; }
    U64 hash() const noexcept { return Mox::hashWord(reinterpret_cast<U64>(rule_)); }
    friend constexpr bool operator==(ExtCommRuleKey, ExtCommRuleKey) noexcept = default;

    friend constexpr std::strong_ordering operator<=>(ExtCommRuleKey a, ExtCommRuleKey b) noexcept {
        return std::compare_three_way()(a.rule_, b.rule_);
    }

    static Mox::Type const& staticType() noexcept;

  private:
    Rule* rule_ = nullptr;
};

using BgpParseExtendedCommunityRuleKey = ExtCommRuleKey<ExtCommRuleKind::Type>;
using BgpParseExtCommSubTypeTransTwoOctetAsRuleKey =
    ExtCommRuleKey<ExtCommRuleKind::TransTwoOctetAs>;
using BgpParseExtCommSubTypeTransIpv4AddressRuleKey =
    ExtCommRuleKey<ExtCommRuleKind::TransIpv4Address>;
using BgpParseExtCommSubTypeTransFourOctetAsRuleKey =
    ExtCommRuleKey<ExtCommRuleKind::TransFourOctetAs>;
using BgpParseExtCommSubTypeTransOpaqueRuleKey = ExtCommRuleKey<ExtCommRuleKind::TransOpaque>;
using BgpParseExtCommSubTypeTransGenericRuleKey = ExtCommRuleKey<ExtCommRuleKind::TransGeneric>;
using BgpParseExtCommSubTypeTransGenericPart2RuleKey =
    ExtCommRuleKey<ExtCommRuleKind::TransGenericPart2>;
using BgpParseExtCommSubTypeTransGenericPart3RuleKey =
    ExtCommRuleKey<ExtCommRuleKind::TransGenericPart3>;
using BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey =
    ExtCommRuleKey<ExtCommRuleKind::NonTransTwoOctetAs>;
using BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey =
    ExtCommRuleKey<ExtCommRuleKind::NonTransIpv4Address>;
using BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey =
    ExtCommRuleKey<ExtCommRuleKind::NonTransFourOctetAs>;
using BgpParseExtCommSubTypeNonTransOpaqueRuleKey = ExtCommRuleKey<ExtCommRuleKind::NonTransOpaque>;
using BgpParseExtCommIp6SubTypeTransRuleKey = ExtCommRuleKey<ExtCommRuleKind::Ip6Trans>;
using BgpParseExtCommIp6SubTypeNonTransRuleKey = ExtCommRuleKey<ExtCommRuleKind::Ip6NonTrans>;

extern template class ExtCommRuleKey<ExtCommRuleKind::Type>;
#define VOBGP_RULE_KEY(Kind) extern template class ExtCommRuleKey<ExtCommRuleKind::Kind>;
VOBGP_EXT_COMM_SUBTYPE_KINDS(VOBGP_RULE_KEY)
#undef VOBGP_RULE_KEY

} // namespace Routing::Bgp

template <class Kind>
struct Mox::ValueText<Routing::Bgp::ExtCommRuleKey<Kind>> {
    using Key = Routing::Bgp::ExtCommRuleKey<Kind>;

    static void write(CharBuffer& out, Key key) { writePointer(out, key.rule()); }

    static Key read(ValueReader& in) {
        return Key(static_cast<typename Key::Rule*>(Routing::Bgp::Detail::readPointer(in, "rule")));
    }
};

namespace Routing::Bgp {

namespace Detail {

/// The set of a registry that holds the keys of one kind.
template <class Kind>
class ExtCommRuleKeySet {
  public:
    using Key = ExtCommRuleKey<Kind>;

    explicit ExtCommRuleKeySet(Mox::PtrInterface const& registry) noexcept
      : keys_(registry, Kind::attribute) {}

    Mox::SetAttribute<Key> const& keys() const noexcept { return keys_; }

    Key keyIs(Key key) {
        keys_.is(key);
        return key;
    }

    bool keyDel(Key key) { return keys_.del(key); }
    void keyDelAll() { keys_.delAll(); }

  private:
    Mox::SetAttribute<Key> keys_;
};

/// The sets of a registry, with the operations that the rows of the kinds name.
template <class... Kinds>
struct ExtCommRuleKeySets : Kinds::template NamedSet<ExtCommRuleKeySet<Kinds>>... {
    explicit ExtCommRuleKeySets(Mox::PtrInterface const& registry) noexcept
      : Kinds::template NamedSet<ExtCommRuleKeySet<Kinds>>(registry)... {}
};

template <class Kind, class Next>
using NotifieeHookOf = typename Kind::template NotifieeHook<Next>;

} // namespace Detail

/// The registry of the parse rules that take sub-rules: rules announce themselves here, and
/// plug-ins observe it.
///
/// Shared by the container, every rule and every plug-in. Holds keys only, one set for each kind,
/// so it keeps no rule and no observer alive. A notification does not say whether the key was added
/// or removed. Reactor thread.
///
/// The row of each kind names its set (`size()`, `forEach(visitor)`, in unspecified order; the
/// visitor may change the registry) and four operations:
///
///     setIs      adds a key and notifies the observers, unless it is present; returns the key
///     setDel     removes a key and notifies the observers; returns whether it was present
///     setDelAll  removes every key, one at a time through setDel
///     setHas     whether the key is present
class VOBGP_EXPORT BgpParseExtCommRuleCollections
  : public Mox::PtrInterface,
    public ExtCommRuleKinds::Into<Detail::ExtCommRuleKeySets> {
  public:
    MOX_COUNTED(BgpParseExtCommRuleCollections)

    /// An observer of a registry, with a hook for each set, which the row of the kind names. It is
    /// called with a key that was added or removed: the set's `Has` operation is true if it was
    /// added. Keeps its registry alive.
    class VOBGP_EXPORT Notifiee
      : public ExtCommChain<ExtCommRuleKinds, Detail::NotifieeHookOf,
                            Mox::NotifieeOf<BgpParseExtCommRuleCollections>> {
      public:
        Notifiee() noexcept = default;

        explicit Notifiee(BgpParseExtCommRuleCollections::PtrConst const& notifier) {
            notifierIs(notifier);
        }

      private:
        void handleChange(Mox::AttributeNumber attribute, void const* key) final;
    };

    BgpParseExtCommRuleCollections();
    ~BgpParseExtCommRuleCollections() override;

    // The operations on the set of a kind, for code that handles all kinds.

    template <class Kind>
    Mox::SetAttribute<ExtCommRuleKey<Kind>> const& keys() const noexcept {
        return static_cast<Detail::ExtCommRuleKeySet<Kind> const&>(*this).keys();
    }

    template <class Kind>
    ExtCommRuleKey<Kind> keyIs(ExtCommRuleKey<Kind> key) {
        return static_cast<Detail::ExtCommRuleKeySet<Kind>&>(*this).keyIs(key);
    }

    template <class Kind>
    bool keyDel(ExtCommRuleKey<Kind> key) {
        return static_cast<Detail::ExtCommRuleKeySet<Kind>&>(*this).keyDel(key);
    }

    template <class Kind>
    void keyDelAll() {
        static_cast<Detail::ExtCommRuleKeySet<Kind>&>(*this).keyDelAll();
    }

    Mox::NotifieeList* notifieeList() const noexcept override { return &notifieeList_; }

  private:
    mutable Mox::NotifieeList notifieeList_;
    Detail::LiveRegistry const live_{this};
};

/// Returns a new, empty registry with notifications enabled.
VOBGP_EXPORT BgpParseExtCommRuleCollections::Ptr bgpParseExtCommRuleCollectionsFactory();

/// A rule's reference to its registry.
///
/// Keeps the registry alive. Two references to the same registry are equal. Thread-compatible. The
/// text is that of a pointer; reading one that is neither null nor a live registry throws a
/// `Mox::RangeException` for "ruleCollections".
class VOBGP_EXPORT BgpParseExtCommControl {
  public:
    BgpParseExtCommControl() noexcept = default;

    explicit BgpParseExtCommControl(
        BgpParseExtCommRuleCollections::PtrConst ruleCollections) noexcept
      : ruleCollections_(std::move(ruleCollections)) {}

    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections() const noexcept {
        return ruleCollections_;
    }

    void ruleCollectionsIs(BgpParseExtCommRuleCollections::PtrConst ruleCollections) noexcept {
        ruleCollections_ = std::move(ruleCollections);
    }

    /// Whether it refers to no registry.
    bool operator!() const noexcept { return !ruleCollections_; }

    friend bool operator==(BgpParseExtCommControl const& a,
                           BgpParseExtCommControl const& b) noexcept {
        return a.ruleCollections_ == b.ruleCollections_;
    }

    static Mox::Type const& staticType() noexcept;

  private:
    BgpParseExtCommRuleCollections::PtrConst ruleCollections_;
};

} // namespace Routing::Bgp

template <>
struct VOBGP_EXPORT Mox::ValueText<Routing::Bgp::BgpParseExtCommControl> {
    static void write(CharBuffer& out, Routing::Bgp::BgpParseExtCommControl const& control);
    static Routing::Bgp::BgpParseExtCommControl read(ValueReader& in);
};
