#include "RouteLists.h"

#include <tuple>
#include <utility>

#include "text/AttributeVerdict.h"

namespace BgpCommunities {

RouteLists internLists(Agent const& agent, std::span<CommunityAttribute const> communities,
                       RefuseAttribute const& refuse) {
    RouteLists lists;
    for (CommunityAttribute const& attribute : communities) {
        if (attribute.repetition != 0) {
            continue;
        }
        withKind(attribute.kind, [&]<class Kind>(Kind) {
            auto decoded = agent.list<Kind>(attribute.value);
            if (decoded) {
                std::get<typename Kind::List::PtrConst>(lists) = std::move(decoded.list);
            } else {
                refuse(verdictText(decoded.verdict, Kind::kind, attribute.value.size()));
            }
        });
    }
    return lists;
}

} // namespace BgpCommunities
