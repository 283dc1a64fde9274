#pragma once

#include <Kel/DedupHandle.h>
#include <Kel/DedupHashTable.h>
#include <Mox/Assert.h>
#include <Mox/CompactVector.h>
#include <Mox/Exception.h>
#include <Mox/Export.h>
#include <Mox/MapAttribute.h>
#include <Mox/Ptr.h>
#include <MoxStash/DedupHandle.h>
#include <Routing/RouteMap/CommSnapshot.h>
#include <VoBgp/ExtCommClassificationListVector.h>
#include <VoBgp/VoBgpCommunityListImpl.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <iosfwd>
#include <span>
#include <utility>

/// What the lists of extended communities of both widths have in common: eight octets, and the
/// twenty of an IPv6-address-specific one. `Family` is the row that holds what differs.

namespace Routing::Bgp {

struct StoredListHead;
template <class Family>
class VOBGP_EXPORT ExtCommListBase;

template <class Family>
class ExtCommListBase;

/// Base of both kinds of lists: an interned object, `Handle`, and its members.
///
/// Holds a reference to each member. Fill with `commIs()` in any order; duplicates are allowed.
/// Call `sortComms()` before look-ups. Thread-compatible until it is interned, immutable
/// afterwards.
template <class Family, class Handle>
class ExtCommMembers : public Handle {
  public:
    using Comm = typename Family::Comm;
    using CommPtr = Mox::PtrConst<Comm>;
    using CommVector = Mox::CompactVector<CommPtr>;
    using Key = typename Family::Key;

    /// Appends a community.
    /// REQUIRES: the community is interned or rebuilt from a store, the list neither (asserted).
    void commIs(CommPtr const& comm) { commIs(CommPtr(comm)); }
    void commIs(CommPtr&& comm) {
        assertMayBeFilled();
        ExtCommVectorAdd(std::move(comm), commVector_);
        commVectorSorted_ = false;
        octetsHeld_ = false;
    }

    /// Reserves room for that many members in all. REQUIRES: as commIs().
    void expectedCommunityCountIs(U32 communityCount) {
        assertMayBeFilled();
        commVector_.reserve(communityCount);
        octetsHeld_ = false;
    }

    /// Sorts the members by their octets and removes duplicates: the first of equal ones stays. On
    /// `std::bad_alloc` no distinct member is lost and this can be done again.
    void sortComms() {
        ExtCommVectorSort(commVector_);
        commVectorSorted_ = true;
    }

    /// Whether the members are sorted and distinct.
    bool commVectorSorted() const noexcept { return commVectorSorted_; }

    /// The member with those octets, or null. The list must be sorted (asserted).
    CommPtr comm(Key const& community) const {
        return ExtCommVectorLookup(commVectorSorted_, commVector_, community);
    }

    bool empty() const noexcept { return commVector_.empty(); }
    CommVector const& commVector() const noexcept { return commVector_; }
    CommPtr const* begin() const noexcept { return commVector_.begin(); }
    CommPtr const* end() const noexcept { return commVector_.end(); }

    CommPtr const& operator[](U32 index) const noexcept {
        MOX_ASSERT(index < commVector_.size());
        return commVector_[index];
    }

  protected:
    /// Appends the members of another list, or of this one.
    void addAll(std::span<CommPtr const> others) {
        assertMayBeFilled();
        commVector_.append(others);
        commVectorSorted_ = commVectorSorted_ && others.empty();
        octetsHeld_ = false;
    }

    /// For a list that was rebuilt: its members are known to be sorted, each there once.
    void commVectorSortedIs() noexcept { commVectorSorted_ = true; }

    CommVector& commVectorNonConst() noexcept {
        assertMayBeFilled();
        commVectorSorted_ = false;
        octetsHeld_ = false;
        return commVector_;
    }

    /// Sorts the members and removes duplicates, as sortComms(), but keeps unused memory.
    /// Guaranteed not to throw.
    void unifyComms() noexcept {
        commVectorUnify(commVector_, [](CommPtr const& comm) { return extCommKey(*comm); });
        commVectorSorted_ = true;
    }

    /// Whether the members' octets are held next to them. Not so of a list that was never interned
    /// or is filled further.
    bool octetsHeld() const noexcept { return octetsHeld_; }

    /// The members as path attributes carry them. REQUIRES: they are held.
    std::span<std::byte const> octets() const noexcept {
        return {commVector_.tail(), std::size_t{commVector_.size()} * Family::memberOctets};
    }

    /// Fills an empty list with the members whose octets these are, sorted and distinct;
    /// `load(std::byte const*)` returns a member. If that throws, the list has some of them.
    template <class Load>
    void fillSorted(std::span<std::byte const> octets, Load const& load) {
        commVector_.fit(static_cast<U32>(octets.size() / Family::memberOctets), octets.size());
        for (std::size_t at = 0; at < octets.size(); at += Family::memberOctets) {
            commIs(load(octets.data() + at));
        }
        std::memcpy(commVector_.tail(), octets.data(), octets.size());
        commVectorSorted_ = true;
        octetsHeld_ = true;
    }

    /// Holds the octets that `store(std::byte*)` writes, and gives up memory that the members do
    /// not need. On `std::bad_alloc` the list is unchanged.
    template <class Store>
    void holdOctets(Store const& store) {
        auto const size = commVector_.size();
        commVector_.fit(size, std::size_t{size} * Family::memberOctets);
        store(commVector_.tail());
        octetsHeld_ = true;
    }

  private:
    /// REQUIRES: the list was neither interned nor rebuilt from a store. Its classification lists,
    /// if it has any, follow from the members that it has.
    void assertMayBeFilled() const noexcept {
        MOX_ASSERT_TEXT(this->dedupState() == Kel::dedupHandleStateNeverDeduped(),
                        "dedupState() == Kel::dedupHandleStateNeverDeduped()");
    }

    CommVector commVector_;
    bool commVectorSorted_ = false;
    bool octetsHeld_ = false;
};

/// The communities of one class (RFC 4360 and others: route targets, route origins, ...) in a list:
/// exactly one object for each distinct set of them in a table, shared by all lists that hold them.
///
/// It is made and interned by the list that is split, is owned by the lists that hold it, holds its
/// communities, and leaves its table with the last of the lists. Its class never changes, nor,
/// once it is interned, do its members: then it is immutable and may be read from any thread.
template <class Family>
class VOBGP_EXPORT ExtCommClassificationListBase : public ExtCommMembers<Family, Kel::DedupHandle> {
  public:
    using List = typename Family::ClassificationList;
    using CommPtr = typename ExtCommClassificationListBase::CommPtr;
    using Snapshot = typename Family::ClassificationListSnapshot;

    ~ExtCommClassificationListBase() override;

    // The interned-object contract: the members' identities are what counts, the class takes no
    // part. A content to look up by is a `std::span<CommPtr const>`, sorted, each member once.
    U32 hash() const override;
    U64 placementHash() const override;
    bool compare(Kel::DedupHandle const* other) const override;
    bool compareByContent(Kel::DedupContentHandle const& content) const override;
    void formatHandle(std::ostream& os) const override;

    ExtCommClassification classification() const noexcept { return classification_; }

    /// A new snapshot that holds every member.
    Mox::Ptr<Snapshot> commSnapshot() const;

    /// What streaming a pointer to this writes.
    String toStrep() const;

    /// The list in the slot of a class; a new one if the slot is empty.
    /// REQUIRES: the list in the slot was never interned, or `dedupMode` is off (asserted).
    static List& findOrCreate(ClassificationListVector<List>& vector,
                              ExtCommClassification classification, bool dedupMode);

  protected:
    // Splits its members into these lists, and puts those of a rebuilt list into state destashed.
    friend class ExtCommListBase<Family>;

    explicit ExtCommClassificationListBase(ExtCommClassification classification) noexcept
      : classification_(classification) {}

    /// Interns the list, which must be frozen, in that table.
    Mox::PtrConst<List> dedupIn(Kel::DedupHashTable const& table);

  private:
    friend class ExtCommListBase<Family>;

    ExtCommClassification const classification_;
};

/// The extended communities of a route: exactly one object for each distinct set of them in a
/// table.
///
/// It is owned by its counted pointers and leaves its table with the last outside one; it holds its
/// communities and, once it is frozen, a classification list for each class of them. It is born
/// unsorted, when members are appended and it is its maker's alone; `dedup` of the deriving class
/// freezes it. Interned it never changes: it is immutable and may be read from any thread.
template <class Family>
class VOBGP_EXPORT ExtCommListBase : public ExtCommMembers<Family, MoxStash::DedupHandle> {
  public:
    using List = typename Family::List;
    using ClassificationList = typename Family::ClassificationList;
    using ClassificationLists = ClassificationListVector<ClassificationList>;
    using CommPtr = typename ExtCommListBase::CommPtr;
    using Key = typename Family::Key;
    using Snapshot = typename Family::ListSnapshot;
    using Table = typename Family::ListDedupTable;

    ~ExtCommListBase() override;

    // The interned-object contract: the classification lists' identities are what counts, ten at
    // most; the members follow from them. A content to look up by is a `ClassificationLists`. The
    // list is placed by the octets of its members.
    U32 hash() const override;
    U64 placementHash() const override;
    bool compare(Kel::DedupHandle const* other) const override;
    bool compareByContent(Kel::DedupContentHandle const& content) const override;
    void formatHandle(std::ostream& os) const override;

    /// Appends all members of another list; none if null. REQUIRES: as commIs().
    void append(Mox::PtrConst<List> const& other);
    void appendClassificationList(Mox::PtrConst<ClassificationList> const& other);

    /// As comm().
    CommPtr lookupExtComm(Key const& community) const { return this->comm(community); }

    /// How many members there are. The list must be sorted (asserted).
    U32 totalCommunities() const;

    /// The members of a class, or null if there are none. The list must have been interned
    /// (asserted).
    Mox::PtrConst<ClassificationList>
    classificationList(ExtCommClassification classification) const;

    /// A new snapshot that holds every classification list and every member.
    Mox::Ptr<Snapshot> commSnapshot() const;

    /// What streaming a pointer to this writes.
    String toStrep() const;

    /// Writes the members into a store, and the list that they are; returns its stored address.
    void const* stash(MoxStash::StoreWriter& writer) const;

  protected:
    ExtCommListBase() noexcept = default;

    /// A new list with the members of the stored one, rebuilt, in the order in which they are
    /// there; and what else its record says.
    static Mox::Ptr<List> destashMembers(void const* stored, MoxStash::StoreManager* manager,
                                         StoredListHead& head);

    /// Looks for the list with the same members in the table. If it is there, takes over its
    /// classification lists and what was found out about its members, and returns it; else returns
    /// null. The members are sorted and distinct afterwards. On `std::bad_alloc` there are no
    /// classification lists and this can be done again.
    Mox::PtrConst<List> adoptInterned(Table const& table);

    /// Freezes the members and appends each to the classification list of its class. On
    /// `std::bad_alloc` there are no classification lists and this can be done again. `dedupMode`
    /// is for a list that will be interned, and counts its transitive members.
    void classify(bool dedupMode);

    /// Interns the classification lists and then the list. If that fails, there are no
    /// classification lists afterwards, and the list can be split and interned again.
    Mox::PtrConst<List> dedupIn(Table const* table);

    ClassificationLists const& classificationLists() const noexcept { return classificationLists_; }

    /// How many members are transitive: of a list that was split in `dedupMode`, else 0.
    U32 transitiveComms() const noexcept { return transitiveComms_; }

  private:
    friend class CommunityTables;

    void splitMembers(bool dedupMode);

    /// Whether the list of an attribute value with these octets is this one, for the
    /// CommunityTables that the list is interned in.
    bool standsFor(std::span<std::byte const> value) const noexcept {
        return identifiedByOctets_.load(std::memory_order_relaxed) &&
               value.size() == this->octets().size() &&
               std::memcmp(value.data(), this->octets().data(), value.size()) == 0;
    }

    /// The members of this interned list are those that its CommunityTables parse its octets into.
    /// That stays true as long as it is interned: it holds them.
    void identifiedByOctetsIs() const noexcept {
        identifiedByOctets_.store(this->octetsHeld(), std::memory_order_relaxed);
    }

    mutable std::atomic<bool> identifiedByOctets_{false};
    U32 transitiveComms_ = 0;
    // What a deriving class adds begins in what is left of the last word.
    [[no_unique_address]] ClassificationLists classificationLists_;
};

namespace Detail {

/// Throws what an operation that stores its argument throws if that is null.
template <class T>
T const& notNull(Mox::PtrConst<T> const& argument, char const* operation) {
    if (!argument) {
        throw Mox::NullMutatorArgumentException(operation);
    }
    return *argument;
}

} // namespace Detail

/// A snapshot of a classification list: its communities by their octets. The class of a community
/// that is put into it may be any. All else as its base.
template <class Family>
class VOBGP_EXPORT ExtCommClassificationListSnapshotBase
  : public RouteMap::CommSnapshot<typename Family::Key, Mox::PtrConst<typename Family::Comm>, 1> {
  public:
    ExtCommClassification classification() const noexcept { return classification_; }

    /// Inserts a community, in place of one with the same octets. Null is a
    /// `Mox::NullMutatorArgumentException`.
    void commIs(Mox::PtrConst<typename Family::Comm> const& comm) {
        auto const& notNull = Detail::notNull(comm, Family::classificationListSnapshotCommIs);
        this->commEntryIs(extCommKey(notNull), comm);
    }

  protected:
    explicit ExtCommClassificationListSnapshotBase(ExtCommClassification classification) noexcept
      : classification_(classification) {}

  private:
    ExtCommClassification const classification_;
};

/// A snapshot of a list: its communities by their octets, and its classification lists by their
/// classes. One does not follow from the other. All else as its base.
template <class Family>
class VOBGP_EXPORT ExtCommListSnapshotBase
  : public RouteMap::CommSnapshot<typename Family::Key, Mox::PtrConst<typename Family::Comm>,
                                  Family::listSnapshotCommAttribute> {
    using Base = RouteMap::CommSnapshot<typename Family::Key, Mox::PtrConst<typename Family::Comm>,
                                        Family::listSnapshotCommAttribute>;

  public:
    using ClassificationListPtr = Mox::PtrConst<typename Family::ClassificationList>;

    static constexpr Mox::AttributeNumber classificationListAttribute =
        Family::listSnapshotClassificationListAttribute;

    /// One entry of the second map.
    using MoxClassificationList = Mox::MapEntry<ExtCommClassification, ClassificationListPtr>;

    /// Hears of both maps. Else as its base.
    class VOBGP_EXPORT Notifiee : public Base::Notifiee {
      public:
        using Base::Notifiee::Notifiee;

        /// The entry came, went or changed.
        virtual void handleClassificationList(ExtCommClassification /*classification*/) {}

      protected:
        void handleChange(Mox::AttributeNumber attribute, void const* key) override {
            if (attribute == classificationListAttribute) {
                handleClassificationList(*static_cast<ExtCommClassification const*>(key));
            } else {
                Base::Notifiee::handleChange(attribute, key);
            }
        }
    };

    /// Inserts a community, in place of one with the same octets. Null is a
    /// `Mox::NullMutatorArgumentException`.
    void commIs(Mox::PtrConst<typename Family::Comm> const& comm) {
        auto const& notNull = Detail::notNull(comm, Family::listSnapshotCommIs);
        this->commEntryIs(extCommKey(notNull), comm);
    }

    /// Inserts a classification list, in place of one of the same class. Null as above.
    void classificationListIs(ClassificationListPtr const& list) {
        auto const& notNull = Detail::notNull(list, Family::listSnapshotClassificationListIs);
        classificationList_.is(notNull.classification(), list);
    }

    /// Removes the entry, if there is one, and returns its list.
    ClassificationListPtr classificationListDel(ExtCommClassification classification) {
        return classificationList_.del(classification);
    }

    void classificationListDelAll() { classificationList_.delAll(); }

    bool classificationListHas(ExtCommClassification classification) const {
        return classificationList_.has(classification);
    }

    /// The list of the class, or null.
    ClassificationListPtr classificationList(ExtCommClassification classification) const {
        return classificationList_.get(classification);
    }

    U32 classificationLists() const noexcept { return classificationList_.size(); }

    /// Calls the visitor with each `MoxClassificationList const&`, in the order of the classes; it
    /// may change the snapshot meanwhile.
    template <class Visitor>
    void forEachClassificationList(Visitor visitor) const {
        classificationList_.forEach(visitor);
    }

  protected:
    ExtCommListSnapshotBase() noexcept
      : classificationList_(*this, classificationListAttribute) {}

  private:
    Mox::MapAttribute<ExtCommClassification, ClassificationListPtr> classificationList_;
};

} // namespace Routing::Bgp
