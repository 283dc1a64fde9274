#pragma once

#include <Mox/Types.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StoreWriter.h>
#include <VoBgp/CommunityTables.h>

#include <string>

/// The content of stores in tests and fuzzers: a table of each kind of value and list, each a named
/// root.
namespace Routing::Bgp::Test {

using Mox::U32;
using Mox::U64;

/// The tables of an agent that writes numbers to stores. Reactor thread.
class StoreSample {
  public:
    /// Fills all tables with contents derived from `number`; each list has `members` members. Each
    /// kind has an interned list, and half of the kinds also one that was not interned.
    void stash(MoxStash::StoreWriter& writer, U32 number, U32 members);

    ExtComm::PtrConst extComm(U32 number, U32 index);
    ExtCommIp6::PtrConst extCommIp6(U32 number, U32 index);

  private:
    CommunityTables const tables_;
};

/// Rebuilds the content of all tables of a store and writes it to another store under the same
/// names. Returns a text of everything that the objects print, find and serialize. Throws
/// StoreException, and `std::logic_error` if a rebuilt object violates an invariant.
std::string copyStore(MoxStash::StoreManager& from, MoxStash::StoreWriter& to);

} // namespace Routing::Bgp::Test
