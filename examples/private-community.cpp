// An agent that adds its own typed community: the OSPF route type (RFC 4577), a transitive opaque
// subtype without a built-in plug-in.
//! [private community]
#include <Lumo/IpAddr.h>
#include <Mox/CharBuffer.h>
#include <Mox/Type.h>
#include <VoBgp/CommunityTables.h>
#include <VoBgp/Parse/ExtComm.h>
#include <VoBgp/Parse/ExtCommTyped.h>

#include <iostream>
#include <string_view>

using namespace Routing::Bgp;

namespace {

/// The OSPF area that a route came from, and its type there (RFC 4577, section 4.2.6).
///
///     octet  0      1         2       3       4       5       6          7
///          +------+---------+-------------------------------+------------+---------+
///          | 0x03 |  0x06   |             area              | route type | options |
///          +------+---------+-------------------------------+------------+---------+
class OspfRouteType final : public ExtCommTyped<OspfRouteType, ExtCommSubtyped> {
  public:
    MOX_COUNTED(OspfRouteType)

    explicit OspfRouteType(ExtCommContent const& content) noexcept
      : ExtCommTyped(extCommClassificationUnSpecified, content) {}

    Lumo::IpAddr area() const noexcept { return Lumo::IpAddr(static_cast<U32>(community() >> 16)); }
    U8 routeType() const noexcept { return static_cast<U8>(community() >> 8); }

  protected:
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override {
        if (format.has(StrepFormat::strepFormatClassification)) {
            out.append("OSPF-Route-Type:");
        }
        area().format(out);
        out.append(':').appendDecimal(routeType());
    }
};

/// The parse rule for the subtype.
struct OspfRouteTypeRule {
    using Community = OspfRouteType;
    using Kind = ExtCommRuleKind::TransOpaque;
    static constexpr auto subtype = extCommPktSubtypeTransOpaqueOspfRouteType;
    static constexpr std::string_view ruleName = "Example::OspfRouteTypeRule";
};

/// The plug-in that adds the rule to the library's.
struct OspfRouteTypePlugin {
    using SubRules = ExtCommSubRules<OspfRouteTypeRule>;
    static constexpr std::string_view pluginName = "Example::OspfRouteTypePlugin";
};

using Mox::Type;

Type const& OspfRouteType::staticType() noexcept {
    static Type const type(Type::Kind::entity, "Example::OspfRouteType",
                           {Mox::readOnlyAttribute<OspfRouteType, &OspfRouteType::area>("area")},
                           &ExtCommSubtyped::staticType());
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

    // The plug-in's rule is also added to existing rules.
    parsing->extCommParserSmsEnq(Mox::makeActive<ExtCommTypedPlugin<OspfRouteTypePlugin>>(
        parsing->parseExtCommRuleCollections()));
    show(ospfRouteType);
    show(0x030b'0000'0000'0064); // a color as before
}
//! [private community]
