#include <Kel/DedupHandle.h>

#include <Kel/DedupTableCore.h>
#include <Mox/Assert.h>
#include <Mox/Hash.h>
#include <Mox/Type.h>

#include <ostream>

namespace Kel {

DedupHandle::~DedupHandle() {
    if (U32 const table = countWord().tableId(); table != 0) {
        DedupTableCore::withId(table).release();
    }
}

bool DedupHandle::isDeduped() const noexcept {
    return dedupState() == dedupHandleStateDeduped();
}

bool DedupHandle::everDeduped() const noexcept {
    return dedupState() != dedupHandleStateNeverDeduped();
}

void DedupHandle::assertIsDeduped() const noexcept {
    MOX_ASSERT(isDeduped());
}

U64 DedupHandle::placementHash() const {
    return Mox::keyedHash(hash());
}

void DedupHandle::formatHandle(std::ostream& os) const {
    auto const name = fwkType().name();
    os.write(name.data(), static_cast<std::streamsize>(name.size()));
}

void DedupHandle::releaseToFloor() const noexcept {
    DedupTableCore::withId(countWord().tableId()).releaseHandle(const_cast<DedupHandle&>(*this));
}

} // namespace Kel
