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

/// The notifier of one interned route-target classification list: created when the list enters its
/// table, released when it leaves.
///
/// Owned by the list, the collection and observers. Holds a reference to the list, which does not
/// keep it interned. Immutable.
class VOBGP_EXPORT RtExtCommListLifeTimeNotifier : public Kel::DedupHandleLifeTimeNotifier {
  public:
    MOX_COUNTED(RtExtCommListLifeTimeNotifier)

    explicit RtExtCommListLifeTimeNotifier(
        Kel::DedupHandle::PtrConst const& rtExtCommList) noexcept;
    ~RtExtCommListLifeTimeNotifier() override;

    /// The list, not owned. REQUIRES: a caller that makes a counted pointer of it already holds a
    /// reference.
    RtExtCommClassificationList const* rtExtCommListRawPtr() const noexcept {
        return static_cast<RtExtCommClassificationList const*>(dedupHandle());
    }

    /// Returns the route target with those octets in the list, or null.
    ExtComm::PtrConst comm(U64 const& community) const {
        return rtExtCommListRawPtr()->comm(community);
    }

    /// The text of the list.
    String toStrep() const { return rtExtCommListRawPtr()->toStrep(); }
};

/// The notifiers of all route-target classification lists in use. Observe it to learn which
/// distinct sets of route targets the routes carry.
///
/// Only the table's notifiee may change the members: a list whose notifier was removed by hand is
/// not withdrawn when the table is destroyed. Reactor thread; takes no lock. In thread-safe mode it
/// is changed by one thread at a time, and may be read only from its observers.
class VOBGP_EXPORT NotifyingRtExtCommListCollection : public Mox::PtrInterface {
  public:
    MOX_COUNTED(NotifyingRtExtCommListCollection)
    using NotifierPtr = RtExtCommListLifeTimeNotifier::PtrConst;

    /// Attribute numbers of notifications.
    static constexpr Mox::AttributeNumber rtExtCommListAttribute = 0;

    /// An observer of a collection. Holds a reference to the collection.
    class VOBGP_EXPORT Notifiee : public Mox::NotifieeOf<NotifyingRtExtCommListCollection> {
      public:
        Notifiee() noexcept = default;

        explicit Notifiee(NotifyingRtExtCommListCollection::PtrConst const& notifier) {
            notifierIs(notifier);
        }

        /// Called after the list was added or removed:
        /// `notifier()->rtExtCommListHas(rtExtCommList)` is true if it was added. Must not throw on
        /// removal, which may happen in the release of a list.
        virtual void handleRtExtCommList(NotifierPtr const& /*rtExtCommList*/) {}

      private:
        void handleChange(Mox::AttributeNumber attribute, void const* key) final;
    };

    NotifyingRtExtCommListCollection();
    ~NotifyingRtExtCommListCollection() override;

    /// Adds a notifier and notifies the observers, unless it is a member already. REQUIRES: it is
    /// not null (asserted).
    void rtExtCommListIs(NotifierPtr const& rtExtCommList);

    /// Removes a notifier and notifies the observers. Returns whether it was a member.
    bool rtExtCommListDel(NotifierPtr const& rtExtCommList) {
        return rtExtCommList_.del(rtExtCommList);
    }

    /// Removes all notifiers, one at a time.
    void rtExtCommListDelAll() { rtExtCommList_.delAll(); }

    bool rtExtCommListHas(NotifierPtr const& rtExtCommList) const noexcept {
        return rtExtCommList_.has(rtExtCommList);
    }
    std::size_t rtExtCommLists() const noexcept { return rtExtCommList_.size(); }

    /// Calls the visitor with each notifier; it may modify the collection.
    template <class Visitor>
    void forEachRtExtCommList(Visitor visitor) const {
        rtExtCommList_.forEach(visitor);
    }

    Mox::NotifieeList* notifieeList() const noexcept override { return &notifieeList_; }

    /// Prints the count, then a line for each list.
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

/// Keeps a collection equal to the set of route-target classification lists in a table.
///
/// Owned by the table that it observes. Called by one thread at a time, as every lifetime notifiee
/// is.
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

    /// On `std::bad_alloc`, or if an observer throws, nothing is changed.
    void handleInsert(Kel::DedupHandle::Ptr const& handle) override;
    void handleRemove(Kel::DedupHandle* handle) override;

    /// Removes all lists from the collection.
    void handleNotificationStop(Kel::DedupHashTable::PtrConst const& table) override;

  private:
    NotifyingRtExtCommListCollection::Ptr const notifyingRtExtCommListCollection_;
};

/// The intern tables of lists of eight-octet communities: of the lists, of their classification
/// lists, and of the classification lists of route targets, which have observers.
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

    /// Always false: see `ExtCommIp6ListDedupTable::classificationTableReplaced()`.
    static constexpr bool classificationTableReplaced() noexcept { return false; }

    /// Replaces the collection by a new, empty one. The notifiee continues to update the old one.
    void notifyingRtExtCommListCollectionIs();
    void notifyingRtExtCommListCollectionDel() noexcept;

    /// Returns the notifiee of that collection. If the current one updates another collection,
    /// replaces it by a new one, which the caller must register with the table of route-target
    /// lists. REQUIRES: the collection is not null (asserted).
    RtExtCommListLifeTimeNotifiee::Ptr
    rtExtCommListLifeTimeNotifieeIs(NotifyingRtExtCommListCollection::Ptr const& collection);
    void rtExtCommListLifeTimeNotifieeDel() noexcept;

    void dumpState(Kel::DumpContext::PtrConst const& context, U32 indent) const;

    /// Called by the constructor: creates the tables, the collection and its notifiee.
    void handleInitialized();

  private:
    Kel::DedupHashTable::Ptr extCommClassificationListDedupTable_;
    NotifyingRtExtCommListCollection::Ptr notifyingRtExtCommListCollection_;
    RtExtCommListLifeTimeNotifiee::Ptr rtExtCommListLifeTimeNotifiee_;
    Kel::DedupHashTable::Ptr rtExtCommClassificationListDedupTable_;
};

/// Return a new, empty collection with notifications enabled; a new notifiee that updates
/// `collection`; a new, empty table.
VOBGP_EXPORT NotifyingRtExtCommListCollection::Ptr notifyingRtExtCommListCollectionFactory();
VOBGP_EXPORT RtExtCommListLifeTimeNotifiee::Ptr
rtExtCommListLifeTimeNotifieeFactory(NotifyingRtExtCommListCollection::Ptr const& collection);
VOBGP_EXPORT ExtCommListDedupTable::Ptr extCommListDedupTableFactory();

} // namespace Routing::Bgp
