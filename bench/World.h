#pragma once

#include "Samples.h"

#include <Acl/CommunityValue.h>
#include <VoBgp/CommunityTables.h>

#include <span>

namespace Bench {

/// Sets the process to plain or thread-safe mode; the destructor resets it to plain mode.
class PointerMode {
  public:
    explicit PointerMode(bool threadSafe);
    ~PointerMode();
    PointerMode(PointerMode const&) = delete;
    PointerMode& operator=(PointerMode const&) = delete;
};

/// The tables of an agent, filled through the library's public functions.
struct World {
    explicit World(bool threadSafe)
      : mode(threadSafe) {}

    Routing::Bgp::ExtComm::PtrConst intern(ExtCommContent const& content) const {
        return Routing::Bgp::ExtComm::dedupContent(tables.extCommDedupTable().get(), content);
    }

    Routing::Bgp::CommList::PtrConst list(std::span<U32 const> members) const;
    Routing::Bgp::LargeCommList::PtrConst list(std::span<Acl::CommunityValue const> members) const;
    Routing::Bgp::ExtCommList::PtrConst list(std::span<ExtCommContent const> members) const;
    Routing::Bgp::ExtCommIp6List::PtrConst list(std::span<ExtCommIp6Content const> members) const;

    PointerMode const mode;
    Routing::Bgp::CommunityTables const tables;
};

} // namespace Bench
