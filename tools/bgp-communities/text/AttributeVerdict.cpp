#include "AttributeVerdict.h"

namespace BgpCommunities {

std::string verdictText(Routing::Bgp::AttributeVerdict verdict, CommunityKind kind,
                        std::size_t octets) {
    using Verdict = Routing::Bgp::AttributeVerdict;
    switch (verdict) {
    case Verdict::accepted:
        return {};
    case Verdict::empty:
        return "the value is empty";
    case Verdict::tooLong:
        return "length " + std::to_string(octets) + " exceeds the maximum of " +
               std::to_string(maxAttributeOctets);
    case Verdict::badLength:
        return "length " + std::to_string(octets) + " is not a multiple of " +
               std::to_string(traitsOf(kind).memberOctets);
    case Verdict::severalLinkBandwidths:
        return "two different link bandwidths, at most one is allowed";
    case Verdict::severalOriginValidationStates:
        return "two different origin validation states, at most one is allowed";
    case Verdict::transitiveLinkBandwidth:
        return "transitive link bandwidth";
    case Verdict::transitiveOriginValidationState:
        return "transitive origin validation state";
    }
    return "refused";
}

} // namespace BgpCommunities
