#include <VoBgp/BgpPathAttributeEnums.h>

#include <Mox/EnumerationRegistrations.h>

#include <cstddef>
#include <iterator>

namespace Routing::Bgp {

namespace {

Mox::EnumerationRegistrations<BgpPathAttrType, BgpPathAttrFlag, AspType, OriginCode,
                              PrefixSidTlvType, TunnelType, BgpCommunityValue> const
    pathAttributeEnumerations;

static_assert(Mox::everyMemberHasARow<BgpCommunityValue, 0xffff0000>() &&
              Mox::everyMemberHasARow<BgpCommunityValue, 0xffffff00, 0x100>());

struct ShowString {
    BgpPathAttrType type;
    std::string_view text;
};

/// In the order of the enumeration's table.
constexpr ShowString showStrings[] = {
    {BgpPathAttrType::invalidPathAttr, "Invalid Path Attribute"},
    {BgpPathAttrType::origin, "Origin"},
    {BgpPathAttrType::asPath, "AS Path"},
    {BgpPathAttrType::nextHop, "Nexthop"},
    {BgpPathAttrType::multiExitDisc, "MED"},
    {BgpPathAttrType::localPref, "Local Preference"},
    // With an r, unlike the member: scripts match the show output.
    {BgpPathAttrType::atomicAggregate, "Atomic Aggregator"},
    {BgpPathAttrType::aggregator, "Aggregator"},
    {BgpPathAttrType::community, "Community"},
    {BgpPathAttrType::originatorId, "Originator ID"},
    {BgpPathAttrType::clusterList, "Cluster List"},
    {BgpPathAttrType::advertiser, "Advertiser"},
    {BgpPathAttrType::rcidPath, "RCID Path"},
    {BgpPathAttrType::mpReachNlri, "MP Reach NLRI"},
    {BgpPathAttrType::mpUnreachNlri, "MP Unreach NLRI"},
    {BgpPathAttrType::extCommunity, "Extended Community"},
    {BgpPathAttrType::as4Path, "AS4 Path"},
    {BgpPathAttrType::as4Aggregator, "AS4 Aggregator"},
    {BgpPathAttrType::pmsiTunnel, "PMSI Tunnel"},
    {BgpPathAttrType::tunnelEncapsulation, "Tunnel Encapsulation"},
    {BgpPathAttrType::extCommunityIp6, "IPv6 Address Specific Extended Community"},
    {BgpPathAttrType::accumulatedIgpMetric, "Accumulated IGP Metric"},
    {BgpPathAttrType::bgpLs, "Link State"},
    {BgpPathAttrType::largeCommunity, "Large Community"},
    {BgpPathAttrType::domainPath, "Domain Path"},
    {BgpPathAttrType::prefixSid, "BGP Prefix-SID"},
    {BgpPathAttrType::attrSet, "Attribute Set"},
    {BgpPathAttrType::reservedForDevelopment, "Reserved for Development"},
};

consteval bool showStringsFollowTheTable() {
    auto const& rows = Mox::EnumerationTable<BgpPathAttrType>::rows;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (showStrings[i].type != rows[i].number) {
            return false;
        }
    }
    return std::size(showStrings) == rows.size();
}

static_assert(showStringsFollowTheTable());

} // namespace

std::string_view bgpPathAttrTypeShowString(BgpPathAttrType type) noexcept {
    auto const* const row = Mox::enumerationRow(type);
    if (row == nullptr) {
        return "Invalid attribute";
    }
    return showStrings[row - Mox::EnumerationTable<BgpPathAttrType>::rows.data()].text;
}

} // namespace Routing::Bgp
