#include "Bench.h"
#include "Reference.h"
#include "Samples.h"
#include "World.h"

#include <VoBgp/CommunityTables.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace Bench {

namespace {

using namespace Routing::Bgp;

/// Interns the members of a list and the list, and releases it, among `count` others. The lists are
/// interned already, or new.
template <class Member>
class ListInterned {
  public:
    ListInterned(bool threadSafe, std::size_t members, std::size_t count, bool fresh)
      : world_(threadSafe) {
        auto const all = lists<Member>(members, count);
        for (std::size_t list = 0; list < all.size(); ++list) {
            held_.push_back(world_.list(all[list]));
        }
        lookups_ = ListCycle<Member>(fresh ? freshLists<Member>(members) : drawLists(all));
    }

    void operator()(std::size_t i) {
        auto const list = world_.list(lookups_[i]);
        keep(list.get());
    }

  private:
    World world_;
    std::vector<Mox::PtrConst<typename KindOf<Member>::List>> held_;
    ListCycle<Member> lookups_;
};

/// The attribute values of lists with sorted members.
template <class Member>
Lists<char> attributeValues(Lists<Member> const& lists) {
    auto const wire = octets(std::span(lists.members()));
    return {wire.size() / lists.size(), {wire.begin(), wire.end()}};
}

/// Decodes attribute values through CommunityTables and releases the result, among `count` interned
/// lists. The lists are interned already, or new.
template <class Member>
class ListDecoded {
  public:
    ListDecoded(bool threadSafe, std::size_t members, std::size_t count, bool fresh)
      : mode_(threadSafe) {
        auto const all = lists<Member>(members, count);
        auto const values = attributeValues(all);
        for (std::size_t list = 0; list < values.size(); ++list) {
            held_.push_back(decoded(values[list]));
        }
        lookups_ = ListCycle<char>(fresh ? attributeValues(freshLists<Member>(members))
                                         : drawLists(values));
    }

    /// The second thread is half a cycle ahead of the first.
    void operator()(std::size_t i, unsigned thread) {
        auto const list = decoded(lookups_[i + thread * (1 << 15)]);
        keep(list.list.get());
    }

  private:
    auto decoded(std::span<char const> value) const {
        return (tables_.*KindOf<Member>::decode)(std::as_bytes(value));
    }

    PointerMode const mode_;
    CommunityTables const tables_;
    std::vector<DecodedList<typename KindOf<Member>::List>> held_;
    ListCycle<char> lookups_;
};

/// Looks lists up by their attribute values in limL, and adds and releases a reference.
template <class Member, bool locked>
class ListDecodedReference {
  public:
    ListDecodedReference(std::size_t members, std::size_t count)
      : table_(count) {
        auto const values = attributeValues(lists<Member>(members, count));
        for (std::size_t list = 0; list < values.size(); ++list) {
            table_.insert({values[list].data(), values[list].size()});
        }
        lookups_ = ListCycle<char>(drawLists(values));
    }

    void operator()(std::size_t i) {
        auto const octets = lookups_[i];
        table_.hit<locked>({octets.data(), octets.size()});
    }

  private:
    CountedLists table_;
    ListCycle<char> lookups_;
};

std::string decodedName(std::string const& work, bool threadSafe, std::string const& kind) {
    return work + (threadSafe ? "/threadSafe/" : "/plain/") + kind + "/library";
}

template <class Member>
void addKind() {
    std::string const kind(KindOf<Member>::name);
    for (std::size_t const members : {1U, 8U, 32U}) {
        auto const size = "/" + std::to_string(members);
        for (bool const threadSafe : {false, true}) {
            auto const mode = threadSafe ? "listHit/threadSafe/" : "listHit/plain/";
            add({mode + kind + "/library" + size,
                 work<ListInterned<Member>>(threadSafe, members, listsHeld, false)});
            add({decodedName("listFromOctets", threadSafe, kind) + size,
                 work<ListDecoded<Member>>(threadSafe, members, listsHeld, false)});
        }
        add({"listFromOctets/plain/" + kind + "/limL" + size,
             work<ListDecodedReference<Member, false>>(members, listsHeld)});
        add({"listFromOctets/threadSafe/" + kind + "/limL" + size,
             work<ListDecodedReference<Member, true>>(members, listsHeld)});
    }
    for (bool const threadSafe : {false, true}) {
        auto const mode = threadSafe ? "listMiss/threadSafe/" : "listMiss/plain/";
        add({mode + kind + "/library/8",
             work<ListInterned<Member>>(threadSafe, std::size_t{8}, listsHeld, true)});
        add({decodedName("newListFromOctets", threadSafe, kind) + "/8",
             work<ListDecoded<Member>>(threadSafe, std::size_t{8}, listsHeld, true)});
    }
}

/// Measures how time grows with the number of lists, with one thread and with two.
template <class Member>
void addGrowth() {
    std::string const kind(KindOf<Member>::name);
    for (std::size_t const count : {1'000U, 10'000U, 100'000U, 1'000'000U, 10'000'000U}) {
        auto const size = "/library/" + std::to_string(count);
        auto const iterations = iterationsFor(8 * count);
        for (bool const fresh : {false, true}) {
            add({(fresh ? "listMissOf8/" : "listHitOf8/") + kind + size,
                 work<ListDecoded<Member>>(true, std::size_t{8}, count, fresh), 2, iterations});
        }
    }
}

} // namespace

void addLists() {
    forEachKind([]<class Member>() { addKind<Member>(); });
    addGrowth<U32>();
    addGrowth<ExtCommContent>();
}

} // namespace Bench
