#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>

#include <Kel/DedupHashTable.h>
#include <VoBgp/CommunityTables.h>

#include "input/OctetReader.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

// The table of the kinds of lists: one struct for each, with everything that differs between them.
// `name` is used in reports; `tables()` are the intern tables of the kind, starting with that of
// the lists.

struct StandardLists {
    static constexpr auto kind = CommunityKind::standard;
    static constexpr std::string_view name = "lists of communities";
    using List = Routing::Bgp::CommList;
    static constexpr auto decode = &Routing::Bgp::CommunityTables::commList;
    /// The path attribute, with its header.
    static Mox::String wire(List const& list) { return list.serialize(); }
    static auto tables(Routing::Bgp::CommunityTables const& all) {
        return std::array{all.commListDedupTable()->dedupTable()};
    }
};

struct ExtendedLists {
    static constexpr auto kind = CommunityKind::extended;
    static constexpr std::string_view name = "lists of extended communities";
    using List = Routing::Bgp::ExtCommList;
    static constexpr auto decode = &Routing::Bgp::CommunityTables::extCommList;
    static Mox::String wire(List const& list) {
        return list.serialize(List::Serialization(List::Serialization::all));
    }
    static auto tables(Routing::Bgp::CommunityTables const& all) {
        auto const& lists = *all.extCommListDedupTable();
        return std::array{lists.dedupTable(), lists.extCommClassificationListDedupTable(),
                          lists.rtExtCommClassificationListDedupTable(),
                          all.extCommDedupTable()->dedupHashTable()};
    }
};

struct Ip6Lists {
    static constexpr auto kind = CommunityKind::ip6Extended;
    static constexpr std::string_view name = "lists of IPv6 extended communities";
    using List = Routing::Bgp::ExtCommIp6List;
    static constexpr auto decode = &Routing::Bgp::CommunityTables::extCommIp6List;
    static Mox::String wire(List const& list) { return list.serialize(true); }
    static auto tables(Routing::Bgp::CommunityTables const& all) {
        auto const& lists = *all.extCommIp6ListDedupTable();
        return std::array{lists.dedupTable(), lists.extCommClassification(),
                          all.extCommIp6DedupTable()->dedupHashTable()};
    }
};

struct LargeLists {
    static constexpr auto kind = CommunityKind::large;
    static constexpr std::string_view name = "lists of large communities";
    using List = Routing::Bgp::LargeCommList;
    static constexpr auto decode = &Routing::Bgp::CommunityTables::largeCommList;
    static Mox::String wire(List const& list) { return list.serialize(); }
    static auto tables(Routing::Bgp::CommunityTables const& all) {
        return std::array{all.largeCommListDedupTable()->dedupTable()};
    }
};

/// A type list of kinds, and loops over it.
template <class... Kinds>
struct KindTable {
    /// One counted pointer to a list of each kind.
    using Lists = std::tuple<typename Kinds::List::PtrConst...>;

    static constexpr bool isComplete() {
        std::size_t number = 0;
        return sizeof...(Kinds) == communityKinds &&
               ((static_cast<std::size_t>(Kinds::kind) == number++) && ...);
    }

    template <class Visit>
    static void forEach(Visit const& visit) {
        (visit(Kinds()), ...);
    }

    template <class Visit>
    static void with(CommunityKind kind, Visit const& visit) {
        (void)((Kinds::kind == kind && (visit(Kinds()), true)) || ...);
    }
};

/// All kinds, in the order of CommunityKind.
using ListKinds = KindTable<StandardLists, ExtendedLists, Ip6Lists, LargeLists>;
static_assert(ListKinds::isComplete());

/// Calls `visit(row)` for the row of each kind, in order.
template <class Visit>
void forEachKind(Visit const& visit) {
    ListKinds::forEach(visit);
}

/// Calls `visit(row)` for the row of `kind`.
template <class Visit>
void withKind(CommunityKind kind, Visit const& visit) {
    ListKinds::with(kind, visit);
}

} // namespace BgpCommunities
