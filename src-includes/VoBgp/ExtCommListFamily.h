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

#include <iosfwd>

/// What the lists of extended communities of both widths have in common: eight octets, and the
/// twenty of an IPv6-address-specific one. `Family` is the row that holds what differs.

namespace Routing::Bgp {

struct StoredListHead;
template <class Family>
class VOBGP_EXPORT ExtCommListBase;

/// Base of both kinds of lists: an interned object, which `Handle` is, and its members.
///
/// It holds a reference to each member. Whoever makes it fills it, in any order and with repeats,
/// then sorts it. Thread-compatible until it is interned; then it never changes and may be read
/// from any thread.
template <class Family, class Handle>
class ExtCommMembers : public Handle {
  public:
    using Comm = typename Family::Comm;
    using CommPtr = Mox::PtrConst<Comm>;
    using CommVector = Mox::CompactVector<CommPtr>;
    using Key = typename Family::Key;

    /// Appends a community.
    /// REQUIRES: the community is interned or rebuilt from a store, the list neither (asserted).
    void commIs(CommPtr const& comm) {
        assertMayBeFilled();
        ExtCommVectorAdd(comm, commVector_);
        commVectorSorted_ = false;
    }

    /// Reserves room for that many members in all. REQUIRES: as commIs().
    void expectedCommunityCountIs(U32 communityCount) {
        assertMayBeFilled();
        commVector_.reserve(communityCount);
    }

    /// Sorts the members by their octets and leaves each once. If memory for that runs out, all are
    /// there still and this can be done again.
    void sortComms() {
        ExtCommVectorSort(commVector_);
        commVectorSorted_ = true;
    }

    /// Whether the members are sorted, each there once.
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
    void addAll(CommVector const& others) {
        assertMayBeFilled();
        commVector_.append(others);
        commVectorSorted_ = commVectorSorted_ && others.empty();
    }

    /// For a list that was rebuilt: its members are known to be sorted, each there once.
    void commVectorSortedIs() noexcept { commVectorSorted_ = true; }

    CommVector& commVectorNonConst() noexcept {
        assertMayBeFilled();
        commVectorSorted_ = false;
        return commVector_;
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
    // most; the members follow from them. A content to look up by is a `ClassificationLists`.
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

    /// Freezes the members and appends each to the classification list of its class. If memory runs
    /// out, there are no classification lists afterwards and this can be done again. `dedupMode`
    /// is for a list that will be interned, and counts its transitive members.
    void classify(bool dedupMode);

    /// Interns the classification lists and then the list. If that fails, there are no
    /// classification lists afterwards, and the list can be split and interned again.
    Mox::PtrConst<List> dedupIn(Table const* table);

    ClassificationLists const& classificationLists() const noexcept { return classificationLists_; }

    /// How many members are transitive: of a list that was split in `dedupMode`, else 0.
    U32 transitiveComms() const noexcept { return transitiveComms_; }

  private:
    void splitMembers(bool dedupMode);

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
