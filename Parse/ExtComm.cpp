// The source of the plug-in base. It has the name of the whole engine's header: assertions of
// plug-ins are published as coming from here.
#include <VoBgp/Parse/ExtCommPlugin.h>

#include <Mox/Assert.h>
#include <Mox/CharBuffer.h>
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
Mox::TypeRegistration const registration(BgpParseExtCommPluginBaseSm::staticType());
} // namespace

class BgpParseExtCommPluginBaseSm::MoxRuleCollections final
  : public BgpParseExtCommRuleCollections::Notifiee {
  public:
    MoxRuleCollections(BgpParseExtCommPluginBaseSm const& plugin,
                       BgpParseExtCommRuleCollections::PtrConst const& ruleCollections)
      : Notifiee(ruleCollections)
      , plugin_(plugin) {}

    void hasNotificationActiveIs(bool active) noexcept { active_ = active; }
    void zombieIs(bool zombie) noexcept { zombie_ = zombie; }

    // The last thing that each does: the plug-in may be gone afterwards, and this with it.
#define VOBGP_REACT(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas, handle,    \
                    ...)                                                                           \
    void handle(Key const& key) override {                                                         \
        if (active_ && !zombie_) {                                                                 \
            plugin_.handle(key);                                                                   \
        }                                                                                          \
    }
    VOBGP_EXT_COMM_RULE_KINDS(VOBGP_REACT, VOBGP_REACT)
#undef VOBGP_REACT

  private:
    BgpParseExtCommPluginBaseSm const& plugin_;
    bool active_ = false;
    bool zombie_ = false;
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
    // Held, here and below: a hook may drop the last reference to the plug-in.
    PtrConst const self(this);
#define VOBGP_REPLAY(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas, handle,   \
                     ...)                                                                          \
    handle();
    VOBGP_EXT_COMM_RULE_KINDS(VOBGP_REPLAY, VOBGP_REPLAY)
#undef VOBGP_REPLAY
}

#define VOBGP_PLUGIN_HANDLE(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas,    \
                            handle, instantiate, add, ...)                                         \
    void BgpParseExtCommPluginBaseSm::handle(Key const& key) const {                               \
        instantiate(key, key.rule()->parseControl());                                              \
    }                                                                                              \
    void BgpParseExtCommPluginBaseSm::handle() const {                                             \
        PtrConst const self(this);                                                                 \
        if (auto const registry = ruleCollections()) {                                             \
            registry->set().forEach([this](Key const& key) { handle(key); });                      \
        }                                                                                          \
    }
VOBGP_EXT_COMM_RULE_KINDS(VOBGP_PLUGIN_HANDLE, VOBGP_PLUGIN_HANDLE)
#undef VOBGP_PLUGIN_HANDLE

#define VOBGP_ADD_TYPE_RULE(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas,    \
                            handle, instantiate, add, SubRuleBase, ...)                            \
    void BgpParseExtCommPluginBaseSm::add(Key const& key, SubRuleBase::PtrConst const& rule)       \
        const {                                                                                    \
        MOX_ASSERT_TEXT(rule != nullptr, "__null != rule");                                        \
        key.rule()->typeRuleIs(rule);                                                              \
    }
#define VOBGP_ADD_SUB_RULE(number, Tag, RuleClass, Key, set, setIs, setDel, setDelAll, setHas,     \
                           handle, instantiate, add, SubRuleBase, ...)                             \
    void BgpParseExtCommPluginBaseSm::add(Key const& key, SubRuleBase::PtrConst const& rule)       \
        const {                                                                                    \
        MOX_ASSERT_TEXT(rule != nullptr, "rule != __null");                                        \
        key.rule()->subTypeRuleIs(rule);                                                           \
    }
VOBGP_EXT_COMM_RULE_KINDS(VOBGP_ADD_TYPE_RULE, VOBGP_ADD_SUB_RULE)
#undef VOBGP_ADD_TYPE_RULE
#undef VOBGP_ADD_SUB_RULE

std::ostream& operator<<(std::ostream& os, BgpParseExtCommPluginBaseSm const& plugin) {
    Mox::LocalCharBuffer<128> out;
    out.append(plugin.fwkType().name()).append(' ');
    Detail::LiveObject::write(out, &plugin);
    return os.write(out.text().data(), static_cast<std::streamsize>(out.size()));
}

} // namespace Routing::Bgp
