#pragma once

#include <Mox/Export.h>
#include <Mox/Type.h>
#include <VoBgp/Parse/ExtCommPlugin.h>
#include <VoBgp/Parse/ExtCommRules.h>
#include <VoBgp/VoBgpCommunity.h>

#include <type_traits>
#include <typeinfo>

// Templates for typed communities, header-only. A typed community is a class that derives from
// ExtCommTyped, a row for each sub-rule that builds it, and the row of its plug-in:
//
//     struct SubRuleRow {
//         using Community = ...;                      // the class of the community
//         using Kind = ExtCommRuleKind::...;          // the kind of rule that it is filed into
//         static constexpr auto subtype = ...;        // a member of the kind's enumeration
//         static constexpr std::string_view ruleName; // the qualified name of the sub-rule
//     };
//
//     struct PluginRow {
//         using SubRules = ExtCommSubRules<SubRuleRow, ...>;
//         static constexpr std::string_view pluginName; // the qualified name of the plug-in
//         static ExtCommSource source() noexcept;       // optional: its source, for traces
//     };

namespace Routing::Bgp {

/// Base of a typed community: a community of a layout whose texts may be its own.
///
/// `Community` is the class that derives from this one and overrides appendShowForm() and
/// appendPolicyForm(). If it overrides formatDerivedType(), toStrepForPolicy() or formatAsNumber()
/// instead, lists use these texts too, but each one costs a stream or a string.
template <class Community, class Layout>
class VOBGP_EXPORT ExtCommTyped : public Layout {
  public:
    using Layout::Layout;

  protected:
    bool textIsBuiltIn() const noexcept override {
        return inheritsTexts<Community>() && typeid(*this) == typeid(Community);
    }

  private:
    /// Whether `Derived` overrides no operation that returns or writes a text. An override that is
    /// not accessible here counts as well.
    template <class Derived>
    static constexpr bool inheritsTexts() noexcept {
        constexpr bool inherits = requires {
            requires std::is_same_v<decltype(&Derived::formatDerivedType),
                                    decltype(&Layout::formatDerivedType)>;
            requires std::is_same_v<decltype(&Derived::toStrepForPolicy),
                                    decltype(&Layout::toStrepForPolicy)>;
        };
        if constexpr (requires { &Layout::formatAsNumber; }) {
            return inherits && requires {
                requires std::is_same_v<decltype(&Derived::formatAsNumber),
                                        decltype(&Layout::formatAsNumber)>;
            };
        }
        return inherits;
    }
};

/// A sub-rule that builds a typed community for every value of its subtype.
///
/// Owned by the rule that it is filed into. Immutable.
template <class Row>
class VOBGP_EXPORT ExtCommTypedSubRule final : public ExtCommSubRuleBase<typename Row::Kind> {
  public:
    MOX_COUNTED(ExtCommTypedSubRule)
    using Width = typename Row::Kind::Layout::Width;

    explicit ExtCommTypedSubRule(BgpParseExtCommControl const& parseControl)
      : ExtCommSubRuleBase<typename Row::Kind>(parseControl, Row::subtype) {}

    Mox::PtrConst<typename Width::Community>
    inhale(typename Width::Content const& content) const override {
        using Layout = typename Row::Kind::Layout;
        return ExtCommLayout::build<Layout, typename Row::Community>(content);
    }
};

template <class Row>
Mox::Type const& ExtCommTypedSubRule<Row>::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, Row::ruleName, {},
                                &ExtCommSubRuleBase<typename Row::Kind>::staticType());
    return type;
}

namespace Detail {

/// A plug-in that files the sub-rule of a row when the hook of the row's kind is called. `Plugin`
/// is the row of the plug-in.
template <class Plugin>
class VOBGP_EXPORT ExtCommTypedPluginBase : public BgpParseExtCommPluginBaseSm {
  protected:
    using BgpParseExtCommPluginBaseSm::BgpParseExtCommPluginBaseSm;

    template <class Row>
    void instantiateFor(ExtCommRuleKey<typename Row::Kind> const& key,
                        BgpParseExtCommControl const& control) const {
        if constexpr (requires { Plugin::source(); }) {
            traceHook(Plugin::source(), Row::Kind::instantiateName);
        } else {
            traceHook({__FILE__, __LINE__}, Row::Kind::instantiateName);
        }
        fileSubRule<typename Row::Kind>(key, Mox::makeActive<ExtCommTypedSubRule<Row>>(control));
    }
};

template <class Row, class Next>
using SubRuleHookOf = typename Row::Kind::template PluginOverride<Row, Next>;

template <class... Rows>
struct SubRuleRegistrations {
    Mox::TypeRegistration const all[sizeof...(Rows)] = {
        Mox::TypeRegistration(ExtCommTypedSubRule<Rows>::staticType())...};
};

} // namespace Detail

/// The sub-rules of a plug-in by their rows.
template <class... Rows>
struct ExtCommSubRules : ExtCommRowList<Rows...> {
    static_assert((0U + ... + (1U << Rows::Kind::attribute)) ==
                      (0U | ... | (1U << Rows::Kind::attribute)),
                  "a plug-in has one sub-rule for each kind");
};

/// The plug-in of typed communities: files a sub-rule for each row.
template <class Row>
class VOBGP_EXPORT ExtCommTypedPlugin final
  : public ExtCommChain<typename Row::SubRules, Detail::SubRuleHookOf,
                        Detail::ExtCommTypedPluginBase<Row>> {
  public:
    MOX_COUNTED(ExtCommTypedPlugin)

    explicit ExtCommTypedPlugin(BgpParseExtCommRuleCollections::PtrConst const& ruleCollections)
      : ExtCommTypedPlugin::ExtCommChain(ruleCollections) {
        this->handleStartup();
    }
};

template <class Row>
Mox::Type const& ExtCommTypedPlugin<Row>::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, Row::pluginName, {},
                                &BgpParseExtCommPluginBaseSm::staticType());
    return type;
}

/// The reflected types of a plug-in, its sub-rules and its communities. The source of the plug-in
/// has one static object of this type.
template <class Row, class... Communities>
struct ExtCommTypedRegistrations {
    Mox::TypeRegistration const communities[sizeof...(Communities)] = {
        Mox::TypeRegistration(Communities::staticType())...};
    typename Row::SubRules::template Into<Detail::SubRuleRegistrations> const subRules{};
    Mox::TypeRegistration const plugin{ExtCommTypedPlugin<Row>::staticType()};
};

} // namespace Routing::Bgp
