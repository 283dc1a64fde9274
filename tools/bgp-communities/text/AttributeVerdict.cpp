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
        return "length " + std::to_string(octets) + " is more than a path attribute's " +
               std::to_string(maxAttributeOctets);
    case Verdict::badLength:
        return "length " + std::to_string(octets) + " is no multiple of " +
               std::to_string(traitsOf(kind).memberOctets);
    case Verdict::severalLinkBandwidths:
        return "two different link bandwidths, where a list carries one";
    case Verdict::severalOriginValidationStates:
        return "two different origin validation states, where a list carries one";
    case Verdict::transitiveLinkBandwidth:
        return "transitive link bandwidth";
    case Verdict::transitiveOriginValidationState:
        return "transitive origin validation state";
    }
    return "refused";
}

} // namespace BgpCommunities
