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

/// An entry in the process's list of the rules and registries that are alive, for as long as this
/// exists: what the text of a pointer may be read back as. A member of what it speaks for. Reactor
/// thread.
class VOBGP_EXPORT LiveObject {
  public:
    /// What kind of rule an object is: a kind's attribute number.
    using Kind = Mox::AttributeNumber;
    static constexpr Kind registry = ~Kind{0};

    LiveObject(void const* object, Kind kind);
    ~LiveObject();
    LiveObject(LiveObject const&) = delete;
    LiveObject& operator=(LiveObject const&) = delete;

    /// The text of a pointer: `0x` and its address in hexadecimal, as short as it goes; null is
    /// `0x0`.
    static void write(Mox::CharBuffer& out, void const* object);

    /// Reads that text. What is neither null nor the address of a living object of the kind is a
    /// `Mox::RangeException` whose text is the attribute's name.
    static void* read(Mox::ValueReader& in, Kind kind, char const* attribute);

  private:
    void const* object_;
};

} // namespace Detail

/// By what an instance of a rule of one kind is announced: its address.
///
/// It owns nothing and does not keep its rule alive; a rule removes its key before it goes. Ordered
/// by address. Immutable but for assignment. Its text is that of a pointer, `0x` and hexadecimal
/// digits; read back, it is null or a rule of the kind that is alive, and anything else is a
/// `Mox::RangeException` about "rule".
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

#define VOBGP_RULE_KEY(number, Tag, RuleClass, Key, ...)                                           \
    using Key = ExtCommRuleKey<ExtCommRuleKind::Tag>;                                              \
    extern template class ExtCommRuleKey<ExtCommRuleKind::Tag>;
VOBGP_EXT_COMM_RULE_KINDS(VOBGP_RULE_KEY, VOBGP_RULE_KEY)
#undef VOBGP_RULE_KEY

} // namespace Routing::Bgp

template <class Kind>
struct Mox::ValueText<Routing::Bgp::ExtCommRuleKey<Kind>> {
    using Key = Routing::Bgp::ExtCommRuleKey<Kind>;

    static void write(CharBuffer& out, Key key) {
        Routing::Bgp::Detail::LiveObject::write(out, key.rule());
    }

    static Key read(ValueReader& in) {
        return Key(static_cast<typename Key::Rule*>(
            Routing::Bgp::Detail::LiveObject::read(in, Kind::attribute, "rule")));
    }
};

namespace Routing::Bgp {

/// The registry of the parse rules that take sub-rules: where rules announce themselves, and where
/// plug-ins hear of them.
///
/// Owned by the container, every rule and every plug-in together. It holds keys only, one set for
/// each kind, and its observers by name only: it keeps nobody alive. Observers are told of every
/// key that comes or goes, and not which of the two. Reactor thread.
class VOBGP_EXPORT BgpParseExtCommRuleCollections : public Mox::PtrInterface {
  public:
    MOX_COUNTED(BgpParseExtCommRuleCollections)

    /// An observer of a registry, with one hook for each set. Owned by the agent; it keeps its
    /// registry alive.
    class VOBGP_EXPORT Notifiee : public Mox::Notifiee {
      public:
        Notifiee() noexcept = default;

        explicit Notifiee(BgpParseExtCommRuleCollections::PtrConst const& notifier) {
            notifierIs(notifier);
        }

        ~Notifiee() override;

        BgpParseExtCommRuleCollections::PtrConst const& notifier() const noexcept {
            return notifier_;
        }

        /// Observes that registry from now on, and no other; none if null.
        void notifierIs(BgpParseExtCommRuleCollections::PtrConst const& notifier);

        // The key came or went: the set's `Has` operation tells which.
#define VOBGP_NOTIFIEE_HOOK(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas,    \
                            handle, ...)                                                           \
    virtual void handle(Key const& /*key*/) {}
        VOBGP_EXT_COMM_RULE_KINDS(VOBGP_NOTIFIEE_HOOK, VOBGP_NOTIFIEE_HOOK)
#undef VOBGP_NOTIFIEE_HOOK

      private:
        void handleChange(Mox::AttributeNumber attribute, void const* key) final;

        BgpParseExtCommRuleCollections::PtrConst notifier_;
    };

    BgpParseExtCommRuleCollections();
    ~BgpParseExtCommRuleCollections() override;

    // For each kind its set (`size()`, `forEach(visitor)`, in unspecified order; the visitor may
    // change the registry), and:
    // setIs      adds a key and tells the observers, unless it is there already; returns the entry
    // setDel     removes a key and tells the observers; returns whether it was there
    // setDelAll  removes every key, one at a time through setDel
    // setHas     whether the key is there
#define VOBGP_RULE_SET(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas, ...)    \
    Mox::SetAttribute<Key> const& set() const noexcept {                                           \
        return keys<ExtCommRuleKind::Tag>();                                                       \
    }                                                                                              \
    Key setIs(Key const& key) {                                                                    \
        return keyIs(key);                                                                         \
    }                                                                                              \
    bool setDel(Key const& key) {                                                                  \
        return keyDel(key);                                                                        \
    }                                                                                              \
    void setDelAll() {                                                                             \
        keyDelAll<ExtCommRuleKind::Tag>();                                                         \
    }                                                                                              \
    bool setHas(Key const& key) const noexcept {                                                   \
        return keys<ExtCommRuleKind::Tag>().has(key);                                              \
    }
    VOBGP_EXT_COMM_RULE_KINDS(VOBGP_RULE_SET, VOBGP_RULE_SET)
#undef VOBGP_RULE_SET

    // The same by kind, for code that is written once for all of them.

    template <class Kind>
    Mox::SetAttribute<ExtCommRuleKey<Kind>> const& keys() const noexcept {
        return sets_;
    }

    template <class Kind>
    ExtCommRuleKey<Kind> keyIs(ExtCommRuleKey<Kind> key) {
        mutableKeys<Kind>().is(key);
        return key;
    }

    template <class Kind>
    bool keyDel(ExtCommRuleKey<Kind> key) {
        return mutableKeys<Kind>().del(key);
    }

    template <class Kind>
    void keyDelAll() {
        mutableKeys<Kind>().delAll();
    }

    Mox::NotifieeList* notifieeList() const noexcept override {
        return &notifieeList_;
    }

  private:
    /// The set of each kind is one of its bases.
    template <class... Kinds>
    struct Sets : Mox::SetAttribute<ExtCommRuleKey<Kinds>>... {
        explicit Sets(PtrInterface const& owner) noexcept
          : Mox::SetAttribute<ExtCommRuleKey<Kinds>>(owner, Kinds::attribute)... {}
    };

    template <class Kind>
    Mox::SetAttribute<ExtCommRuleKey<Kind>>& mutableKeys() noexcept {
        return sets_;
    }

    mutable Mox::NotifieeList notifieeList_;
    ExtCommRuleKinds::Into<Sets> sets_;
    Detail::LiveObject const live_{this, Detail::LiveObject::registry};
};

/// A new, empty registry with its notifications switched on.
VOBGP_EXPORT BgpParseExtCommRuleCollections::Ptr bgpParseExtCommRuleCollectionsFactory();

/// What every rule carries to find its registry.
///
/// It keeps the registry alive. Equal to another that names the same registry. Thread-compatible.
/// Its text is that of the pointer; read back, it is null or a registry that is alive, and anything
/// else is a `Mox::RangeException` about "ruleCollections".
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

    /// Whether it names no registry.
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
