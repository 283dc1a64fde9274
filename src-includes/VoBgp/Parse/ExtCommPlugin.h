#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <VoBgp/Parse/ExtCommRuleCollections.h>
#include <VoBgp/Parse/ExtCommRuleKinds.h>
#include <VoBgp/Parse/ExtCommRules.h>

#include <memory>

// Defined in Parse/ExtComm.cpp.

namespace Routing::Bgp {

class BgpParseExtCommPluginBaseSm;

/// A position in a source file.
struct ExtCommSource {
    char const* file;
    int line;
};

namespace Detail {

/// The parts of a plug-in's operations that are common to all kinds.
class VOBGP_EXPORT ExtCommPluginOperations : public Mox::PtrInterface {
  protected:
    template <class Kind>
    static BgpParseExtCommControl const& controlOf(ExtCommRuleKey<Kind> key) {
        return key.rule()->parseControl();
    }

    /// Calls the visitor with each key of the kind in the plug-in's registry. The visitor may drop
    /// the last reference to the plug-in.
    template <class Kind, class Visitor>
    void forEachKey(Visitor visitor) const;

    /// Files a sub-rule into the announced rule. REQUIRES: it is not null (asserted).
    template <class Kind>
    static void fileSubRule(ExtCommRuleKey<Kind> key,
                            Mox::PtrConst<typename Kind::SubRule> const& subRule) {
        constexpr bool isTypeRule = !requires {
            Kind::pktType;
        };
        if (subRule == nullptr) {
            subRuleIsNull(Kind::addName, isTypeRule ? "__null != rule" : "rule != __null");
        }
        if constexpr (isTypeRule) {
            key.rule()->typeRuleIs(subRule);
        } else {
            key.rule()->subTypeRuleIs(subRule);
        }
    }

    /// Traces that a hook of the plug-in was called.
    void traceHook(ExtCommSource source, char const* hook) const;

  private:
    [[noreturn]] static void subRuleIsNull(char const* operation, char const* text);
};

template <class Kind, class Next>
using PluginHookOf = typename Kind::template PluginHook<Next>;

} // namespace Detail

/// Base of every plug-in. A plug-in extends the parse rules by a typed community: it observes a
/// registry, and files a sub-rule into every announced rule of the kinds that it serves.
///
/// Owned by the container or by an agent. Keeps its registry alive by a reactor; holds neither
/// rules nor sub-rules. Reactor thread.
///
/// A plug-in serves the kinds whose hooks it overrides. The constructor of the most derived class
/// calls handleStartup(). The row of each kind names the hook and three operations:
///
///     instantiate(key, control)  the hook: builds a sub-rule with that control and files it by
///                                `add`; empty here
///     handle(key)                calls the hook with the control of the announced rule
///     handle()                   does so for every key of the registry
///     add(key, subRule)          files a sub-rule into the announced rule; asserts that it is not
///                                null
///
/// A plug-in is notified of a removed rule as of an added one: it files another sub-rule into the
/// rule, which replaces its previous one.
class VOBGP_EXPORT BgpParseExtCommPluginBaseSm
  : public ExtCommChain<ExtCommRuleKinds, Detail::PluginHookOf, Detail::ExtCommPluginOperations> {
  public:
    MOX_COUNTED(BgpParseExtCommPluginBaseSm)

    /// Observes the registry for its plug-in: hands each key to the plug-in's `handle` operation of
    /// the kind, unless it is switched off or flagged for deletion.
    class MoxRuleCollections;

    /// With a null registry the plug-in never files anything.
    explicit BgpParseExtCommPluginBaseSm(
        BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);
    ~BgpParseExtCommPluginBaseSm() override;

    /// Flags the plug-in for deletion, or clears the flag. While flagged it ignores notifications.
    virtual void moxDoZombieReactors(bool zombie);
    bool isZombie() const noexcept { return zombie_; }

    /// Switches the reactor as well.
    void hasNotificationActiveIs(bool active) override;

    /// The observed registry, or null.
    BgpParseExtCommRuleCollections::PtrConst ruleCollections() const noexcept;

    /// Stops observing, and drops the reference to the registry.
    void ruleCollectionsDel() noexcept;

    /// Calls the hooks for every key in the registry, set by set in the order of the kinds.
    void handleStartup() const;

  private:
    std::unique_ptr<MoxRuleCollections> reactor_;
    bool zombie_ = false;
};

template <class Kind, class Visitor>
void Detail::ExtCommPluginOperations::forEachKey(Visitor visitor) const {
    BgpParseExtCommPluginBaseSm::PtrConst const self(
        static_cast<BgpParseExtCommPluginBaseSm const*>(this));
    if (auto const registry = self->ruleCollections()) {
        registry->keys<Kind>().forEach(visitor);
    }
}

/// Writes the plug-in's type and address, for traces.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, BgpParseExtCommPluginBaseSm const& plugin);

} // namespace Routing::Bgp
