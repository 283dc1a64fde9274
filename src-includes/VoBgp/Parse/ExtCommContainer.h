#pragma once

#include <Mox/Export.h>
#include <Mox/OrderedMap.h>
#include <Mox/Ptr.h>
#include <VoBgp/Parse/ExtCommPlugin.h>
#include <VoBgp/Parse/ExtCommRuleCollections.h>
#include <VoBgp/Parse/ExtCommRules.h>

namespace BgpShowCli {
class ExtCommCache;
} // namespace BgpShowCli

namespace Routing::Bgp {

/// What an agent starts with: the registry, the built-in plug-ins, the rule at the top, and the
/// cache of show-command texts.
///
/// Owned by the agent; it owns what it makes, together with the tables that parse by its rule.
/// Reactor thread.
class VOBGP_EXPORT BgpParseExtCommContainerSm : public Mox::PtrInterface {
  public:
    MOX_COUNTED(BgpParseExtCommContainerSm)

    /// The plug-ins by their index, ascending.
    using MoxExtCommParserSms = Mox::IndexedQueue<BgpParseExtCommPluginBaseSm::PtrConst>;

    struct ExtCommParserSmsMetadata {
        /// The index that was given out last; 0 if there was none.
        U32 nextIndex = 0;
    };

    BgpParseExtCommContainerSm();
    ~BgpParseExtCommContainerSm() override;

    BgpParseExtCommRuleCollections::Ptr const& parseExtCommRuleCollections() const noexcept {
        return parseExtCommRuleCollections_;
    }

    /// The registry; a new one if there is none.
    BgpParseExtCommRuleCollections::Ptr const& parseExtCommRuleCollectionsIs();
    void parseExtCommRuleCollectionsDel() noexcept { parseExtCommRuleCollections_ = nullptr; }

    BgpParseExtendedCommunityRule::Ptr const& extCommParser() const noexcept {
        return extCommParser_;
    }

    /// The rule at the top, if it has that control; else a new one in its place.
    BgpParseExtendedCommunityRule::Ptr const&
    extCommParserIs(BgpParseExtCommControl const& control);
    void extCommParserDel() noexcept { extCommParser_ = nullptr; }

    MoxExtCommParserSms const& extCommParserSms() const noexcept { return extCommParserSms_; }

    ExtCommParserSmsMetadata const& extCommParserSmsMetadata() const noexcept {
        return extCommParserSmsMetadata_;
    }

    bool extCommParserSmsHas(U32 index) const { return extCommParserSms_.has(index); }

    /// The plug-in at an index, or null.
    BgpParseExtCommPluginBaseSm::PtrConst extCommParserSms(U32 index) const;

    /// Places a plug-in at an index, in place of the one that is there. A null one is a
    /// `Mox::NullMutatorArgumentException`.
    void extCommParserSmsIs(U32 index, BgpParseExtCommPluginBaseSm::PtrConst const& plugin);

    /// Appends a plug-in and returns its index: behind the last one, and never below an index that
    /// was given out before. A null one is a `Mox::NullMutatorArgumentException`; no index being
    /// left is a `Mox::RangeException`.
    U32 extCommParserSmsEnq(BgpParseExtCommPluginBaseSm::PtrConst const& plugin);

    /// Removes the plug-in at the head and returns it; null if there is none.
    BgpParseExtCommPluginBaseSm::PtrConst extCommParserSmsDeq();

    /// Removes the plug-in at an index; returns whether there was one.
    bool extCommParserSmsDel(U32 index) { return extCommParserSms_.del(index); }

    void extCommParserSmsDelAll() noexcept { extCommParserSms_.delAll(); }

    Mox::Ptr<BgpShowCli::ExtCommCache> const& extCommCache() const noexcept {
        return extCommCache_;
    }

  private:
    /// Plug-ins first, in the order in which they are told of rules, then the rule that they fill.
    void handleInitialized();

    BgpParseExtCommRuleCollections::Ptr parseExtCommRuleCollections_;
    BgpParseExtendedCommunityRule::Ptr extCommParser_;
    MoxExtCommParserSms extCommParserSms_;
    ExtCommParserSmsMetadata extCommParserSmsMetadata_;
    Mox::Ptr<BgpShowCli::ExtCommCache> extCommCache_;
};

/// A new container with its notifications switched on, and the tree of rules complete.
VOBGP_EXPORT BgpParseExtCommContainerSm::Ptr bgpParseExtCommContainerSmFactory();

} // namespace Routing::Bgp
