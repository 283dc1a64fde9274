#pragma once

#include <Mox/Types.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StoreWriter.h>
#include <VoBgp/CommunityTables.h>

#include <string>

/// What the tests and the fuzzer of stores put into one, and look for in one: a table of each kind
/// of value and list, each under a root's name.
namespace Routing::Bgp::Test {

using Mox::U32;
using Mox::U64;

/// The tables of an agent that puts numbers into stores. Reactor thread.
class StoreSample {
  public:
    /// Fills all tables with what tells `number` in every part; each list has that many members.
    /// There is a list that was interned and, of half the kinds, one that was not.
    void stash(MoxStash::StoreWriter& writer, U32 number, U32 members);

    ExtComm::PtrConst extComm(U32 number, U32 index);
    ExtCommIp6::PtrConst extCommIp6(U32 number, U32 index);

  private:
    CommunityTables const tables_;
};

/// Rebuilds all that a store's tables hold, one after the other, and writes it into another store
/// under the same names. Returns its text: what it prints, finds and sends. Throws StoreException,
/// and `std::logic_error` if what was rebuilt is not as a rebuilt object must be.
std::string copyStore(MoxStash::StoreManager& from, MoxStash::StoreWriter& to);

} // namespace Routing::Bgp::Test
