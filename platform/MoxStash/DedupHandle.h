#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Export.h>

namespace MoxStash {

class StoreManager;
class StoreWriter;

/// Base of interned objects that can be kept in a store.
///
/// Each such type has `stash`, which writes an object to a store, and `destash`, which rebuilds it.
/// Except for types that document otherwise, a rebuilt object is in state destashed: it is never in
/// a table, and its last release destroys it.
class VOBGP_EXPORT DedupHandle : public Kel::DedupHandle {
  public:
    ~DedupHandle() override;

  protected:
    DedupHandle() noexcept = default;
    using Kel::DedupHandle::DedupHandle;
};

} // namespace MoxStash
