#pragma once

#include "ExtCommListCases.h"
#include "support/PointerMode.h"

#include <VoBgp/ExtCommList.h>
#include <VoBgp/ExtCommListDedupTable.h>
#include <VoBgp/Parse/ExtCommContainer.h>
#include <VoBgp/VoBgpCommunity.h>

/// Observes route-target lists and checks that insertions and removals of each alternate.
class RtObserver : public Routing::Bgp::NotifyingRtExtCommListCollection::Notifiee {
  public:
    using Notifiee::Notifiee;
    using NotifierPtr = Routing::Bgp::NotifyingRtExtCommListCollection::NotifierPtr;

    void handleRtExtCommList(NotifierPtr const& each) override {
        if (notifier()->rtExtCommListHas(each)) {
            EXPECT_TRUE(present.insert(each.get()).second) << "inserted twice";
            ++came;
        } else {
            EXPECT_EQ(present.erase(each.get()), 1U) << "not inserted";
            ++went;
        }
    }

    std::set<Routing::Bgp::RtExtCommListLifeTimeNotifier const*> present;
    int came = 0;
    int went = 0;
};

/// Lists of eight-octet communities, see ExtCommListCases.h.
class EightOctets {
  public:
    using List = Routing::Bgp::ExtCommList;
    using Table = Routing::Bgp::ExtCommListDedupTable;

    Routing::Bgp::ExtComm::PtrConst const& comm(unsigned n) {
        while (comms_.size() <= n) {
            auto const next = static_cast<unsigned>(comms_.size());
            comms_.push_back(comm(static_cast<Routing::Bgp::ExtCommClassification>(classOf(next)),
                                  (next + 1) * Mox::U64{0x9e3779b97f4a7c15}));
        }
        return comms_[n];
    }

    /// Returns a community with a given class and value.
    Routing::Bgp::ExtComm::PtrConst comm(Routing::Bgp::ExtCommClassification classification,
                                         Mox::U64 value) {
        return Mox::staticPtrCast<Routing::Bgp::ExtComm const>(
            commTable->dedupHashTable()->dedup(Mox::makeActive<Routing::Bgp::ExtComm>(
                classification, Routing::Bgp::ExtCommContent(value))));
    }

    std::size_t classificationLists() const {
        return table->extCommClassificationListDedupTable()->size() +
               table->rtExtCommClassificationListDedupTable()->size();
    }

    /// Checks that the observer's state, the collection and the lists in use agree.
    void check(std::set<std::set<unsigned>> const& inUse) {
        std::set<std::set<Routing::Bgp::ExtComm const*>> lists;
        for (auto const& content : inUse) {
            std::set<Routing::Bgp::ExtComm const*> rts;
            for (auto const n : content) {
                if (classOf(n) == Routing::Bgp::extCommClassificationRouteTarget) {
                    rts.insert(comm(n).get());
                }
            }
            if (!rts.empty()) {
                lists.insert(rts);
            }
        }
        ASSERT_EQ(collection->rtExtCommLists(), lists.size());
        ASSERT_EQ(observer.present.size(), lists.size());
        for (auto const* notifier : observer.present) {
            auto const* const list = notifier->rtExtCommListRawPtr();
            std::set<Routing::Bgp::ExtComm const*> members;
            for (auto const& member : *list) {
                members.insert(member.get());
            }
            ASSERT_TRUE(lists.contains(members));
            ASSERT_EQ(list->lifeTimeNotifier(), notifier);
            ASSERT_TRUE(list->isDeduped());
        }
    }

    Routing::Bgp::ExtCommDedupTable::Ptr commTable = extCommDedupTableFactory(
        Routing::Bgp::bgpParseExtCommContainerSmFactory()->extCommParser());
    Table::Ptr table = Routing::Bgp::extCommListDedupTableFactory();
    Routing::Bgp::NotifyingRtExtCommListCollection::Ptr collection =
        table->notifyingRtExtCommListCollection();
    RtObserver observer{collection};

  private:
    std::vector<Routing::Bgp::ExtComm::PtrConst> comms_;
};
