#include "ListCounter.h"

#include "text/AttributeVerdict.h"

namespace BgpCommunities {

void ListCounter::handleUpdate(Update const& update) {
    routes_ += update.announced.size() + update.withdrawn.size();
    countListsOf(update);
}

void ListCounter::handleRibEntry(RibEntry const& entry) {
    ++routes_;
    countListsOf(entry);
}

template <class Carrier>
void ListCounter::countListsOf(Carrier const& carrier) {
    if (passesLists_) {
        ListSet lists{};
        count(carrier.at, carrier.communities, &lists);
        handleLists(carrier, lists);
    } else {
        count(carrier.at, carrier.communities, nullptr);
    }
}

void ListCounter::add(ListCounter const& other) {
    routes_ += other.routes_;
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        refused_[kind].attributes += other.refused_[kind].attributes;
        refused_[kind].members += other.refused_[kind].members;
        lists_[kind]->add(*other.lists_[kind]);
    }
}

void ListCounter::count(RecordPosition const& at, std::span<CommunityAttribute const> communities,
                        ListSet* lists) {
    for (CommunityAttribute const& attribute : communities) {
        if (attribute.form() != CommunityAttribute::Form::wellFormed) {
            continue;
        }
        ListId const list = count(at, attribute);
        if (lists != nullptr && attribute.repetition == 0) {
            (*lists)[static_cast<std::size_t>(attribute.kind)] = list;
        }
    }
}

ListId ListCounter::count(RecordPosition const& at, CommunityAttribute const& attribute) {
    auto const kind = static_cast<std::size_t>(attribute.kind);
    CachedCount const& cached = cache_[kind].find(attribute.value, [&](CachedCount& result) {
        result.counted = lists_[kind]->of(attribute.value, result.verdict);
    });
    if (cached.counted.uses != nullptr) {
        ++*cached.counted.uses;
    } else {
        countRefused(at, attribute, cached.verdict);
    }
    return cached.counted.list;
}

void ListCounter::countRefused(RecordPosition const& at, CommunityAttribute const& attribute,
                               Routing::Bgp::AttributeVerdict verdict) {
    Refused& refused = refused_[static_cast<std::size_t>(attribute.kind)];
    ++refused.attributes;
    refused.members += attribute.members();
    refuse(at, verdictText(verdict, attribute.kind, attribute.value.size()));
}

} // namespace BgpCommunities
