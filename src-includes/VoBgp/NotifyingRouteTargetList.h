#pragma once

#include <Kel/DumpContext.h>
#include <Mox/Export.h>
#include <Mox/Notifiee.h>
#include <Mox/Ptr.h>
#include <Mox/SetAttribute.h>
#include <Mox/Types.h>
#include <Routing/Bgp/RouteTarget.h>

#include <cstddef>

namespace Routing::Bgp {

using Mox::U32;

/// A set of route targets that notifies its observers of every one that is added or removed.
///
/// Owned by its producer and its observers; holds the route targets by value. Takes no lock.
/// Reactor thread; the list of an intern table in thread-safe mode is changed by one thread at a
/// time, and only its observers may read it. Any thread may read the count, rts().
class VOBGP_EXPORT NotifyingRouteTargetList : public Mox::PtrInterface {
  public:
    MOX_COUNTED(NotifyingRouteTargetList)

    /// The attribute that notifications are about.
    static constexpr Mox::AttributeNumber rtAttribute = 0;

    /// An observer of a list. Owned by the agent; keeps its list alive.
    class VOBGP_EXPORT Notifiee : public Mox::NotifieeOf<NotifyingRouteTargetList> {
      public:
        Notifiee() noexcept = default;

        explicit Notifiee(NotifyingRouteTargetList::PtrConst const& notifier) {
            notifierIs(notifier);
        }

        /// Called after the route target was added or removed: `notifier()->rtHas(rt)` is true if
        /// it was added. Must not throw on removal, which may happen in the release of a community.
        virtual void handleRt(RouteTarget const& /*rt*/) {}

      private:
        void handleChange(Mox::AttributeNumber attribute, void const* key) final;
    };

    NotifyingRouteTargetList();
    ~NotifyingRouteTargetList() override;

    /// Adds a route target and notifies the observers, unless it is present.
    void rtIs(RouteTarget const& rt) { rt_.is(rt); }

    /// Removes a route target and notifies the observers; returns whether it was present.
    bool rtDel(RouteTarget const& rt) { return rt_.del(rt); }

    /// Removes every route target, one at a time through rtDel().
    void rtDelAll() { rt_.delAll(); }

    bool rtHas(RouteTarget const& rt) const noexcept { return rt_.has(rt); }
    std::size_t rts() const noexcept { return rt_.size(); }

    /// Calls the visitor with each route target. The visitor may change the list.
    template <class Visitor>
    void forEachRt(Visitor visitor) const {
        rt_.forEach(visitor);
    }

    Mox::NotifieeList* notifieeList() const noexcept override { return &notifieeList_; }

    /// Prints a line with the count and a line for each route target.
    void dumpState(Kel::DumpContext::PtrConst const& dumpContext, U32 indent) const;

  private:
    mutable Mox::NotifieeList notifieeList_;
    Mox::SetAttribute<RouteTarget> rt_;
};

/// Returns a new, empty list with notifications enabled.
VOBGP_EXPORT NotifyingRouteTargetList::Ptr notifyingRouteTargetListFactory();

} // namespace Routing::Bgp
