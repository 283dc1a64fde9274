// An agent that teaches the parse rules a community of its own: the OSPF route type of RFC 4577,
// which the enumeration of transitive opaque subtypes names and no built-in plug-in serves.
//! [private community]
#include <Lumo/IpAddr.h>
#include <Mox/CharBuffer.h>
#include <Mox/Type.h>
#include <VoBgp/CommunityTables.h>
#include <VoBgp/Parse/ExtComm.h>

#include <iostream>

using namespace Routing::Bgp;

namespace {

/// The OSPF area that a route came from, and what it was there (RFC 4577, section 4.2.6).
/// Immutable.
///
///     octet  0      1         2       3       4       5       6          7
///          +------+---------+-------------------------------+------------+---------+
///          | 0x03 |  0x06   |             area              | route type | options |
///          +------+---------+-------------------------------+------------+---------+
class OspfRouteType final : public ExtCommSubtyped {
  public:
    MOX_COUNTED(OspfRouteType)

    explicit OspfRouteType(ExtCommContent const& content) noexcept
      : ExtCommSubtyped(extCommClassificationUnSpecified, content) {}

    Lumo::IpAddr area() const noexcept { return Lumo::IpAddr(static_cast<U32>(community() >> 16)); }
    U8 routeType() const noexcept { return static_cast<U8>(community() >> 8); }

    String toStrepForPolicy(StrepFormat strepFormatFlags) const override {
        Mox::LocalCharBuffer<64> out;
        if (strepFormatFlags.has(StrepFormat::strepFormatClassification)) {
            out.append("OSPF-Route-Type:");
        }
        area().format(out);
        return out.append(':').appendDecimal(routeType()).string();
    }
};

/// Makes every value of the subtype one of these.
class OspfRouteTypeRule final : public BgpParseExtComSubTypeTransOpaqueRuleBase {
  public:
    MOX_COUNTED(OspfRouteTypeRule)

    explicit OspfRouteTypeRule(BgpParseExtCommControl const& control)
      : BgpParseExtComSubTypeTransOpaqueRuleBase(control,
                                                 extCommPktSubtypeTransOpaqueOspfRouteType) {}

    ExtComm::PtrConst inhale(ExtCommContent const& content) const override {
        return Mox::makeActive<OspfRouteType>(content);
    }
};

/// Files the rule into every rule for transitive opaque values that is announced.
class OspfRouteTypeSm final : public BgpParseExtCommPluginBaseSm {
  public:
    MOX_COUNTED(OspfRouteTypeSm)

    explicit OspfRouteTypeSm(BgpParseExtCommRuleCollections::PtrConst const& ruleCollections)
      : BgpParseExtCommPluginBaseSm(ruleCollections) {
        handleStartup();
    }

    void instantiateExtCommSubTypeTransOpaqueSubRule(
        BgpParseExtCommSubTypeTransOpaqueRuleKey const& key,
        BgpParseExtCommControl const& control) const override {
        addExtCommSubTypeTransOpaqueSubRule(key, Mox::makeActive<OspfRouteTypeRule>(control));
    }
};

using Mox::Type;

Type const& OspfRouteType::staticType() noexcept {
    static Type const type(Type::Kind::entity, "Example::OspfRouteType",
                           {Mox::readOnlyAttribute<OspfRouteType, &OspfRouteType::area>("area")},
                           &ExtCommSubtyped::staticType());
    return type;
}

Type const& OspfRouteTypeRule::staticType() noexcept {
    static Type const type(Type::Kind::entity, "Example::OspfRouteTypeRule", {},
                           &BgpParseExtComSubTypeTransOpaqueRuleBase::staticType());
    return type;
}

Type const& OspfRouteTypeSm::staticType() noexcept {
    static Type const type(Type::Kind::entity, "Example::OspfRouteTypeSm", {},
                           &BgpParseExtCommPluginBaseSm::staticType());
    return type;
}

} // namespace

int main() {
    CommunityTables const tables;
    auto const& parsing = tables.parsing();
    auto const rule = parsing->extCommParser();
    auto const show = [&rule](U64 community) {
        std::cout << '"' << rule->showString(community, false, false, false) << "\"\n";
    };
    U64 const ospfRouteType = 0x0306'0000'0001'0500;
    show(ospfRouteType);

    // The rules are there already: the plug-in catches up on them.
    parsing->extCommParserSmsEnq(
        Mox::makeActive<OspfRouteTypeSm>(parsing->parseExtCommRuleCollections()));
    show(ospfRouteType);
    show(0x030b'0000'0000'0064); // a color is a color still
}
//! [private community]
