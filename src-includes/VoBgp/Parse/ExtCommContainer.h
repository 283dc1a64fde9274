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

/// The parse rules of an agent: the registry, the built-in plug-ins, the top-level rule, and the
/// cache of show-command texts.
///
/// Owned by the agent. Owns what it creates; intern tables share its rule. Reactor thread.
class VOBGP_EXPORT BgpParseExtCommContainerSm : public Mox::PtrInterface {
  public:
    MOX_COUNTED(BgpParseExtCommContainerSm)

    /// The plug-ins in the order of their indices.
    using MoxExtCommParserSms = Mox::IndexedQueue<BgpParseExtCommPluginBaseSm::PtrConst>;

    struct ExtCommParserSmsMetadata {
        /// The last assigned index; 0 if none.
        U32 nextIndex = 0;
    };

    BgpParseExtCommContainerSm();
    ~BgpParseExtCommContainerSm() override;

    BgpParseExtCommRuleCollections::Ptr const& parseExtCommRuleCollections() const noexcept {
        return parseExtCommRuleCollections_;
    }

    /// Returns the registry; creates it if missing.
    BgpParseExtCommRuleCollections::Ptr const& parseExtCommRuleCollectionsIs();
    void parseExtCommRuleCollectionsDel() noexcept { parseExtCommRuleCollections_ = nullptr; }

    BgpParseExtendedCommunityRule::Ptr const& extCommParser() const noexcept {
        return extCommParser_;
    }

    /// Returns the top-level rule; replaces it first if its control differs.
    BgpParseExtendedCommunityRule::Ptr const&
    extCommParserIs(BgpParseExtCommControl const& control);
    void extCommParserDel() noexcept { extCommParser_ = nullptr; }

    MoxExtCommParserSms const& extCommParserSms() const noexcept { return extCommParserSms_; }

    ExtCommParserSmsMetadata const& extCommParserSmsMetadata() const noexcept {
        return extCommParserSmsMetadata_;
    }

    bool extCommParserSmsHas(U32 index) const { return extCommParserSms_.has(index); }

    /// Returns null if not found.
    BgpParseExtCommPluginBaseSm::PtrConst extCommParserSms(U32 index) const;

    /// Puts a plug-in at an index; replaces the current one. Throws
    /// `Mox::NullMutatorArgumentException` for null.
    void extCommParserSmsIs(U32 index, BgpParseExtCommPluginBaseSm::PtrConst const& plugin);

    /// Appends a plug-in and returns its index, which is above the last one's and not below any
    /// that was assigned before. Throws `Mox::NullMutatorArgumentException` for null, and
    /// `Mox::RangeException` if no index is left.
    U32 extCommParserSmsEnq(BgpParseExtCommPluginBaseSm::PtrConst const& plugin);

    /// Removes the first plug-in and returns it; null if the queue is empty.
    BgpParseExtCommPluginBaseSm::PtrConst extCommParserSmsDeq();

    /// Removes the plug-in at an index; returns whether it was present.
    bool extCommParserSmsDel(U32 index) { return extCommParserSms_.del(index); }

    void extCommParserSmsDelAll() noexcept { extCommParserSms_.delAll(); }

    Mox::Ptr<BgpShowCli::ExtCommCache> const& extCommCache() const noexcept {
        return extCommCache_;
    }

  private:
    /// Creates the plug-ins, in the order in which they are notified of rules, then the rule that
    /// they fill.
    void handleInitialized();

    BgpParseExtCommRuleCollections::Ptr parseExtCommRuleCollections_;
    BgpParseExtendedCommunityRule::Ptr extCommParser_;
    MoxExtCommParserSms extCommParserSms_;
    ExtCommParserSmsMetadata extCommParserSmsMetadata_;
    Mox::Ptr<BgpShowCli::ExtCommCache> extCommCache_;
};

/// Returns a new container with notifications enabled and a complete tree of rules.
VOBGP_EXPORT BgpParseExtCommContainerSm::Ptr bgpParseExtCommContainerSmFactory();

} // namespace Routing::Bgp
