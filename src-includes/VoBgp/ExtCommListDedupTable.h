#pragma once

#include <Kel/DedupHandleLifeTimeNotifier.h>
#include <Kel/DedupHashTable.h>
#include <Kel/DumpContext.h>
#include <Mox/Export.h>
#include <Mox/Hash.h>
#include <Mox/Notifiee.h>
#include <Mox/Ptr.h>
#include <Mox/SetAttribute.h>
#include <VoBgp/CommListDedupTable.h>
#include <VoBgp/ExtCommList.h>

#include <cstddef>

namespace Routing::Bgp {

/// Stands for one route-target classification list that is in use: made when the list enters its
/// table, let go of when it leaves.
///
/// It is owned by the list, by the collection, and by whoever follows these; it holds the list, and
/// does not keep it interned. Immutable.
class VOBGP_EXPORT RtExtCommListLifeTimeNotifier : public Kel::DedupHandleLifeTimeNotifier {
  public:
    MOX_COUNTED(RtExtCommListLifeTimeNotifier)

    explicit RtExtCommListLifeTimeNotifier(
        Kel::DedupHandle::PtrConst const& rtExtCommList) noexcept;
    ~RtExtCommListLifeTimeNotifier() override;

    /// The list. Nobody makes a counted pointer of it unless he holds a reference already.
    RtExtCommClassificationList const* rtExtCommListRawPtr() const noexcept {
        return static_cast<RtExtCommClassificationList const*>(dedupHandle());
    }

    /// The route target with those octets in the list, or null.
    ExtComm::PtrConst comm(U64 const& community) const {
        return rtExtCommListRawPtr()->comm(community);
    }

    /// The text of the list.
    String toStrep() const { return rtExtCommListRawPtr()->toStrep(); }
};

/// The set of route-target classification lists in use, each by its notifier: an observer follows
/// here which distinct sets of route targets routes have, and need not look at the routes.
///
/// Owned by the table that feeds it and by its observers; holds the notifiers. What is a member is
/// for the table's notifiee alone to change: a list whose notifier is taken out by hand is not
/// withdrawn when the table goes. Reactor thread: it takes no lock. One that is fed in thread-safe
/// mode is fed by one thread at a time, and to be read only from its observers.
class VOBGP_EXPORT NotifyingRtExtCommListCollection : public Mox::PtrInterface {
  public:
    MOX_COUNTED(NotifyingRtExtCommListCollection)
    using NotifierPtr = RtExtCommListLifeTimeNotifier::PtrConst;

    /// The attributes that a notification may be about.
    static constexpr Mox::AttributeNumber rtExtCommListAttribute = 0;

    /// An observer of a collection. Owned by the agent; keeps its collection alive.
    class VOBGP_EXPORT Notifiee : public Mox::NotifieeOf<NotifyingRtExtCommListCollection> {
      public:
        Notifiee() noexcept = default;

        explicit Notifiee(NotifyingRtExtCommListCollection::PtrConst const& notifier) {
            notifierIs(notifier);
        }

        /// The list was added or removed: `notifier()->rtExtCommListHas(rtExtCommList)` tells
        /// which. Must not throw on removal, which may happen in the release of a list.
        virtual void handleRtExtCommList(NotifierPtr const& /*rtExtCommList*/) {}

      private:
        void handleChange(Mox::AttributeNumber attribute, void const* key) final;
    };

    NotifyingRtExtCommListCollection();
    ~NotifyingRtExtCommListCollection() override;

    /// Adds a notifier and tells the observers, unless it is there already. REQUIRES: it is not
    /// null (asserted).
    void rtExtCommListIs(NotifierPtr const& rtExtCommList);

    /// Removes a notifier and tells the observers; returns whether it was there.
    bool rtExtCommListDel(NotifierPtr const& rtExtCommList) {
        return rtExtCommList_.del(rtExtCommList);
    }

    /// Removes every notifier, one at a time through rtExtCommListDel().
    void rtExtCommListDelAll() { rtExtCommList_.delAll(); }

    bool rtExtCommListHas(NotifierPtr const& rtExtCommList) const noexcept {
        return rtExtCommList_.has(rtExtCommList);
    }
    std::size_t rtExtCommLists() const noexcept { return rtExtCommList_.size(); }

    /// Calls the visitor with each notifier; it may change the collection meanwhile.
    template <class Visitor>
    void forEachRtExtCommList(Visitor visitor) const {
        rtExtCommList_.forEach(visitor);
    }

    Mox::NotifieeList* notifieeList() const noexcept override { return &notifieeList_; }

    /// A line with the count, and one for each list.
    void dumpState(Kel::DumpContext::PtrConst const& dumpContext, U32 indent) const;

  private:
    struct IdentityHash {
        U64 operator()(NotifierPtr const& notifier) const noexcept {
            return Mox::hashWord(reinterpret_cast<U64>(notifier.get()));
        }
    };

    mutable Mox::NotifieeList notifieeList_;
    Mox::SetAttribute<NotifierPtr, IdentityHash> rtExtCommList_;
};

/// Keeps a collection equal to the route-target classification lists of a table.
///
/// Owned by the table it observes. Called by one thread at a time, as every lifetime notifiee is.
/// The collection never changes.
class VOBGP_EXPORT RtExtCommListLifeTimeNotifiee : public Kel::DedupHashTableLifeTimeNotifiee {
  public:
    MOX_COUNTED(RtExtCommListLifeTimeNotifiee)

    /// REQUIRES: the collection is not null (asserted).
    explicit RtExtCommListLifeTimeNotifiee(
        NotifyingRtExtCommListCollection::Ptr const& collection) noexcept;
    ~RtExtCommListLifeTimeNotifiee() override;

    NotifyingRtExtCommListCollection::Ptr const& notifyingRtExtCommListCollection() const noexcept {
        return notifyingRtExtCommListCollection_;
    }

    /// If memory runs out, or an observer throws, the list has no notifier and the collection no
    /// new member.
    void handleInsert(Kel::DedupHandle::Ptr const& handle) override;
    void handleRemove(Kel::DedupHandle* handle) override;

    /// Withdraws every list that is still there.
    void handleNotificationStop(Kel::DedupHashTable::PtrConst const& table) override;

  private:
    NotifyingRtExtCommListCollection::Ptr const notifyingRtExtCommListCollection_;
};

/// The intern table of lists of eight-octet communities: of the lists, of their classification
/// lists, and, apart from these, of those of route targets, which it watches.
///
/// Owned by the agent; holds the framework's tables, the collection of route-target lists in use,
/// and what feeds it. All else as its base.
class VOBGP_EXPORT ExtCommListDedupTable : public CommListDedupTableBase {
  public:
    MOX_COUNTED(ExtCommListDedupTable)

    ExtCommListDedupTable();
    ~ExtCommListDedupTable() override;

    Kel::DedupHashTable::Ptr const& extCommClassificationListDedupTable() const noexcept {
        return extCommClassificationListDedupTable_;
    }
    NotifyingRtExtCommListCollection::Ptr const& notifyingRtExtCommListCollection() const noexcept {
        return notifyingRtExtCommListCollection_;
    }
    RtExtCommListLifeTimeNotifiee::Ptr const& rtExtCommListLifeTimeNotifiee() const noexcept {
        return rtExtCommListLifeTimeNotifiee_;
    }
    Kel::DedupHashTable::Ptr const& rtExtCommClassificationListDedupTable() const noexcept {
        return rtExtCommClassificationListDedupTable_;
    }

    /// As ExtCommIp6ListDedupTable::classificationTableReplaced(): here, never.
    static constexpr bool classificationTableReplaced() noexcept { return false; }

    /// A new, empty collection in place of the one there is, which the notifiee goes on feeding.
    void notifyingRtExtCommListCollectionIs();
    void notifyingRtExtCommListCollectionDel() noexcept;

    /// The notifiee, if it feeds that collection; else a new one in its place that does, which is
    /// still to be registered with the table of route-target lists. REQUIRES: the collection is not
    /// null (asserted).
    RtExtCommListLifeTimeNotifiee::Ptr
    rtExtCommListLifeTimeNotifieeIs(NotifyingRtExtCommListCollection::Ptr const& collection);
    void rtExtCommListLifeTimeNotifieeDel() noexcept;

    void dumpState(Kel::DumpContext::PtrConst const& context, U32 indent) const;

  private:
    void handleInitialized();

    Kel::DedupHashTable::Ptr extCommClassificationListDedupTable_;
    NotifyingRtExtCommListCollection::Ptr notifyingRtExtCommListCollection_;
    RtExtCommListLifeTimeNotifiee::Ptr rtExtCommListLifeTimeNotifiee_;
    Kel::DedupHashTable::Ptr rtExtCommClassificationListDedupTable_;
};

/// A new, empty collection with its notifications switched on; a new notifiee that feeds one; a
/// new, empty table.
VOBGP_EXPORT NotifyingRtExtCommListCollection::Ptr notifyingRtExtCommListCollectionFactory();
VOBGP_EXPORT RtExtCommListLifeTimeNotifiee::Ptr
rtExtCommListLifeTimeNotifieeFactory(NotifyingRtExtCommListCollection::Ptr const& collection);
VOBGP_EXPORT ExtCommListDedupTable::Ptr extCommListDedupTableFactory();

} // namespace Routing::Bgp
