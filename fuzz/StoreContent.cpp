#include "StoreContent.h"

#include <VoBgp/ExtCommListSnapshot.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace Routing::Bgp::Test {

using Mox::U16;
using Mox::U8;
using MoxStash::StoredEntry;
using MoxStash::StoreManager;
using MoxStash::StoreWriter;

namespace {

// The names of the roots.
template <class T>
constexpr char const* rootOf = nullptr;
template <>
constexpr char const* rootOf<ExtComm> = "values";
template <>
constexpr char const* rootOf<ExtCommIp6> = "IPv6 values";
template <>
constexpr char const* rootOf<CommList> = "standard";
template <>
constexpr char const* rootOf<LargeCommList> = "large";
template <>
constexpr char const* rootOf<ExtCommList> = "extended";
template <>
constexpr char const* rootOf<ExtCommIp6List> = "IPv6 extended";

// ---- Invariants of rebuilt objects --------------------------------------------------------------

void expect(bool condition, char const* what) {
    if (!condition) {
        throw std::logic_error(what);
    }
}

/// Longer lists do not fit in an attribute and must not be serialized.
bool fitsAttribute(std::size_t members, std::size_t octets) {
    return members * octets <= 65535;
}

/// Expects a path attribute with a value of `octets` octets.
void expectSent(Mox::String const& wire, std::size_t octets) {
    expect(wire.size() == (octets > 255 ? 4 : 3) + octets, "serializes a wrong number of octets");
}

/// For values of any width.
template <class Comm>
void checkComm(Comm const& comm) {
    expect(comm.dedupState() == Kel::dedupHandleStateDestashed(), "is not in state destashed");
    expect(comm.classification() < extCommClassificationOneBeyondLast, "has no classification");
    expect(comm.pktSubtype().isUnspecified(), "is of a kind that has a subtype");
    expect(comm.compare(&comm), "is not equal to itself");
}

template <class List>
void checkValues(List const& list, std::size_t memberOctets) {
    expect(list.dedupState() == Kel::dedupHandleStateNeverDeduped(), "cannot be interned");
    if (list.commVectorSorted()) {
        auto const* const first = list.begin();
        auto const* const last = list.end();
        expect(std::adjacent_find(first, last, std::greater_equal<>()) == last,
               "is marked as sorted but is not");
        expect(std::all_of(first, last, [&](auto const& value) { return list.comm(value); }),
               "does not find a member");
        expect(list.compare(&list), "is not equal to itself");
    }
    if (fitsAttribute(list.comms(), memberOctets)) {
        expectSent(list.serialize(), list.comms() * memberOctets);
    }
}

/// Properties of interned lists are unset, and each class contains its members.
template <class List>
void checkMembers(List const& list) {
    expect(list.dedupState() == Kel::dedupHandleStateDestashed(), "is not in state destashed");
    std::size_t classified = 0;
    for (U32 slot = 0; slot < extCommClassificationOneBeyondLast; ++slot) {
        auto const part = list.classificationList(static_cast<ExtCommClassification>(slot));
        for (U32 index = 0; part && index < part->commVector().size(); ++index) {
            expect((*part)[index]->classification() == slot, "is in the list of another class");
            ++classified;
        }
    }
    expect(classified == 0 || classified == list.commVector().size(), "is split in part");
    for (auto const& comm : list) {
        checkComm(*comm);
        expect(!list.commVectorSorted() || list.comm(extCommKey(*comm)) == comm,
               "does not find a member");
    }
}

void check(ExtComm const& comm) {
    checkComm(comm);
}

void check(ExtCommIp6 const& comm) {
    checkComm(comm);
}

void check(CommList const& list) {
    checkValues(list, 4);
    expect(!list.commVectorSorted() || !list.noExport(), "has a property of interned lists");
}

void check(LargeCommList const& list) {
    checkValues(list, 12);
}

void check(ExtCommList const& list) {
    checkMembers(list);
    expect(list.totalTransitiveCommunities() == 0 && !list.hasLinkBandwidth() &&
               !list.hasLinkBandwidthWithUnspecifiedAsNumber(),
           "has a property of interned lists");
    if (list.commVectorSorted() && !list.empty() && fitsAttribute(list.comms(), 8)) {
        expectSent(list.serialize(ExtCommList::Serialization(ExtCommList::Serialization::all)),
                   8 * std::size_t{list.comms()});
    }
}

void check(ExtCommIp6List const& list) {
    checkMembers(list);
    expect(!list.commVectorSorted() && list.transitiveCommCount() == 0,
           "has a property of interned lists");
    auto const sorted = extCommIp6ListFactory();
    sorted->append(ExtCommIp6List::PtrConst(&list));
    sorted->sortComms();
    for (auto const& comm : list) {
        auto const found = sorted->comm(comm->getContent());
        expect(found && found->compare(comm.get()), "does not find a member");
    }
    if (!sorted->empty() && fitsAttribute(sorted->totalCommunities(), 20)) {
        expectSent(sorted->serialize(true), 20 * std::size_t{sorted->totalCommunities()});
    }
}

// ---- State that is not part of the text ---------------------------------------------------------

void print(std::ostream& text, ExtComm const& comm) {
    text << ' ' << comm.classification();
}

void print(std::ostream& text, ExtCommIp6 const& comm) {
    text << ' ' << comm.classification() << ' ' << unsigned{comm.getContent().subtype()};
}

void print(std::ostream& text, auto const& list) {
    text << ' ' << list.commVectorSorted();
    if constexpr (requires { list.commVector(); }) {
        for (auto const& comm : list) {
            print(text, *comm);
        }
        text << ' ' << list.commSnapshot()->classificationLists();
    }
}

// ---- Tables -------------------------------------------------------------------------------------

template <class T>
void copyTable(StoreManager& from, StoreWriter& to, std::ostream& text) {
    auto const* const stored = from.root(rootOf<T>);
    if (stored == nullptr) {
        return;
    }
    MoxStash::StoredTable const table(from, stored);
    std::vector<StoredEntry> rows;
    for (U64 row = 0; row < table.size(); ++row) {
        auto const entry = table[row];
        auto const object = T::destash(entry.stored, &from);
        check(*object);
        text << rootOf<T> << ' ' << entry.number << ' ' << object->toStrep();
        print(text, *object);
        text << '\n';
        rows.push_back({object->stash(to), entry.number});
    }
    to.rootIs(rootOf<T>, to.tableIs(rows));
}

template <class T>
void tableOf(StoreWriter& writer, std::vector<void const*> const& stored, U32 number) {
    std::vector<StoredEntry> rows;
    for (void const* const record : stored) {
        rows.push_back({record, number});
    }
    writer.rootIs(rootOf<T>, writer.tableIs(rows));
}

} // namespace

std::string copyStore(StoreManager& from, StoreWriter& to) {
    std::ostringstream text;
    copyTable<ExtComm>(from, to, text);
    copyTable<ExtCommIp6>(from, to, text);
    copyTable<CommList>(from, to, text);
    copyTable<LargeCommList>(from, to, text);
    copyTable<ExtCommList>(from, to, text);
    copyTable<ExtCommIp6List>(from, to, text);
    from.validateVersionAnchor();
    return std::move(text).str();
}

// ---- StoreSample --------------------------------------------------------------------------------

/// Returns one of seven types and subtypes in turn: route target, route origin, color, one next to
/// a validation state, both other layouts, and an unknown one.
ExtComm::PtrConst StoreSample::extComm(U32 number, U32 index) {
    constexpr auto types = std::to_array<U64>(
        {0x0002fde800000000, 0x0003fde800000000, 0x030b000000000000, 0x4301000000000000,
         0x0102000000000000, 0x0202000000000000, 0x9901000000000000});
    auto const value = types[index % types.size()] | (U64{number} << 12 & 0xffffffff) | index;
    return ExtComm::dedupContent(tables_.extCommDedupTable().get(), ExtCommContent(value));
}

ExtCommIp6::PtrConst StoreSample::extCommIp6(U32 number, U32 index) {
    Lumo::Ip6Addr::Octets octets = {0x20, 0x01, 0x0d, 0xb8};
    for (std::size_t at = 0; at < sizeof number; ++at) {
        octets[12 + at] = static_cast<U8>(number >> (24 - 8 * at));
    }
    ExtCommIp6Content const content(index % 3 == 0 ? 0x40 : 0, static_cast<U8>(2 + index % 2),
                                    Lumo::Ip6Addr(octets), static_cast<U16>(index));
    return ExtCommIp6::dedupContent(tables_.extCommIp6DedupTable().get(), content);
}

void StoreSample::stash(StoreWriter& writer, U32 number, U32 members) {
    auto const standard = commListFactory(), unsortedStandard = commListFactory();
    auto const large = largeCommListFactory();
    auto const extended = extCommListFactory(), unsortedExtended = extCommListFactory();
    auto const ip6 = extCommIp6ListFactory();
    std::vector<void const*> values, ip6Values;
    for (U32 index = 0; index < members; ++index) {
        standard->commIs(number << 12 | index);
        unsortedStandard->commIs(number << 12 | (members - index) / 2);
        large->commIs({number, index, number});
        extended->commIs(extComm(number, index));
        unsortedExtended->commIs(extComm(number, (members - index) / 2));
        ip6->commIs(extCommIp6(number, index));
        values.push_back(extComm(number, index)->stash(writer));
        ip6Values.push_back(extCommIp6(number, index)->stash(writer));
    }
    tableOf<ExtComm>(writer, values, number);
    tableOf<ExtCommIp6>(writer, ip6Values, number);
    tableOf<CommList>(writer,
                      {standard->dedup(tables_.commListDedupTable().get())->stash(writer),
                       unsortedStandard->stash(writer)},
                      number);
    tableOf<LargeCommList>(
        writer, {large->dedup(tables_.largeCommListDedupTable().get())->stash(writer)}, number);
    tableOf<ExtCommList>(writer,
                         {extended->dedup(tables_.extCommListDedupTable().get())->stash(writer),
                          unsortedExtended->stash(writer)},
                         number);
    tableOf<ExtCommIp6List>(
        writer, {ip6->dedup(tables_.extCommIp6ListDedupTable().get())->stash(writer)}, number);
}

} // namespace Routing::Bgp::Test
