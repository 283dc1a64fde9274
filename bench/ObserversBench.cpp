#include "Bench.h"
#include "Samples.h"
#include "World.h"

#include <optional>
#include <string>
#include <vector>

namespace Bench {

namespace {

using namespace Routing::Bgp;

/// An observer that counts insertions and removals of route targets.
class RouteTargetObserver : public NotifyingRouteTargetList::Notifiee {
  public:
    using Notifiee::Notifiee;

    void handleRt(RouteTarget const&) override { ++changes_; }

  private:
    U64 changes_ = 0;
};

/// An observer that counts insertions and removals of lists of route targets.
class ListObserver : public NotifyingRtExtCommListCollection::Notifiee {
  public:
    using Notifiee::Notifiee;

    void handleRtExtCommList(NotifyingRtExtCommListCollection::NotifierPtr const&) override {
        ++changes_;
    }

  private:
    U64 changes_ = 0;
};

/// Interns and releases one route target after another, among others that stay. Without observers,
/// the table announces nothing.
class RouteTargetChurn {
  public:
    RouteTargetChurn(std::size_t others, bool observed)
      : world_(false)
      , fresh_(contents(Kind::routeTarget, 1 << 16, others)) {
        if (observed) {
            observer_.emplace(world_.tables.extCommDedupTable()->notifyingRouteTargetList());
        } else {
            world_.tables.extCommDedupTable()->dedupHashTable()->lifeTimeNotifieeIs(nullptr);
        }
        for (auto const& each : contents(Kind::routeTarget, others)) {
            held_.push_back(world_.intern(each));
        }
    }

    void operator()(std::size_t i) {
        auto const made = world_.intern(fresh_[i]);
        keep(made.get());
    }

  private:
    World world_;
    std::optional<RouteTargetObserver> observer_;
    std::vector<ExtComm::PtrConst> held_;
    ContentCycle fresh_;
};

/// Interns and releases one list of eight after another, half route targets, among others that
/// stay.
class RouteTargetListChurn {
  public:
    RouteTargetListChurn(std::size_t others, bool observed)
      : world_(false)
      , fresh_(freshLists<ExtCommContent>(8)) {
        if (observed) {
            observer_.emplace(
                world_.tables.extCommListDedupTable()->notifyingRtExtCommListCollection());
        } else {
            world_.tables.extCommListDedupTable()
                ->rtExtCommClassificationListDedupTable()
                ->lifeTimeNotifieeIs(nullptr);
        }
        auto const all = lists<ExtCommContent>(8, others);
        for (std::size_t list = 0; list < others; ++list) {
            held_.push_back(world_.list(all[list]));
        }
    }

    void operator()(std::size_t i) {
        auto const list = world_.list(fresh_[i]);
        keep(list.get());
    }

  private:
    World world_;
    std::optional<ListObserver> observer_;
    std::vector<ExtCommList::PtrConst> held_;
    ListCycle<ExtCommContent> fresh_;
};

} // namespace

void addObservers() {
    for (std::size_t const others : {1'000U, 100'000U}) {
        for (bool const observed : {false, true}) {
            auto const contender =
                (observed ? "/observed/" : "/unobserved/") + std::to_string(others);
            add({"routeTargetChurn" + contender, work<RouteTargetChurn>(others, observed)});
            add({"routeTargetListChurn" + contender, work<RouteTargetListChurn>(others, observed)});
        }
    }
}

} // namespace Bench
