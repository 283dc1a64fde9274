#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <VoBgp/Parse/ExtCommRuleCollections.h>
#include <VoBgp/Parse/ExtCommRuleKinds.h>
#include <VoBgp/Parse/ExtCommRules.h>

#include <memory>

namespace Routing::Bgp {

/// Base of every plug-in: what teaches the parse rules one kind of typed community.
///
/// A plug-in watches a registry and files a sub-rule of its own into every announced rule of the
/// kinds that it serves. It is owned by the container or by an agent; it holds its registry by way
/// of a reactor, and neither the rules nor the sub-rules. What it serves is which hooks it
/// overrides. Its constructor, once its hooks can be called, runs handleStartup(). Reactor thread.
///
/// A plug-in does not hear whether a rule comes or goes: into one that goes it files one more
/// sub-rule, in place of its previous one.
class VOBGP_EXPORT BgpParseExtCommPluginBaseSm : public Mox::PtrInterface {
  public:
    MOX_COUNTED(BgpParseExtCommPluginBaseSm)

    /// What observes the registry in a plug-in's place: hands each key to the plug-in's handle
    /// operation of its kind, unless it is switched off or flagged for deletion. A part of its
    /// plug-in.
    class MoxRuleCollections;

    ~BgpParseExtCommPluginBaseSm() override;

    /// The hooks, one for each kind of rule: builds a sub-rule with that control and files it with
    /// the `add` operation of the kind. Empty here.
#define VOBGP_PLUGIN_HOOK(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas,      \
                          handle, instantiate, ...)                                                \
    virtual void instantiate(Key const& /*key*/, BgpParseExtCommControl const& /*control*/) const {}
    VOBGP_EXT_COMM_RULE_KINDS(VOBGP_PLUGIN_HOOK, VOBGP_PLUGIN_HOOK)
#undef VOBGP_PLUGIN_HOOK

    /// Flags the plug-in for deletion, or clears the flag: a flagged one ignores every
    /// notification.
    virtual void moxDoZombieReactors(bool zombie);
    bool isZombie() const noexcept {
        return zombie_;
    }

    /// Switches the reactor as well.
    void hasNotificationActiveIs(bool active) override;

    /// The registry that the plug-in watches, or null.
    BgpParseExtCommRuleCollections::PtrConst ruleCollections() const noexcept;

    /// Drops the reactor, and the registry with it: the plug-in hears no more.
    void ruleCollectionsDel() noexcept;

    /// Replays what the registry holds already, set by set in the order of the table.
    void handleStartup() const;

    // For each kind:
    // handle(key)  runs the hook of the kind with the control of the announced rule
    // handle()     does so for every key of the registry
    // add          files a sub-rule into the announced rule; asserts that it is not null
#define VOBGP_PLUGIN_OPERATIONS(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll,        \
                                setHas, handle, instantiate, add, ...)                             \
    void handle(Key const& key) const;                                                             \
    void handle() const;                                                                           \
    void add(Key const& key, Mox::PtrConst<ExtCommRuleKind::Tag::SubRule> const& rule) const;
    VOBGP_EXT_COMM_RULE_KINDS(VOBGP_PLUGIN_OPERATIONS, VOBGP_PLUGIN_OPERATIONS)
#undef VOBGP_PLUGIN_OPERATIONS

  protected:
    /// A plug-in without a registry never files anything.
    explicit BgpParseExtCommPluginBaseSm(
        BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

  private:
    std::unique_ptr<MoxRuleCollections> reactor_;
    bool zombie_ = false;
};

/// Writes which plug-in it is, for traces: its type and its address.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, BgpParseExtCommPluginBaseSm const& plugin);

} // namespace Routing::Bgp
