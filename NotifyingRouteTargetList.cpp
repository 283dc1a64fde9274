#include <VoBgp/NotifyingRouteTargetList.h>

#include <Mox/Assert.h>
#include <Mox/Type.h>

#include <string>

namespace Routing::Bgp {

Mox::Type const& NotifyingRouteTargetList::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::NotifyingRouteTargetList",
        {Mox::readOnlyAttribute<NotifyingRouteTargetList, &NotifyingRouteTargetList::rts>("rt")});
    return type;
}

namespace {
Mox::TypeRegistration const
    notifyingRouteTargetListRegistration(NotifyingRouteTargetList::staticType());
} // namespace

void NotifyingRouteTargetList::Notifiee::handleChange(Mox::AttributeNumber /*attribute*/,
                                                      void const* key) {
    handleRt(*static_cast<RouteTarget const*>(key));
}

NotifyingRouteTargetList::NotifyingRouteTargetList()
  : notifieeList_(*this)
  , rt_(*this, rtAttribute) {}

NotifyingRouteTargetList::~NotifyingRouteTargetList() = default;

void NotifyingRouteTargetList::dumpState(Kel::DumpContext::PtrConst const& dumpContext,
                                         U32 indent) const {
    MOX_ASSERT_TEXT(dumpContext != nullptr, "__null != dumpContext");
    dumpContext->line(indent, "NotifyingRouteTargetList #" + std::to_string(rts()) + ":");
    rt_.forEach([&](RouteTarget const& rt) { dumpContext->line(indent + 2, rt.toStrep(false)); });
}

NotifyingRouteTargetList::Ptr notifyingRouteTargetListFactory() {
    return Mox::makeActive<NotifyingRouteTargetList>();
}

} // namespace Routing::Bgp
