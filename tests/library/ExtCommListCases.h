#pragma once

#include "support/Allocations.h"
#include "support/Expectations.h"

#include <Kel/DedupHandle.h>
#include <Mox/Ptr.h>
#include <Mox/String.h>
#include <Mox/Types.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <iterator>
#include <map>
#include <new>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// Test cases for lists of interned communities of either width. `Row` provides
///
///     using List, Table;                            // of lists
///     Table::Ptr table;                             // a new one
///     Comm::PtrConst comm(unsigned n);              // interned; distinct for each n
///     std::size_t classificationLists();            // in the table
///     void check(std::set<std::set<unsigned>> inUse); // checks what observers recorded
///
/// The communities are of all classes, with only one link bandwidth, and ordered by their
/// `extCommKey`, which is independent of n.

using Mox::U32;

template <class Row>
typename Row::List::Ptr fill(Row& row, std::vector<unsigned> const& numbers) {
    auto list = Mox::makeActive<typename Row::List>();
    for (auto const n : numbers) {
        list->commIs(row.comm(n));
    }
    return list;
}

template <class Row>
typename Row::List::PtrConst intern(Row& row, std::vector<unsigned> const& numbers) {
    return fill(row, numbers)->dedup(row.table.get());
}

/// The octets in hexadecimal.
inline std::string hexOf(Mox::String const& octets) {
    std::ostringstream out;
    for (auto const octet : octets) {
        out << std::hex << std::setw(2) << std::setfill('0')
            << static_cast<unsigned>(static_cast<unsigned char>(octet));
    }
    return out.str();
}

/// The class of member `n` in the model.
inline unsigned classOf(unsigned n) {
    unsigned const wanted = n * 7 % 10;
    return wanted == 7 && n != 1 ? 1 : wanted;
}

/// Compares an interned list with the set of its numbers.
template <class Row>
void expectMembers(Row& row, typename Row::List const& list, std::set<unsigned> const& numbers) {
    using Comm = typename Row::List::Comm;
    std::map<typename Row::List::Key, Mox::PtrConst<Comm>> byKey;
    std::map<unsigned, std::vector<Mox::PtrConst<Comm>>> byClass;
    for (auto const n : numbers) {
        byKey.emplace(extCommKey(*row.comm(n)), row.comm(n));
    }
    std::vector<Mox::PtrConst<Comm>> members;
    for (auto const& [key, comm] : byKey) {
        ASSERT_EQ(list.comm(key), comm);
        members.push_back(comm);
        byClass[comm->classification()].push_back(comm);
    }
    ASSERT_TRUE(std::equal(list.begin(), list.end(), members.begin(), members.end()));
    ASSERT_EQ(list.totalCommunities(), numbers.size());
    ASSERT_EQ(list.commVector().capacity(), numbers.size()) << "unused memory is kept";
    for (unsigned c = 0; c < 12; ++c) {
        auto const sub =
            list.classificationList(static_cast<Routing::Bgp::ExtCommClassification>(c));
        ASSERT_EQ(static_cast<bool>(sub), byClass.contains(c)) << c;
        if (sub) {
            ASSERT_TRUE(std::equal(sub->begin(), sub->end(), byClass[c].begin(), byClass[c].end()));
            ASSERT_EQ(sub->classification(), c);
            ASSERT_TRUE(sub->isDeduped());
        }
    }
}

template <class Row>
void longListsAreSortedAndUnique(Row& row) {
    std::mt19937 random(1);
    for (unsigned const size : {0U, 1U, 17U, 8000U}) {
        std::vector<unsigned> numbers;
        for (unsigned i = 0; i < size; ++i) {
            numbers.push_back(i);
            numbers.push_back(i / 3);
        }
        auto const list = intern(row, numbers);
        ASSERT_NO_FATAL_FAILURE(expectMembers(row, *list, {numbers.begin(), numbers.end()}));
        std::shuffle(numbers.begin(), numbers.end(), random);
        auto sorted = fill(row, numbers);
        sorted->sortComms();
        ASSERT_EQ(sorted->totalCommunities(), size);
        ASSERT_EQ(sorted->dedup(row.table.get()), list);
        auto backwards = Mox::makeActive<typename Row::List>();
        for (auto const* place = list->end(); place != list->begin();) {
            backwards->commIs(*--place);
        }
        ASSERT_EQ(backwards->dedup(row.table.get()), list);
    }
}

/// Fails each allocation of interning in turn. Each time the list must keep its members, nothing
/// must be left over, and the next attempt must succeed.
template <class Row>
void everyAllocationMayFail() {
    std::vector<unsigned> const numbers{0, 1, 2, 3, 4, 5, 13, 6, 3, 8, 9, 23, 0};
    std::set<unsigned> const content(numbers.begin(), numbers.end());
    long succeeding = 0;
    for (bool failed = true; failed; ++succeeding) {
        Row row;
        // Already interned; shares a classification list.
        auto const beside = succeeding % 2 == 0 ? intern(row, {0}) : nullptr;
        auto const before = row.classificationLists();
        auto const list = fill(row, numbers);
        failed = false;
        typename Row::List::PtrConst interned;
        try {
            FailingAllocations const failing(succeeding);
            interned = list->dedup(row.table.get());
        } catch (std::bad_alloc const&) {
            failed = true;
        }
        if (failed) {
            ASSERT_EQ(list->dedupState(), Kel::dedupHandleStateNeverDeduped());
            ASSERT_EQ(row.classificationLists(), before);
            ASSERT_EQ(row.table->dedupTable()->size(), beside ? 1U : 0U);
            ASSERT_NO_FATAL_FAILURE(row.check({}));
            interned = list->dedup(row.table.get());
        }
        ASSERT_EQ(interned, list.get());
        ASSERT_NO_FATAL_FAILURE(expectMembers(row, *interned, content));
        ASSERT_NO_FATAL_FAILURE(row.check({content}));
    }
    EXPECT_GT(succeeding, 8) << "too few allocations failed";
}

/// Streams a list and its classification lists while their last reference is released.
template <class Row>
void streamedWholeThoughReleasedMeanwhile(Row& row) {
    std::vector<unsigned> const numbers{1, 3, 13, 23};
    auto const whole = intern(row, numbers)->toStrep();
    auto list = intern(row, numbers);
    auto const* const streamed = list.get();
    InterruptedStream os([&] { list = nullptr; });
    os << streamed;
    EXPECT_EQ(os.text(), whole);
    EXPECT_EQ(row.table->dedupTable()->size(), 0U);
    list = intern(row, numbers);
    for (unsigned c = 0; c < 10; ++c) {
        auto part = list->classificationList(static_cast<Routing::Bgp::ExtCommClassification>(c));
        if (part) {
            auto const partText = part->toStrep();
            auto const* const streamedPart = part.get();
            InterruptedStream partOs([&] { list = nullptr, part = nullptr; });
            partOs << streamedPart;
            EXPECT_EQ(partOs.text(), partText);
            list = intern(row, numbers);
        }
    }
}

/// A seeded run of random operations, compared with sets of numbers.
template <class Row>
class RandomLists {
  public:
    RandomLists(Row& row, unsigned seed)
      : row_(row)
      , random_(seed) {}

    void operate(int operations) {
        for (int i = 0; i < operations; ++i) {
            // Alternate between few lists, so that classification lists are created and destroyed,
            // and many.
            auto const wanted = i / 200 % 4 == 0 ? 40U : 3U;
            if (held_.empty() || below(100) < (held_.size() < wanted ? 60 : 40)) {
                ASSERT_NO_FATAL_FAILURE(make());
            } else {
                std::swap(held_[below(held_.size())], held_.back());
                held_.pop_back();
            }
            if (i % 16 == 0) {
                ASSERT_NO_FATAL_FAILURE(check());
            }
        }
        held_.clear();
        ASSERT_NO_FATAL_FAILURE(check());
        for (unsigned n = 0; n < 24; ++n) {
            ASSERT_EQ(row_.comm(n)->referenceCount(), 2U) << "the row's and its table's";
        }
    }

  private:
    using List = typename Row::List;
    using Content = std::set<unsigned>;

    unsigned below(std::size_t bound) { return static_cast<unsigned>(random_() % bound); }

    void make() {
        auto list = Mox::makeActive<List>();
        Content content;
        for (auto count = below(6); count > 0; --count) {
            auto const n = below(24);
            for (auto repeats = below(3); repeats <= 2; ++repeats) {
                list->commIs(row_.comm(n));
            }
            content.insert(n);
        }
        if (!held_.empty() && below(3) == 0) {
            auto const& [other, numbers] = held_[below(held_.size())];
            auto const c = below(10);
            if (below(2) == 0) {
                list->append(other);
                content.insert(numbers.begin(), numbers.end());
            } else {
                list->appendClassificationList(
                    other->classificationList(static_cast<Routing::Bgp::ExtCommClassification>(c)));
                std::copy_if(numbers.begin(), numbers.end(), std::inserter(content, content.end()),
                             [c](unsigned n) { return classOf(n) == c; });
            }
        }
        auto interned = list->dedup(row_.table.get());
        for (auto const& [other, numbers] : held_) {
            ASSERT_EQ(other == interned, numbers == content);
        }
        ASSERT_NO_FATAL_FAILURE(expectMembers(row_, *interned, content));
        held_.emplace_back(std::move(interned), std::move(content));
    }

    void check() {
        std::set<Content> contents;
        std::set<Content> parts;
        for (auto const& [list, numbers] : held_) {
            contents.insert(numbers);
            std::map<unsigned, Content> byClass;
            for (auto const n : numbers) {
                byClass[classOf(n)].insert(n);
            }
            for (auto const& [c, part] : byClass) {
                parts.insert(part);
            }
        }
        ASSERT_EQ(row_.table->dedupTable()->size(), contents.size());
        ASSERT_EQ(row_.classificationLists(), parts.size());
        ASSERT_NO_FATAL_FAILURE(row_.check(contents));
    }

    Row& row_;
    std::mt19937 random_;
    std::vector<std::pair<typename List::PtrConst, Content>> held_;
};
