/// Fuzzes the interface of the library: octets are read as operations on tables, lists, snapshots,
/// observers and stores, and everything is compared with sets of numbers. The first octet selects
/// plain or thread-safe mode.
#include <Kel/DedupHashTable.h>
#include <Mox/Assert.h>
#include <Mox/CountWord.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StoreWriter.h>
#include <Routing/Bgp/VoBgpGlobals.h>
#include <VoBgp/BgpPathAttributeEnums.h>
#include <VoBgp/CommListSnapshot.h>
#include <VoBgp/CommunityTables.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <vector>

namespace Routing::Bgp::Test {
namespace {

/// The communities of all lists: few, so that lists and operations meet. The first six are route
/// targets; of the link bandwidths and of the origin validation states, a list may have one.
constexpr std::array<U64, 16> communities = {
    0x0002fbf400000007, 0x0002fbf400000008, 0x0102c000020a0001, 0x0102c000020a0002,
    0x0202000100000001, 0x0202000100000002, 0x0003fbf400000007, 0x0103c000020a0001,
    0x4004fbf44b189680, 0x4004fbf44b189681, 0x4300000000000000, 0x4300000000000001,
    0x030b000000000064, 0x030c000000000008, 0xff00000000000001, 0x0000000000000000};
constexpr std::size_t routeTargets = 6;

using Numbers = std::set<U64>;

bool isRouteTarget(U64 community) {
    auto const end = communities.begin() + routeTargets;
    return std::find(communities.begin(), end, community) != end;
}

bool hasBoth(Numbers const& numbers, std::size_t index) {
    return numbers.contains(communities[index]) && numbers.contains(communities[index + 1]);
}

AttributeVerdict verdictOf(Numbers const& numbers) {
    return numbers.empty()        ? AttributeVerdict::empty
           : hasBoth(numbers, 8)  ? AttributeVerdict::severalLinkBandwidths
           : hasBoth(numbers, 10) ? AttributeVerdict::severalOriginValidationStates
                                  : AttributeVerdict::accepted;
}

/// Appends a number, big-endian.
void append(std::vector<std::byte>& out, U64 number, unsigned octets) {
    for (unsigned left = octets; left-- > 0;) {
        out.push_back(static_cast<std::byte>(number >> (8 * left)));
    }
}

/// The path attribute of these extended communities.
std::vector<std::byte> attributeOf(Numbers const& numbers) {
    std::vector<std::byte> out;
    append(out, 0xc010, 2);
    append(out, 8 * numbers.size(), 1);
    for (U64 const number : numbers) {
        append(out, number, 8);
    }
    return out;
}

/// Compares the notifications with the list that they are about.
class Observer final : public NotifyingRouteTargetList::Notifiee {
  public:
    using Notifiee::Notifiee;

    void handleRt(RouteTarget const& rt) override {
        bool const isNew = notifier()->rtHas(rt);
        MOX_ASSERT((isNew ? present.insert(rt.value()).second : present.erase(rt.value()) == 1));
    }

    Numbers present;
};

/// The operations, as the octets order them.
class Operations {
  public:
    explicit Operations(std::span<U8 const> octets)
      : octets_(octets) {}

    void run() {
        while (!octets_.empty()) {
            runOne();
            check();
        }
        die();
    }

  private:
    struct List {
        ExtCommList::PtrConst list;
        Numbers numbers;
    };
    struct Value {
        ExtComm::PtrConst value;
    };
    struct Standard {
        CommList::PtrConst list;
        Numbers numbers;
    };

    U8 take() {
        U8 const octet = octets_.empty() ? U8{0} : octets_.front();
        octets_ = octets_.subspan(std::min<std::size_t>(1, octets_.size()));
        return octet;
    }

    template <class Slots>
    auto& slot(Slots& slots) {
        return slots[take() % slots.size()];
    }

    ExtComm::PtrConst interned(U64 number) const {
        return ExtComm::dedupContent(tables_->extCommDedupTable().get(), ExtCommContent(number));
    }

    /// The next communities of the input, in its order, with repeats.
    std::vector<U64> takeMembers() {
        std::vector<U64> members(take() % 13);
        for (U64& member : members) {
            member = communities[take() % communities.size()];
        }
        return members;
    }

    void runOne() {
        switch (take() % 10) {
        case 0:
        case 1:
            decode(slot(lists_));
            break;
        case 2:
            fill(slot(lists_), takeMembers());
            break;
        case 3:
            combine();
            break;
        case 4:
            slot(lists_) = {};
            break;
        case 5:
            slot(values_).value = interned(communities[take() % communities.size()]);
            break;
        case 6:
            slot(values_) = {};
            break;
        case 7:
            store(slot(lists_));
            break;
        case 8:
            edit(slot(standard_));
            break;
        default:
            if (take() % 16 == 0) {
                die();
            }
        }
    }

    void decode(List& to) {
        auto const members = takeMembers();
        std::vector<std::byte> octets;
        for (U64 const member : members) {
            append(octets, member, 8);
        }
        Numbers numbers(members.begin(), members.end());
        auto decoded = tables_->extCommList(octets);
        MOX_ASSERT(decoded.verdict == verdictOf(numbers));
        MOX_ASSERT((decoded.list != nullptr) == (decoded.verdict == AttributeVerdict::accepted));
        if (decoded) {
            to = {std::move(decoded.list), std::move(numbers)};
        }
    }

    /// Fills a list as an agent does. Such a list may have several origin validation states.
    void fill(List& to, std::vector<U64> const& members) {
        Numbers numbers(members.begin(), members.end());
        if (hasBoth(numbers, 8)) {
            return;
        }
        auto const list = extCommListFactory();
        for (U64 const member : members) {
            list->commIs(interned(member));
        }
        to = {list->dedup(tables_->extCommListDedupTable().get()), std::move(numbers)};
    }

    void combine() {
        auto const& first = slot(lists_);
        auto const& second = slot(lists_);
        Numbers numbers = first.numbers;
        numbers.insert(second.numbers.begin(), second.numbers.end());
        if (!hasBoth(numbers, 8)) {
            auto const list = extCommListFactory();
            list->append(first.list);
            list->append(second.list);
            List combined = {list->dedup(tables_->extCommListDedupTable().get()),
                             std::move(numbers)};
            slot(lists_) = std::move(combined);
        }
    }

    /// Writes a list to a store, rebuilds it and interns its members again: the same list.
    void store(List& of) {
        if (!of.list) {
            return;
        }
        MoxStash::StoreWriter writer;
        writer.rootIs("list", of.list->stash(writer));
        auto const words = writer.image(1);
        MoxStash::StoreManager manager("memory", std::as_bytes(std::span(words)));
        auto const rebuilt = ExtCommList::destash(manager.root("list"), &manager);
        std::vector<U64> members;
        for (auto const& member : *rebuilt) {
            members.push_back(member->community());
        }
        List again;
        fill(again, members);
        MOX_ASSERT(again.list == of.list);
    }

    /// Changes one value of a standard list through a snapshot.
    void edit(Standard& of) {
        auto const snapshot = of.list ? of.list->commSnapshot() : commListSnapshotFactory();
        U32 const value = 0xffffff00U + take() % 16;
        if (of.numbers.erase(value) == 1) {
            snapshot->commDel(value);
        } else {
            of.numbers.insert(value);
            snapshot->commIs(value, true);
        }
        auto const list = commListFactory();
        snapshot->forEachComm(
            [&](CommListSnapshot::MoxComm const& comm) { list->commIs(comm.key()); });
        of.list = list->dedup(tables_->commListDedupTable().get());
        MOX_ASSERT(of.list->noExport() == of.numbers.contains(communityNoExport));
        MOX_ASSERT(of.list->comm(value) == of.numbers.contains(value));
    }

    /// Objects outlive their tables.
    void die() {
        tables_.reset();
        MOX_ASSERT(observer_->present.empty());
        for (List const& held : lists_) {
            MOX_ASSERT(!held.list || !held.list->isDeduped());
            checkMembers(held);
        }
        lists_ = std::vector<List>(lists_.size());
        values_ = std::vector<Value>(values_.size());
        standard_ = std::vector<Standard>(standard_.size());
        tables_.emplace();
        observer_.emplace(tables_->routeTargets());
    }

    static void checkMembers(List const& held) {
        if (!held.list) {
            return;
        }
        MOX_ASSERT(std::equal(
            held.list->begin(), held.list->end(), held.numbers.begin(), held.numbers.end(),
            [](auto const& member, U64 number) { return member->community() == number; }));
        auto const all = ExtCommList::Serialization(ExtCommList::Serialization::all);
        auto const wire = held.list->serialize(all);
        auto const octets = std::as_bytes(std::span(std::string_view(wire)));
        auto const expected = attributeOf(held.numbers);
        MOX_ASSERT(held.numbers.empty() ? octets.empty() : std::ranges::equal(octets, expected));
    }

    template <class Held>
    static std::size_t distinct(std::vector<Held> const& slots) {
        std::set<Numbers> contents;
        std::set<void const*> objects;
        for (Held const& held : slots) {
            if (held.list) {
                contents.insert(held.numbers);
                objects.insert(held.list.get());
            }
        }
        MOX_ASSERT(contents.size() == objects.size());
        return objects.size();
    }

    void check() const {
        Numbers values;
        for (List const& held : lists_) {
            checkMembers(held);
            values.insert(held.numbers.begin(), held.numbers.end());
        }
        for (Value const& held : values_) {
            if (held.value) {
                values.insert(held.value->community());
            }
        }
        MOX_ASSERT(tables_->extCommDedupTable()->dedupHashTable()->size() == values.size());
        MOX_ASSERT(tables_->extCommListDedupTable()->dedupTable()->size() == distinct(lists_));
        MOX_ASSERT(tables_->commListDedupTable()->dedupTable()->size() == distinct(standard_));
        std::erase_if(values, [](U64 number) { return !isRouteTarget(number); });
        MOX_ASSERT(observer_->present == values);
        MOX_ASSERT(observer_->notifier()->rts() == values.size());
    }

    std::span<U8 const> octets_;
    std::optional<CommunityTables> tables_{std::in_place};
    std::optional<Observer> observer_{std::in_place, tables_->routeTargets()};
    std::vector<List> lists_ = std::vector<List>(6);
    std::vector<Value> values_ = std::vector<Value>(4);
    std::vector<Standard> standard_ = std::vector<Standard>(3);
};

} // namespace
} // namespace Routing::Bgp::Test

extern "C" int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size);

int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    bool const threadSafe = data[0] % 2 != 0;
    Mox::threadSafePtrsIs(threadSafe);
    Routing::Bgp::VoBgpGlobals::multiThreadedIs(threadSafe);
    Routing::Bgp::Test::Operations({data + 1, size - 1}).run();
    return 0;
}
