#pragma once

#include <Mox/Export.h>
#include <VoBgp/Parse/ExtCommPlugin.h>
#include <VoBgp/Parse/ExtCommTypedSubRule.h>
#include <VoBgp/VoBgpCommunity.h>

// What route targets and route origins (RFC 4360, sections 4 and 5) have in common: everything but
// their words. `Family` is the row that holds these.

namespace Routing::Bgp {

/// A route target or route origin whose administrator is an AS, two or four octets. Else as its
/// base.
template <class Family>
class VOBGP_EXPORT ExtCommRouteAs : public ExtCommAsNumber {
  public:
    MOX_COUNTED(ExtCommRouteAs)

    ExtCommRouteAs(ExtCommContent const& content, bool fourByteAs) noexcept
      : ExtCommAsNumber(Family::classification, content, fourByteAs) {}
    ~ExtCommRouteAs() override;

  protected:
    /// Asserts that the type octet is one of those that the rules build it for.
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// `[PREFIX:]AS:NUMBER`, the prefix for strepFormatClassification, in full or short words as
    /// strepFormatUI says.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override;
};

/// A route target or route origin whose administrator is an IPv4 address. Else as its base.
template <class Family>
class VOBGP_EXPORT ExtCommRouteIpv4Address : public ExtCommIpv4Address {
  public:
    MOX_COUNTED(ExtCommRouteIpv4Address)

    explicit ExtCommRouteIpv4Address(ExtCommContent const& content) noexcept
      : ExtCommIpv4Address(Family::classification, content) {}
    ~ExtCommRouteIpv4Address() override;

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// `[PREFIX:]ADDRESS:NUMBER`, the prefix as for an AS.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override;
};

/// The plug-in of a family: serves the three transitive types with an administrator. Non-transitive
/// values stay generic. Else as its base.
template <class Family>
class VOBGP_EXPORT BgpParseExtCommRouteSm final : public BgpParseExtCommPluginBaseSm {
  public:
    MOX_COUNTED(BgpParseExtCommRouteSm)

    explicit BgpParseExtCommRouteSm(
        BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);
    ~BgpParseExtCommRouteSm() override;

    void instantiateExtCommSubTypeTransTwoOctetAsSubRule(
        BgpParseExtCommSubTypeTransTwoOctetAsRuleKey const& key,
        BgpParseExtCommControl const& control) const override;
    void instantiateExtCommSubTypeTransIpv4AddressSubRule(
        BgpParseExtCommSubTypeTransIpv4AddressRuleKey const& key,
        BgpParseExtCommControl const& control) const override;
    void instantiateExtCommSubTypeTransFourOctetAsSubRule(
        BgpParseExtCommSubTypeTransFourOctetAsRuleKey const& key,
        BgpParseExtCommControl const& control) const override;
};

} // namespace Routing::Bgp
