// The plug-in base class. Named after the header of the whole engine, because public assertion
// texts contain this file name.
#include <VoBgp/Parse/ExtCommPlugin.h>

#include <Mox/Assert.h>
#include <Mox/CharBuffer.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>

#include <ostream>

namespace Routing::Bgp {

Mox::Type const& BgpParseExtCommPluginBaseSm::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::BgpParseExtCommPluginBaseSm",
        {Mox::readOnlyAttribute<BgpParseExtCommPluginBaseSm,
                                &BgpParseExtCommPluginBaseSm::isZombie>("isZombie")});
    return type;
}

namespace {
Mox::TypeRegistration const extCommPluginRegistration(BgpParseExtCommPluginBaseSm::staticType());
} // namespace

namespace Detail {

/// Forwards the keys of a registry to a plug-in. Hidden, so that its chain exports no symbols.
class [[gnu::visibility("hidden")]] Reactor : public BgpParseExtCommRuleCollections::Notifiee {
  public:
    Reactor(BgpParseExtCommPluginBaseSm const& plugin,
            BgpParseExtCommRuleCollections::PtrConst const& ruleCollections)
      : Notifiee(ruleCollections)
      , plugin_(plugin) {}

    void hasNotificationActiveIs(bool active) noexcept { active_ = active; }
    void zombieIs(bool zombie) noexcept { zombie_ = zombie; }

  protected:
    /// The call may destroy the plug-in and this object.
    template <class Kind>
    void handleKey(ExtCommRuleKey<Kind> const& key) {
        if (active_ && !zombie_) {
            Kind::notify(plugin_, key);
        }
    }

  private:
    BgpParseExtCommPluginBaseSm const& plugin_;
    bool active_ = false;
    bool zombie_ = false;
};

template <class Kind, class Next>
using NotifieeOverrideOf = typename Kind::template NotifieeOverride<Next>;

} // namespace Detail

class BgpParseExtCommPluginBaseSm::MoxRuleCollections final
  : public ExtCommChain<ExtCommRuleKinds, Detail::NotifieeOverrideOf, Detail::Reactor> {
  public:
    using ExtCommChain::ExtCommChain;
};

BgpParseExtCommPluginBaseSm::BgpParseExtCommPluginBaseSm(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    if (ruleCollections) {
        reactor_ = std::make_unique<MoxRuleCollections>(*this, ruleCollections);
        reactor_->hasNotificationActiveIs(true);
    }
}

BgpParseExtCommPluginBaseSm::~BgpParseExtCommPluginBaseSm() = default;

void BgpParseExtCommPluginBaseSm::moxDoZombieReactors(bool zombie) {
    if (zombie == zombie_) {
        return;
    }
    if (reactor_) {
        reactor_->zombieIs(zombie);
    }
    zombie_ = zombie;
}

void BgpParseExtCommPluginBaseSm::hasNotificationActiveIs(bool active) {
    PtrInterface::hasNotificationActiveIs(active);
    if (reactor_) {
        reactor_->hasNotificationActiveIs(active);
    }
}

BgpParseExtCommRuleCollections::PtrConst
BgpParseExtCommPluginBaseSm::ruleCollections() const noexcept {
    return reactor_ ? reactor_->notifier() : nullptr;
}

void BgpParseExtCommPluginBaseSm::ruleCollectionsDel() noexcept {
    reactor_.reset();
}

void BgpParseExtCommPluginBaseSm::handleStartup() const {
    // Keep the plug-in alive: a hook may release the last other reference.
    PtrConst const self(this);
    ExtCommRuleKinds::forEach([this]<class Kind>() {
        forEachKey<Kind>([this](ExtCommRuleKey<Kind> const& key) { Kind::notify(*this, key); });
    });
}

void Detail::ExtCommPluginOperations::traceHook(ExtCommSource source, char const* hook) const {
    if (Mox::traceLevel() >= 8) {
        Mox::TraceLine(8, source.file, source.line, hook).stream()
            << static_cast<BgpParseExtCommPluginBaseSm const&>(*this);
    }
}

void Detail::ExtCommPluginOperations::subRuleIsNull(char const* operation, char const* text) {
    Mox::assertionFailed(__FILE__, __LINE__, operation, text);
}

std::ostream& operator<<(std::ostream& os, BgpParseExtCommPluginBaseSm const& plugin) {
    Mox::LocalCharBuffer<128> out;
    out.append(plugin.fwkType().name()).append(' ');
    Mox::writePointer(out, &plugin);
    return os.write(out.text().data(), static_cast<std::streamsize>(out.size()));
}

} // namespace Routing::Bgp
