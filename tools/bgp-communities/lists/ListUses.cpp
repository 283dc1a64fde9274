#include "ListUses.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <Mox/Hash.h>

#include "ListKinds.h"
#include "StoredLists.h"
#include "text/AttributeVerdict.h"
#include "text/CommunityFormatter.h"

namespace BgpCommunities {

using namespace Routing::Bgp;

namespace {

/// Hashes members of lists: untrusted values, or pointers to interned objects.
struct MemberHash {
    std::size_t operator()(U32 value) const { return Mox::hashWord(value); }

    std::size_t operator()(Acl::CommunityValue const& value) const {
        U64 const high = U64{value.globalAdministrator()} << 32;
        return Mox::hashWord(Mox::hashWord(high | value.localData1()) ^ value.localData2());
    }

    template <class Comm>
    std::size_t operator()(Mox::PtrConst<Comm> const& comm) const {
        return std::hash<Comm const*>()(comm.get());
    }
};

template <class Member>
std::string octetsOfMembers(std::span<Member const> members) {
    std::string octets;
    for (Member const& member : members) {
        CommunityFormatter::appendOctets(octets, member);
    }
    return octets;
}

template <class List>
auto membersOf(List const& list) {
    return std::span(list.begin(), list.end());
}

/// The memory of the member array in octets. Arrays of plain values have no spare capacity.
template <class List>
std::size_t arrayOctets(List const& list) {
    if constexpr (requires { list.commVector().capacity(); }) {
        return list.commVector().capacity() * sizeof *list.begin();
    } else {
        return list.comms() * sizeof *list.begin();
    }
}

/// An entry of a map of uses, and the octets that order it among entries with equal uses.
template <class Entry>
struct RankedEntry {
    Entry const* entry;
    std::string octets;
};

/// Returns the `most` most used entries of a map, in order. Ties are ordered by `octets(key)`,
/// which is called once per entry: following the pointers to its members is most of the cost.
template <class Uses, class OctetsOfKey>
auto ranked(Uses const& uses, std::size_t most, OctetsOfKey octets) {
    std::vector<RankedEntry<typename Uses::value_type>> entries;
    entries.reserve(uses.size());
    for (auto const& entry : uses) {
        entries.push_back({&entry, octets(entry.first)});
    }
    auto const precedes = [](auto const& a, auto const& b) {
        return a.entry->second != b.entry->second ? a.entry->second > b.entry->second
                                                  : a.octets < b.octets;
    };
    if (most < entries.size()) {
        auto const end = entries.begin() + static_cast<std::ptrdiff_t>(most);
        std::nth_element(entries.begin(), end, entries.end(), precedes);
        entries.erase(end, entries.end());
    }
    std::sort(entries.begin(), entries.end(), precedes);
    return entries;
}

/// Returns the most used keys of a map with their texts.
template <class Uses, class OctetsOfKey, class TextOfKey>
std::vector<UsageCount> mostUsed(Uses const& uses, std::size_t most, OctetsOfKey octets,
                                 TextOfKey text) {
    std::vector<UsageCount> shown;
    for (auto& each : ranked(uses, most, octets)) {
        shown.push_back({each.entry->second, std::move(each.octets), text(each.entry->first)});
    }
    return shown;
}

template <class Kind>
class ListUsesOf final : public ListUses {
  public:
    explicit ListUsesOf(Agent& agent)
      : agent_(agent) {}

    Counted of(Octets value, AttributeVerdict& verdict) override {
        auto const decoded = agent_.list<Kind>(value);
        verdict = decoded.verdict;
        return decoded ? Counted{decoded.list.get(), &uses_[decoded.list]} : Counted{};
    }

    void add(RouteLists const& lists) override {
        if (auto const& list = std::get<ListPtr>(lists)) {
            ++uses_[list];
        }
    }

    void add(ListUses const& other) override {
        for (auto const& [list, uses] : static_cast<ListUsesOf const&>(other).uses_) {
            increase(uses_[list], uses);
        }
    }

    bool addStored(MoxStash::StoreManager& store) override {
        return readStoredLists<Kind>(store, [&](auto const& list, U64 uses) {
            std::string const octets = octetsOfMembers(membersOf(*list));
            AttributeVerdict verdict = AttributeVerdict::accepted;
            Counted const counted = of(octetsOf(octets), verdict);
            if (counted.uses == nullptr) {
                store.validateVersionAnchor();
                throw MoxStash::StoreException(store.name(),
                                               "list that fits no attribute: " +
                                                   verdictText(verdict, Kind::kind, octets.size()));
            }
            increase(*counted.uses, uses);
        });
    }

    [[nodiscard]] std::vector<std::pair<ListId, U64>> uses() const override {
        std::vector<std::pair<ListId, U64>> all;
        all.reserve(uses_.size());
        for (auto const& [list, uses] : uses_) {
            all.emplace_back(list.get(), uses);
        }
        return all;
    }

    [[nodiscard]] InternedKind summary(std::size_t most) const override {
        MemberUses const members = memberUses();
        InternedKind summary;
        for (auto const& [list, uses] : uses_) {
            std::size_t const length = membersOf(*list).size();
            summary.membersUnique += uses * length;
            ++summary.lengths[length].lists;
            summary.lengths[length].attributes += uses;
        }
        summary.distinctLists = uses_.size();
        summary.distinctValues = members.size();
        summary.objectOctets = listOctets() + valueOctets(members.size());
        summary.tableOctets = agent_.tableOctets(Kind::kind);
        CommunityFormatter formatter;
        summary.mostUsedValues = mostUsed(
            members, most,
            [](Member const& member) { return octetsOfMembers(std::span(&member, 1)); },
            [&](Member const& member) { return std::string(formatter.text(member)); });
        summary.mostUsedLists = mostUsed(uses_, most, octetsOfList,
                                         [this](ListPtr const& list) { return text(list.get()); });
        return summary;
    }

    [[nodiscard]] std::vector<ListMember> members(ListId list) const override {
        CommunityFormatter formatter;
        std::vector<ListMember> members;
        for (Member const& member : *static_cast<List const*>(list)) {
            members.push_back(
                {octetsOfMembers(std::span(&member, 1)), std::string(formatter.text(member))});
        }
        return members;
    }

    [[nodiscard]] std::string text(ListId list) const override {
        return std::string(std::string_view(static_cast<List const*>(list)->toStrep()));
    }

    void const* stash(MoxStash::StoreWriter& writer) const override {
        std::vector<MoxStash::StoredEntry> entries;
        for (auto const& each : ranked(uses_, uses_.size(), octetsOfList)) {
            entries.push_back({each.entry->first->stash(writer), each.entry->second});
        }
        return writer.tableIs(entries);
    }

  private:
    using List = typename Kind::List;
    using ListPtr = typename List::PtrConst;
    using Member = std::remove_cvref_t<decltype(*std::declval<List const&>().begin())>;
    using MemberUses = std::unordered_map<Member, U64, MemberHash>;

    static void increase(U64& sum, U64 uses) {
        if (__builtin_add_overflow(sum, uses, &sum)) {
            throw std::overflow_error("more than 2^64 - 1 uses of a list");
        }
    }

    static std::string octetsOfList(ListPtr const& list) {
        return octetsOfMembers(membersOf(*list));
    }

    [[nodiscard]] MemberUses memberUses() const {
        MemberUses members;
        for (auto const& [list, uses] : uses_) {
            for (Member const& member : *list) {
                members[member] += uses;
            }
        }
        return members;
    }

    [[nodiscard]] std::size_t listOctets() const {
        std::size_t octets = 0;
        std::unordered_set<void const*> shared; // classification lists counted so far
        for (auto const& entry : uses_) {
            List const& list = *entry.first;
            octets += sizeof(List) + arrayOctets(list);
            if constexpr (requires { list.classificationList({}); }) {
                octets += classOctets(list, shared);
            }
        }
        return octets;
    }

    /// The memory of the classification lists of a list that are not in `shared` yet.
    static std::size_t classOctets(List const& list, std::unordered_set<void const*>& shared) {
        std::size_t octets = 0;
        for (U32 number = 0; number < extCommClassificationOneBeyondLast; ++number) {
            auto const part = list.classificationList(static_cast<ExtCommClassification>(number));
            octets += part ? sizeof part : 0;
            if (part && shared.insert(part.get()).second) {
                octets += sizeof *part + arrayOctets(*part);
            }
        }
        return octets;
    }

    /// Plain values need no memory besides the arrays of the lists.
    static std::size_t valueOctets(std::size_t values) {
        if constexpr (requires(Member const& member) { member.get(); }) {
            return values * sizeof *std::declval<Member>();
        } else {
            return 0;
        }
    }

    Agent& agent_;
    std::unordered_map<ListPtr, U64> uses_;
};

} // namespace

std::vector<std::unique_ptr<ListUses>> listUses(Agent& agent) {
    std::vector<std::unique_ptr<ListUses>> uses;
    forEachKind(
        [&]<class Kind>(Kind) { uses.push_back(std::make_unique<ListUsesOf<Kind>>(agent)); });
    return uses;
}

} // namespace BgpCommunities
