#include "Bench.h"
#include "Reference.h"
#include "Samples.h"
#include "World.h"

#include <string>
#include <vector>

namespace Bench {

namespace {

using namespace Routing::Bgp;

/// Interns lists by the published calls, among `count` others, and drops them: lists that are there
/// already, or fresh ones.
template <class Member>
class ListInterned {
  public:
    ListInterned(bool threadSafe, std::size_t members, std::size_t count, bool fresh)
      : world_(threadSafe) {
        auto const all = lists<Member>(members, count);
        for (std::size_t list = 0; list < all.size(); ++list) {
            held_.push_back(world_.list(all[list]));
        }
        lookups_ = fresh ? freshLists<Member>(members) : drawLists(all);
    }

    /// The second thread is half a cycle ahead of the first.
    void operator()(std::size_t i, unsigned thread) {
        auto const list = world_.list(lookups_[i + thread * (1 << 15)]);
        keep(list.get());
    }

  private:
    World world_;
    std::vector<decltype(world_.list(std::span<Member const>()))> held_;
    ListCycle<Member> lookups_;
};

/// Finds lists by the octets of their path attributes in limL, takes and drops them.
template <class Member, bool locked>
class ListHitReference {
  public:
    ListHitReference(std::size_t members, std::size_t count)
      : table_(count) {
        auto const all = lists<Member>(members, count);
        for (std::size_t list = 0; list < all.size(); ++list) {
            table_.insert(octets(all[list]));
        }
        auto const wire = octets(std::span(all.members()));
        lookups_ = drawLists(Lists<char>(wire.size() / all.size(), {wire.begin(), wire.end()}));
    }

    void operator()(std::size_t i) {
        auto const octets = lookups_[i];
        table_.hit<locked>({octets.data(), octets.size()});
    }

  private:
    CountedLists table_;
    ListCycle<char> lookups_;
};

template <class Member>
void addKind(std::string const& kind) {
    for (std::size_t const members : {1, 8, 32}) {
        auto const size = "/" + std::to_string(members);
        for (bool const threadSafe : {false, true}) {
            auto const mode = threadSafe ? "listHit/threadSafe/" : "listHit/plain/";
            add({mode + kind + "/library" + size,
                 work<ListInterned<Member>>(threadSafe, members, listsHeld, false)});
        }
        // The library has no call yet that interns a list straight from its octets: it will be
        // compared with these under the name `library`.
        add({"listFromOctets/plain/" + kind + "/limL" + size,
             work<ListHitReference<Member, false>>(members, listsHeld)});
        add({"listFromOctets/threadSafe/" + kind + "/limL" + size,
             work<ListHitReference<Member, true>>(members, listsHeld)});
    }
    for (bool const threadSafe : {false, true}) {
        auto const mode = threadSafe ? "listMiss/threadSafe/" : "listMiss/plain/";
        add({mode + kind + "/library/8",
             work<ListInterned<Member>>(threadSafe, std::size_t{8}, listsHeld, true)});
    }
}

/// How time grows with the number of lists, with one thread and with two.
template <class Member>
void addGrowth(std::string const& kind) {
    for (std::size_t const count : {1'000, 10'000, 100'000, 1'000'000}) {
        auto const size = "/library/" + std::to_string(count);
        auto const iterations = iterationsFor(8 * count);
        for (bool const fresh : {false, true}) {
            add({(fresh ? "listMissOf8/" : "listHitOf8/") + kind + size,
                 work<ListInterned<Member>>(true, std::size_t{8}, count, fresh), 2, iterations});
        }
    }
}

} // namespace

void addLists() {
    addKind<U32>("standard");
    addKind<Acl::CommunityValue>("large");
    addKind<ExtCommContent>("extended");
    addKind<ExtCommIp6Content>("ipv6");
    addGrowth<U32>("standard");
    addGrowth<ExtCommContent>("extended");
}

} // namespace Bench
