#include <VoBgp/Parse/ExtCommRuleCollections.h>

#include <Mox/CharBuffer.h>
#include <Mox/Exception.h>
#include <Mox/HashMap.h>

#include <charconv>
#include <system_error>
#include <vector>

namespace Routing::Bgp {

// ---- The text of pointers -----------------------------------------------------------------------

namespace Detail {

namespace {

/// Never destroyed, because an agent may have a registry in a static object that is destroyed after
/// those of this library.
Mox::HashSet<void const*>& liveRegistries() {
    static auto* const instance = new Mox::HashSet<void const*>;
    return *instance;
}

} // namespace

void* readPointer(Mox::ValueReader& in, char const* attribute) {
    auto const text = in.readName();
    U64 address = 0;
    auto const* const end = text.data() + text.size();
    if (!text.starts_with("0x") || text.size() == 2) {
        throw Mox::RangeException(attribute);
    }
    auto const [rest, error] = std::from_chars(text.data() + 2, end, address, 16);
    if (error != std::errc() || rest != end) {
        throw Mox::RangeException(attribute);
    }
    return reinterpret_cast<void*>(address);
}

LiveRegistry::LiveRegistry(void const* registry)
  : registry_(registry) {
    liveRegistries().is(registry);
}

LiveRegistry::~LiveRegistry() {
    liveRegistries().del(registry_);
}

} // namespace Detail

// ---- Keys ---------------------------------------------------------------------------------------

template <class Kind>
Mox::Type const& ExtCommRuleKey<Kind>::staticType() noexcept {
    using Text = Mox::ValueText<ExtCommRuleKey>;
    static Mox::Type const type(Mox::Type::Kind::value, Kind::keyName,
                                {{"rule",
                                  [](Mox::CharBuffer& out, void const* key) {
                                      Text::write(out, *static_cast<ExtCommRuleKey const*>(key));
                                  },
                                  [](Mox::ValueReader& in, void* key) {
                                      *static_cast<ExtCommRuleKey*>(key) = Text::read(in);
                                  }}});
    return type;
}

template class ExtCommRuleKey<ExtCommRuleKind::Type>;
#define VOBGP_RULE_KEY(Kind) template class ExtCommRuleKey<ExtCommRuleKind::Kind>;
VOBGP_EXT_COMM_SUBTYPE_KINDS(VOBGP_RULE_KEY)
#undef VOBGP_RULE_KEY

// ---- The registry -------------------------------------------------------------------------------

Mox::Type const& BgpParseExtCommRuleCollections::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::BgpParseExtCommRuleCollections", [] {
            std::vector<Mox::Attribute> attributes;
            ExtCommRuleKinds::forEach([&attributes]<class Kind>() {
                // The number of announced rules of this kind.
                attributes.push_back(
                    {Kind::setName, [](Mox::CharBuffer& out, void const* object) {
                         auto const& registry =
                             Mox::Detail::attributeOwner<BgpParseExtCommRuleCollections>(object);
                         out.appendDecimal(registry.keys<Kind>().size());
                     }});
            });
            return attributes;
        }());
    return type;
}

namespace {

using Observer = BgpParseExtCommRuleCollections::Notifiee;

template <class Kind>
void callHook(Observer& observer, void const* key) {
    Kind::notify(observer, *static_cast<ExtCommRuleKey<Kind> const*>(key));
}

/// The hook of each kind, by attribute number.
template <class... Kinds>
struct Hooks {
    static constexpr void (*call[])(Observer&, void const*) = {&callHook<Kinds>...};
};

} // namespace

void BgpParseExtCommRuleCollections::Notifiee::handleChange(Mox::AttributeNumber attribute,
                                                            void const* key) {
    if (key != nullptr) {
        ExtCommRuleKinds::Into<Hooks>::call[attribute](*this, key);
    }
}

BgpParseExtCommRuleCollections::BgpParseExtCommRuleCollections()
  : ExtCommRuleKinds::Into<Detail::ExtCommRuleKeySets>(static_cast<PtrInterface const&>(*this))
  , notifieeList_(*this) {}

BgpParseExtCommRuleCollections::~BgpParseExtCommRuleCollections() = default;

BgpParseExtCommRuleCollections::Ptr bgpParseExtCommRuleCollectionsFactory() {
    return Mox::makeActive<BgpParseExtCommRuleCollections>();
}

// ---- The control --------------------------------------------------------------------------------

Mox::Type const& BgpParseExtCommControl::staticType() noexcept {
    using Text = Mox::ValueText<BgpParseExtCommControl>;
    static Mox::Type const type(
        Mox::Type::Kind::value, "Routing::Bgp::BgpParseExtCommControl",
        {{"ruleCollections",
          [](Mox::CharBuffer& out, void const* control) {
              Text::write(out, *static_cast<BgpParseExtCommControl const*>(control));
          },
          [](Mox::ValueReader& in, void* control) {
              *static_cast<BgpParseExtCommControl*>(control) = Text::read(in);
          }}});
    return type;
}

// ---- Reflection ---------------------------------------------------------------------------------

namespace {

template <class... Kinds>
struct KeyRegistrations {
    Mox::TypeRegistration const all[sizeof...(Kinds)] = {
        Mox::TypeRegistration(ExtCommRuleKey<Kinds>::staticType())...};
};

ExtCommRuleKinds::Into<KeyRegistrations> const keyRegistrations;
Mox::TypeRegistration const extCommRuleCollectionRegistrations[] = {
    Mox::TypeRegistration(BgpParseExtCommRuleCollections::staticType()),
    Mox::TypeRegistration(BgpParseExtCommControl::staticType()),
};

} // namespace

} // namespace Routing::Bgp

void Mox::ValueText<Routing::Bgp::BgpParseExtCommControl>::write(
    CharBuffer& out, Routing::Bgp::BgpParseExtCommControl const& control) {
    writePointer(out, control.ruleCollections().get());
}

Routing::Bgp::BgpParseExtCommControl
Mox::ValueText<Routing::Bgp::BgpParseExtCommControl>::read(ValueReader& in) {
    constexpr char const* attribute = "ruleCollections";
    auto const* const registry = static_cast<Routing::Bgp::BgpParseExtCommRuleCollections const*>(
        Routing::Bgp::Detail::readPointer(in, attribute));
    if (registry != nullptr && !Routing::Bgp::Detail::liveRegistries().has(registry)) {
        throw RangeException(attribute);
    }
    return Routing::Bgp::BgpParseExtCommControl(
        Routing::Bgp::BgpParseExtCommRuleCollections::PtrConst(registry));
}
