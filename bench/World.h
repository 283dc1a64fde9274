#pragma once

#include "Samples.h"

#include <Acl/CommunityValue.h>
#include <Mox/Ptr.h>
#include <VoBgp/CommunityTables.h>

#include <span>
#include <string_view>

namespace Bench {

/// Sets the process to plain or thread-safe mode; the destructor resets it to plain mode.
class PointerMode {
  public:
    explicit PointerMode(bool threadSafe);
    ~PointerMode();
    PointerMode(PointerMode const&) = delete;
    PointerMode& operator=(PointerMode const&) = delete;
};

/// The kinds of lists by their members: the list, its table, and the function that decodes it.
template <class Member>
struct KindOf;

template <>
struct KindOf<U32> {
    using List = Routing::Bgp::CommList;
    static constexpr std::string_view name = "standard";
    static constexpr auto table = &Routing::Bgp::CommunityTables::commListDedupTable;
    static constexpr auto decode = &Routing::Bgp::CommunityTables::commList;
};

template <>
struct KindOf<Acl::CommunityValue> {
    using List = Routing::Bgp::LargeCommList;
    static constexpr std::string_view name = "large";
    static constexpr auto table = &Routing::Bgp::CommunityTables::largeCommListDedupTable;
    static constexpr auto decode = &Routing::Bgp::CommunityTables::largeCommList;
};

template <>
struct KindOf<ExtCommContent> {
    using List = Routing::Bgp::ExtCommList;
    static constexpr std::string_view name = "extended";
    static constexpr auto table = &Routing::Bgp::CommunityTables::extCommListDedupTable;
    static constexpr auto decode = &Routing::Bgp::CommunityTables::extCommList;
};

template <>
struct KindOf<ExtCommIp6Content> {
    using List = Routing::Bgp::ExtCommIp6List;
    static constexpr std::string_view name = "ipv6";
    static constexpr auto table = &Routing::Bgp::CommunityTables::extCommIp6ListDedupTable;
    static constexpr auto decode = &Routing::Bgp::CommunityTables::extCommIp6List;
};

/// Calls `visit.operator()<Member>()` for each kind of list.
template <class Visit>
void forEachKind(Visit visit) {
    visit.template operator()<U32>();
    visit.template operator()<Acl::CommunityValue>();
    visit.template operator()<ExtCommContent>();
    visit.template operator()<ExtCommIp6Content>();
}

/// The tables of an agent, filled through the library's public functions.
struct World {
    explicit World(bool threadSafe)
      : mode(threadSafe) {}

    Routing::Bgp::ExtComm::PtrConst intern(ExtCommContent const& content) const {
        return Routing::Bgp::ExtComm::dedupContent(tables.extCommDedupTable().get(), content);
    }

    Routing::Bgp::ExtCommIp6::PtrConst intern(ExtCommIp6Content const& content) const {
        return Routing::Bgp::ExtCommIp6::dedupContent(tables.extCommIp6DedupTable().get(), content);
    }

    template <class Member>
    Mox::PtrConst<typename KindOf<Member>::List> list(std::span<Member const> members) const {
        auto const list = Mox::makeActive<typename KindOf<Member>::List>();
        if constexpr (requires { list->expectedCommunityCountIs(0); }) {
            list->expectedCommunityCountIs(static_cast<U32>(members.size()));
        }
        for (auto const& member : members) {
            if constexpr (requires { list->commIs(member); }) {
                list->commIs(member);
            } else {
                list->commIs(intern(member));
            }
        }
        return list->dedup((tables.*KindOf<Member>::table)().get());
    }

    PointerMode const mode;
    Routing::Bgp::CommunityTables const tables;
};

} // namespace Bench
