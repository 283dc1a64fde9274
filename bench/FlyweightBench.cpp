#include "Bench.h"
#include "Reference.h"
#include "Samples.h"

#include <boost/flyweight.hpp>
#include <boost/flyweight/no_locking.hpp>

#include <string>
#include <vector>

/// The same work with boost::flyweight. Its counts are atomic even without locking.
namespace Bench {

namespace {

using WithLock = boost::flyweights::simple_locking;
using WithoutLock = boost::flyweights::no_locking;

template <class Member>
struct VectorHash {
    std::size_t operator()(std::vector<Member> const& members) const noexcept {
        return MixHash()(std::string_view(reinterpret_cast<char const*>(members.data()),
                                          members.size() * sizeof(Member)));
    }
};

struct ValueHash {
    std::size_t operator()(U64 value) const noexcept { return MixHash()(value); }
};

template <class Content, class Hash, class Locking>
using Flyweight =
    boost::flyweights::flyweight<Content, boost::flyweights::hashed_factory<Hash>, Locking>;

template <class Locking>
using FlyweightValue = Flyweight<U64, ValueHash, Locking>;

template <class Locking>
class ValueHit {
  public:
    explicit ValueHit(std::size_t values) {
        auto const all = contents(Kind::plain, values);
        for (auto const& each : all) {
            held_.emplace_back(each.community());
        }
        lookups_ = drawContents(all);
    }

    void operator()(std::size_t i) {
        FlyweightValue<Locking> const found(lookups_[i].community());
        keep(&found.get());
    }

  private:
    std::vector<FlyweightValue<Locking>> held_;
    ContentCycle lookups_;
};

/// Interns new values, among others.
template <class Locking>
class ValueMiss {
  public:
    explicit ValueMiss(std::size_t values)
      : fresh_(contents(Kind::routeOrigin, 1 << 16, values)) {
        for (auto const& each : contents(Kind::routeOrigin, values)) {
            held_.emplace_back(each.community());
        }
    }

    void operator()(std::size_t i) {
        FlyweightValue<Locking> const made(fresh_[i].community());
        keep(&made.get());
    }

  private:
    std::vector<FlyweightValue<Locking>> held_;
    ContentCycle fresh_;
};

U64 number(ExtCommContent const& content) {
    return content.community();
}

U32 number(U32 value) {
    return value;
}

/// Builds a vector of the members of a list and interns it, among `count` others. The lists are
/// interned already, or new.
template <class Member>
class ListInterned {
  public:
    ListInterned(std::size_t members, std::size_t count, bool fresh) {
        auto const all = lists<Member>(members, count);
        for (std::size_t list = 0; list < all.size(); ++list) {
            held_.emplace_back(numbers(all[list]));
        }
        lookups_ = ListCycle<Member>(fresh ? freshLists<Member>(members) : drawLists(all));
    }

    void operator()(std::size_t i) {
        List const list(numbers(lookups_[i]));
        keep(&list.get());
    }

  private:
    using Number = decltype(number(Member()));
    using Numbers = std::vector<Number>;
    using List = Flyweight<Numbers, VectorHash<Number>, WithoutLock>;

    static Numbers numbers(std::span<Member const> members) {
        Numbers result;
        result.reserve(members.size());
        for (auto const& member : members) {
            result.push_back(number(member));
        }
        return result;
    }

    std::vector<List> held_;
    ListCycle<Member> lookups_;
};

template <class Member>
void addLists(std::string const& kind) {
    for (std::size_t const members : {1U, 8U, 32U}) {
        add({"listHit/plain/" + kind + "/flyweight/" + std::to_string(members),
             work<ListInterned<Member>>(members, listsHeld, false)});
    }
    add({"listMiss/plain/" + kind + "/flyweight/8",
         work<ListInterned<Member>>(std::size_t{8}, listsHeld, true)});
}

} // namespace

void addFlyweights() {
    for (std::size_t const values : {1'000U, 100'000U, 1'000'000U}) {
        auto const size = "/flyweight/" + std::to_string(values);
        auto const iterations = iterationsFor(values);
        add({"valueHit/plain" + size, work<ValueHit<WithoutLock>>(values), 1, iterations});
        add({"valueHit/threadSafe" + size, work<ValueHit<WithLock>>(values), 1, iterations});
        add({"valueMiss/threadSafe" + size, work<ValueMiss<WithLock>>(values), 1, iterations});
    }
    addLists<U32>("standard");
    addLists<ExtCommContent>("extended");
}

} // namespace Bench
