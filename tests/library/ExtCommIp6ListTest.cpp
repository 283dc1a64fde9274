#include "ExtCommListCases.h"
#include "support/Expectations.h"
#include "support/PointerMode.h"

#include <Lumo/Ip6Addr.h>
#include <Mox/Exception.h>
#include <VoBgp/ExtCommIp6DedupTable.h>
#include <VoBgp/ExtCommIp6List.h>
#include <VoBgp/ExtCommIp6ListDedupTable.h>
#include <VoBgp/Parse/ExtComm.h>

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>

namespace {

using namespace Routing::Bgp;
using Mox::U16;
using Mox::U64;
using Mox::U8;

/// Lists of IPv6-address-specific communities, see ExtCommListCases.h.
class TwentyOctets {
  public:
    using List = ExtCommIp6List;
    using Table = ExtCommIp6ListDedupTable;

    /// They differ in one octet of the address, in the type, or in the local administrator.
    ExtCommIp6::PtrConst const& comm(unsigned n) {
        while (comms_.size() <= n) {
            auto const next = static_cast<unsigned>(comms_.size());
            Lumo::Ip6Addr::Octets octets{};
            octets[next % 16] = static_cast<U8>(next >> 4);
            comms_.push_back(comm(static_cast<ExtCommClassification>(classOf(next)),
                                  {static_cast<U8>(next % 3 == 0 ? 0x40 : 0), 2,
                                   Lumo::Ip6Addr(octets), static_cast<U16>(~next)}));
        }
        return comms_[n];
    }

    template <class Comm = ExtCommIp6>
    ExtCommIp6::PtrConst comm(ExtCommClassification classification,
                              ExtCommIp6Content const& content) {
        return Mox::staticPtrCast<ExtCommIp6 const>(
            commTable->dedupHashTable()->dedup(Mox::makeActive<Comm>(classification, content)));
    }

    std::size_t classificationLists() const { return table->extCommClassification()->size(); }
    void check(std::set<std::set<unsigned>> const&) {} // no observers

    ExtCommIp6DedupTable::Ptr commTable =
        extCommIp6DedupTableFactory(bgpParseExtCommContainerSmFactory()->extCommParser());
    Table::Ptr table = extCommIp6ListDedupTableFactory();

  private:
    std::vector<ExtCommIp6::PtrConst> comms_;
};

class ExtCommIp6Lists : public testing::TestWithParam<bool> {
  private:
    PointerMode mode_{GetParam()};

  protected:
    TwentyOctets row;
    /// 2001:db8::1, and the same value but non-transitive.
    Lumo::Ip6Addr const address{{0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}};
    ExtCommIp6::PtrConst const rt =
        row.comm(extCommClassificationRouteTarget, {0x00, 0x02, address, 0x0164});
    ExtCommIp6::PtrConst const nonTransitive =
        row.comm(extCommClassificationUnSpecified, {0x40, 0x02, address, 0x0164});

    ExtCommIp6List::PtrConst internOf(std::vector<ExtCommIp6::PtrConst> const& comms) {
        auto const list = extCommIp6ListFactory();
        for (auto const& each : comms) {
            list->commIs(each);
        }
        return list->dedup(row.table.get());
    }
};

INSTANTIATE_TEST_SUITE_P(Mode, ExtCommIp6Lists, bothPointerModes(), pointerModeName);

TEST_P(ExtCommIp6Lists, EveryAllocationMayFail) {
    everyAllocationMayFail<TwentyOctets>();
}

TEST_P(ExtCommIp6Lists, ListsReleasedWhileStreamingPrintCompletely) {
    streamedWholeThoughReleasedMeanwhile(row);
}

TEST_P(ExtCommIp6Lists, RandomListsAgreeWithSets) {
    for (unsigned seed = 1; seed <= 2; ++seed) {
        RandomLists(row, seed).operate(5000);
        ASSERT_FALSE(HasFatalFailure()) << "seed " << seed;
    }
}

TEST_P(ExtCommIp6Lists, Wire) {
    std::string const value = "0220010db80000000000000000000000010164";
    auto const both = internOf({nonTransitive, rt, rt});
    EXPECT_EQ(both->transitiveCommCount(), 1U);
    EXPECT_EQ(both->totalCommunities(), 2U);
    EXPECT_EQ(hexOf(both->serialize(false)), "c0191400" + value);
    EXPECT_EQ(hexOf(both->serialize(true)), "c0192800" + value + "40" + value);
    auto const one = internOf({nonTransitive});
    EXPECT_EQ(hexOf(one->serialize(false)), "") << "no attribute at all";
    EXPECT_EQ(hexOf(one->serialize(true)), "c0191440" + value);
    EXPECT_EQ(hexOf(internOf({})->serialize(true)), "");
}

TEST_P(ExtCommIp6Lists, TextsAndOctetsTakeOneAllocationAndThrowIfItFails) {
    auto const subtyped =
        row.comm<ExtCommIp6Subtyped>(extCommClassificationUnSpecified, {0, 3, address, 1});
    auto list = internOf({rt, nonTransitive, subtyped});
    auto const part = list->classificationList(extCommClassificationUnSpecified);
    auto const whole = [](auto call) { EXPECT_EQ(wholeOrRefused(call), 1); };
    whole([&] { return list->toStrep(); });
    whole([&] { return part->toStrep(); });
    whole([&] { return list->commsStringForm(); });
    whole([&] { return list->serialize(true); });
    whole([&] { return subtyped->toStrep(); });
    whole([&] { return subtyped->toStrepForPolicy(ExtCommIp6::StrepFormat(0xc)); });
}

/// An agent's own type with its own texts.
template <class Base>
class Shouting final : public Base {
  public:
    using Base::Base;
    void formatDerivedType(std::ostream& os) const override {
        os << std::hex << std::showbase << std::setw(8) << 255;
    }
    String toStrepForPolicy(ExtCommIp6::StrepFormat format) const override {
        return "!" + Base::toStrepForPolicy(format).str();
    }
};

TEST_P(ExtCommIp6Lists, ListTextsIncludeTextsOfAnAgentsOwnTypes) {
    constexpr auto unspecified = extCommClassificationUnSpecified;
    auto const list =
        internOf({row.comm<Shouting<ExtCommIp6>>(unspecified, {0, 3, address, 2}), rt,
                  row.comm<Shouting<ExtCommIp6Subtyped>>(unspecified, {0, 3, address, 1})});
    EXPECT_EQ(list->toStrep(), "[ " + rt->toStrep().str() + "     0xff     0xff ]");
    EXPECT_EQ(list->commsStringForm(), "2001:db8::1:356 !2001:db8::1:1 !2001:db8::1:2 ");
    wholeOrRefused([&] { return list->toStrep(); });
    wholeOrRefused([&] { return list->commsStringForm(); });
}

TEST_P(ExtCommIp6Lists, Text) {
    auto const list = internOf({rt, nonTransitive});
    auto const text = "[ " + rt->toStrep().str() + ' ' + nonTransitive->toStrep().str() + " ]";
    EXPECT_EQ(list->toStrep(), text);
    EXPECT_EQ(list->commsStringForm(), "2001:db8::1:356 2001:db8::1:356 ");
    EXPECT_EQ(list->classificationList(extCommClassificationRouteTarget)->toStrep(),
              "[ " + rt->toStrep().str() + " ]")
        << "in brackets, unlike one of eight octets";
    EXPECT_EQ(internOf({})->toStrep(), "[  ]");
    std::ostringstream os;
    auto const part = list->classificationList(extCommClassificationRouteTarget);
    os << static_cast<ExtCommIp6List const*>(nullptr) << *list << *part
       << static_cast<ExtCommIp6ClassificationList const*>(nullptr);
    EXPECT_EQ(os.str(), "NULL" + text + part->toStrep().str() + "NULL");
}

TEST_P(ExtCommIp6Lists, DumpUnderTheHeadingOfExtendedLists) {
    auto const lineOf = [](Kel::DedupHashTable const& table) {
        return "      Kel::DedupHashTableUnorderedSet #0 capacity 0 octets " +
               std::to_string(table.octets()) + '\n';
    };
    EXPECT_TRUE(dumpOf(*row.commTable, 1).starts_with(" Kel::DedupHashTableUnorderedSet #2 "));
    EXPECT_EQ(dumpOf(*row.table, 2),
              "  ExtCommListDedupTable\n    extComm\n" + lineOf(*row.table->dedupTable()) +
                  "    extCommClassification\n" + lineOf(*row.table->extCommClassification()));
}

TEST_P(ExtCommIp6Lists, CreateSnapshots) {
    auto const list = internOf({nonTransitive, rt});
    auto const snapshot = list->commSnapshot();
    EXPECT_EQ(snapshot->comm(rt->getContent()), rt);
    EXPECT_EQ(snapshot->comms(), 2U);
    snapshot->classificationListDel(extCommClassificationRouteTarget);
    EXPECT_FALSE(snapshot->classificationListHas(extCommClassificationRouteTarget));
    auto const part = list->classificationList(extCommClassificationRouteTarget)->commSnapshot();
    EXPECT_EQ(part->classification(), extCommClassificationRouteTarget);
    EXPECT_EQ(part->comms(), 1U);
    EXPECT_EQ(extCommIp6ListSnapshotFactory()->comms(), 0U);
    EXPECT_EQ(extCommIp6ClassificationListSnapshotFactory(part->classification())->comms(), 0U);
    EXPECT_THROW(part->commIs(nullptr), Mox::NullMutatorArgumentException);
    EXPECT_THROW(snapshot->classificationListIs(nullptr), Mox::NullMutatorArgumentException);
}

TEST_P(ExtCommIp6Lists, SlotsOfClassificationLists) {
    ExtCommIp6ClassificationListVector vector;
    auto const color =
        ExtCommIp6ListFindOrCreateClassificationList(vector, extCommClassificationColor);
    EXPECT_EQ(vector.size(), 9U);
    EXPECT_EQ(vector[extCommClassificationRouteTarget], nullptr);
    auto const target =
        Mox::makeActive<ExtCommIp6ClassificationList>(extCommClassificationRouteTarget);
    ExtCommIp6ListClassificationListIs(vector, target);
    ExtCommIp6ListClassificationListIs(vector, target);
    EXPECT_EQ(vector.size(), 9U);
    EXPECT_EQ(vector[extCommClassificationRouteTarget], target.get());
    EXPECT_EQ(vector[extCommClassificationColor], color.get());
    EXPECT_EQ(target->referenceCount(), 2U);
    EXPECT_EQ(ExtCommIp6ListFindOrCreateClassificationList(vector, extCommClassificationColor),
              color);
    EXPECT_EQ(vector[99], nullptr);
}

using ExtCommIp6ListsDeathTest = ExtCommIp6Lists;
INSTANTIATE_TEST_SUITE_P(Mode, ExtCommIp6ListsDeathTest, bothPointerModes(), pointerModeName);

TEST_P(ExtCommIp6ListsDeathTest, Contracts) {
    auto const interned = Mox::constPtrCast<ExtCommIp6List>(internOf({}));
    ExtCommIp6ClassificationListVector vector;
    ExtCommIp6ListClassificationListIs(
        vector, internOf({rt})->classificationList(extCommClassificationRouteTarget));
    expectAssertions({
        {"ExtCommIp6List.cpp:#: dedup: Assertion '__null == ( this ) || ( this )->dedupState() == "
         "Kel::dedupHandleStateNeverDeduped()'",
         [&] { (void)interned->dedup(row.table.get()); }},
        {"'dedupState() == ", [&] { (void)interned->commVectorRawPtrNonConst(); }},
        {"'__null == ( _classificationList ) || ( _classificationList )->dedupState() == "
         "Kel::dedupHandleStateNeverDeduped()'",
         [&] {
             (void)ExtCommIp6ListFindOrCreateClassificationList(vector,
                                                                extCommClassificationRouteTarget);
         }},
    });
}

} // namespace
