#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <VoBgp/Parse/ExtCommContainer.h>
#include <VoBgp/VoBgpCommunity.h>

#include "OctetReader.h"

namespace BgpCommunities {

/**
 * The smallest honest routing agent: what a process needs to have to intern communities.
 *
 * It owns the parse rules and the intern tables that parse by them. Reactor thread: the tables are
 * made for one thread. What never changes: every community that the program speaks of came out of
 * these tables.
 */
class Agent {
  public:
    using ExtComms = std::vector<Routing::Bgp::ExtComm::PtrConst>;

    Agent();

    /** Makes `members` the interned ones of the value of an extended communities attribute, whose
        length is a multiple of 8: in ascending order, each one once. */
    void intern(Octets value, ExtComms& members);

    /** How many different extended communities somebody holds. */
    [[nodiscard]] std::size_t extComms() const;

  private:
    Routing::Bgp::BgpParseExtCommContainerSm::Ptr const parsers_;
    Routing::Bgp::ExtCommDedupTable::Ptr const extComms_;
    std::vector<std::uint64_t> sorted_; // of one attribute, to be used again
};

} // namespace BgpCommunities
