#include <Routing/Bgp/BasicDedupTable_.h>

#include <Mox/Ptr.h>
#include <Mox/Type.h>
#include <Routing/Bgp/VoBgpGlobals.h>

namespace Routing::Bgp {

Mox::Type const& BasicDedupTable_::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Routing::Bgp::BasicDedupTable_", {});
    return type;
}

namespace {
Mox::TypeRegistration const basicDedupTableRegistration(BasicDedupTable_::staticType());
} // namespace

BasicDedupTable_::BasicDedupTable_()
  : dedupHashTable_(
        Mox::makeActive<Kel::DedupHashTableUnorderedSet>(VoBgpGlobals::multiThreaded())) {}

BasicDedupTable_::~BasicDedupTable_() = default;

void BasicDedupTable_::dumpState(Kel::DumpContext::PtrConst const& dumpContext, U32 indent) const {
    dedupHashTable_->dumpState(dumpContext, indent);
}

} // namespace Routing::Bgp
