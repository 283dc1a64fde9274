#include <Kel/DedupHandleLifeTimeNotifier.h>

#include <Mox/Assert.h>
#include <Mox/Type.h>

namespace Kel {

Mox::Type const& DedupHandleLifeTimeNotifier::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Kel::DedupHandleLifeTimeNotifier", {});
    return type;
}

namespace {
Mox::TypeRegistration const
    dedupHandleLifeTimeNotifierRegistration(DedupHandleLifeTimeNotifier::staticType());
} // namespace

DedupHandleLifeTimeNotifier::DedupHandleLifeTimeNotifier(
    DedupHandle::PtrConst const& handle) noexcept
  : handle_(handle.get())
  , raisedFloor_(false) {
    MOX_ASSERT_TEXT(handle_ != nullptr, "__null != handle");
    raisedFloor_ = handle_->countWord().retainForNotifier();
}

DedupHandleLifeTimeNotifier::~DedupHandleLifeTimeNotifier() {
    if (!raisedFloor_ || !handle_->countWord().releaseForNotifier()) {
        handle_->release();
    }
}

} // namespace Kel
