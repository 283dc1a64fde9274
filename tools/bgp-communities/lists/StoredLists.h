#pragma once

#include <unordered_set>

#include <MoxStash/StoreManager.h>

#include "input/IntegerTypes.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// Rebuilds the lists of one kind, a row of ListKinds.h, from a store and passes each with its uses
/// to `take(list, uses)`, in the order of the store. Returns false if the store has no lists of
/// this kind. Throws StoreException.
template <class Kind, class Take>
bool readStoredLists(MoxStash::StoreManager& store, Take take) {
    void const* const root = store.root(traitsOf(Kind::kind).key);
    if (root == nullptr) {
        return false;
    }
    MoxStash::StoredTable const table(store, root);
    // Duplicates could make the lists take far more memory than the store.
    std::unordered_set<void const*> seen;
    for (U64 row = 0; row < table.size(); ++row) {
        auto const [stored, uses] = table[row];
        if (!seen.insert(stored).second) {
            store.validateVersionAnchor();
            throw MoxStash::StoreException(store.name(), MoxStash::storedOffset(stored),
                                           "duplicate list");
        }
        auto list = Kind::List::destash(stored, &store);
        if constexpr (requires { list->sortComms(); }) {
            list->sortComms();
        }
        take(std::move(list), uses);
    }
    return true;
}

/// Returns `read()`, which reads a store. Retries, a limited number of times, if the store is
/// replaced meanwhile.
template <class Read>
auto readCurrent(Read read) {
    for (int attempt = 1;; ++attempt) {
        try {
            return read();
        } catch (MoxStash::StaleStoreException const&) {
            if (attempt == 100) {
                throw;
            }
        }
    }
}

} // namespace BgpCommunities
