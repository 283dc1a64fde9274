#include "Bench.h"
#include "Reference.h"
#include "Samples.h"
#include "World.h"

#include <array>
#include <string>
#include <vector>

namespace Bench {

namespace {

using namespace Routing::Bgp;

std::vector<ExtComm::PtrConst> intern(World const& world,
                                      std::vector<ExtCommContent> const& contents) {
    std::vector<ExtComm::PtrConst> held;
    held.reserve(contents.size());
    for (auto const& content : contents) {
        held.push_back(world.intern(content));
    }
    return held;
}

/// Looks up values that are interned already, and adds and releases a reference. Threads share all
/// values, or each uses its own half.
class ValueHit {
  public:
    ValueHit(bool threadSafe, std::size_t values, bool halves)
      : world_(threadSafe) {
        auto const all = contents(Kind::plain, values);
        held_ = intern(world_, all);
        auto const middle = halves ? values / 2 : 0;
        lookups_[0] = drawContents(std::span(all).first(values - middle));
        lookups_[1] = drawContents(std::span(all).subspan(middle));
    }

    void operator()(std::size_t i, unsigned thread) {
        auto const& lookups = lookups_[thread];
        auto const found = world_.intern(lookups[i]);
        keep(found.get());
    }

  private:
    World world_;
    std::vector<ExtComm::PtrConst> held_;
    std::array<ContentCycle, 2> lookups_;
};

/// The same with limP, or limA if `locked`.
template <bool locked>
class ValueHitReference {
  public:
    explicit ValueHitReference(std::size_t values)
      : table_(values) {
        auto const all = contents(Kind::plain, values);
        for (auto const& each : all) {
            table_.insert(each.community());
        }
        lookups_ = drawContents(all);
    }

    void operator()(std::size_t i) { table_.hit<locked>(lookups_[i].community()); }

  private:
    CountedValues table_;
    ContentCycle lookups_;
};

/// Interns and releases new values, among `values` others: miss, parse, insert, release, destroy.
/// Each thread has its own values.
class ValueMiss {
  public:
    ValueMiss(bool threadSafe, std::size_t values)
      : world_(threadSafe)
      , held_(intern(world_, contents(Kind::routeOrigin, values))) {
        constexpr std::size_t fresh = 1 << 16;
        for (std::size_t thread = 0; thread < fresh_.size(); ++thread) {
            fresh_[thread] =
                ContentCycle(contents(Kind::routeOrigin, fresh, values + thread * fresh));
        }
    }

    void operator()(std::size_t i, unsigned thread) {
        auto const& fresh = fresh_[thread];
        auto const made = world_.intern(fresh[i]);
        keep(made.get());
    }

  private:
    World world_;
    std::vector<ExtComm::PtrConst> held_;
    std::array<ContentCycle, 2> fresh_;
};

} // namespace

void addValues() {
    for (std::size_t const values : {1'000U, 10'000U, 100'000U, 1'000'000U, 10'000'000U}) {
        auto const size = "/" + std::to_string(values);
        auto const iterations = iterationsFor(values);
        add({"valueHit/plain/library" + size, work<ValueHit>(false, values, false), 1, iterations});
        add({"valueHit/plain/limP" + size, work<ValueHitReference<false>>(values), 1, iterations});
        add({"valueHit/threadSafe/library" + size, work<ValueHit>(true, values, false), 1,
             iterations});
        add({"valueHit/threadSafe/limA" + size, work<ValueHitReference<true>>(values), 1,
             iterations});
        add({"valueHit/twoThreads/library" + size, work<ValueHit>(true, values, true), 2,
             iterations});
        add({"valueMiss/plain/library" + size, work<ValueMiss>(false, values), 1, iterations});
        add({"valueMiss/threadSafe/library" + size, work<ValueMiss>(true, values), 1, iterations});
        add({"valueMiss/twoThreads/library" + size, work<ValueMiss>(true, values), 2, iterations});
    }
    // Both threads look up the only value.
    add({"hotValue/library", work<ValueHit>(true, std::size_t{1}, false), 2});
    add({"hotValue/limA", work<ValueHitReference<true>>(std::size_t{1}), 2});
}

} // namespace Bench
