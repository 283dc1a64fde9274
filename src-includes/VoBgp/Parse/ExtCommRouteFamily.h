#pragma once

#include <Mox/Export.h>
#include <VoBgp/Parse/ExtCommTyped.h>
#include <VoBgp/VoBgpCommunity.h>

#include <typeinfo>

// Route targets and route origins (RFC 4360, sections 4 and 5) differ only in words and names,
// which the row `Family` contains. Defined in `Parse/ExtCommRouteFamilyImpl.h`, which the sources
// of the two include.

namespace Routing::Bgp {

/// A route target or route origin whose administrator is an AS of two or four octets.
template <class Family>
class VOBGP_EXPORT ExtCommRouteAs : public ExtCommAsNumber {
  public:
    MOX_COUNTED(ExtCommRouteAs)

    ExtCommRouteAs(ExtCommContent const& content, bool fourByteAs) noexcept
      : ExtCommAsNumber(Family::classification, content, fourByteAs) {}

  protected:
    /// Asserts that the type octet is one that the rules build this class for.
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// `[PREFIX:]AS:NUMBER`; strepFormatClassification adds the prefix, and strepFormatUI selects
    /// its long form.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override { return typeid(*this) == typeid(ExtCommRouteAs); }
};

/// A route target or route origin whose administrator is an IPv4 address.
template <class Family>
class VOBGP_EXPORT ExtCommRouteIpv4Address : public ExtCommIpv4Address {
  public:
    MOX_COUNTED(ExtCommRouteIpv4Address)

    explicit ExtCommRouteIpv4Address(ExtCommContent const& content) noexcept
      : ExtCommIpv4Address(Family::classification, content) {}

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// `[PREFIX:]ADDRESS:NUMBER`, the prefix as for an AS.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override {
        return typeid(*this) == typeid(ExtCommRouteIpv4Address);
    }
};

} // namespace Routing::Bgp
