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
#include <VoBgp/CommListVector.h>
#include <VoBgp/ExtCommClassificationListVector.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>
#include <iosfwd>
#include <optional>
#include <span>
#include <utility>

/// Lists of extended communities, of eight octets and of twenty (IPv6-address-specific). `Family`
/// is a traits class with the differences. Defined in `ExtCommListFamilyImpl.h`, which the sources
/// of the two families include.

namespace Routing::Bgp {

class CommListText;
struct StoredListHead;
template <class Family>
class VOBGP_EXPORT ExtCommListBase;

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

    /// Appends a community. REQUIRES: the community is interned or rebuilt from a store; the list
    /// is neither (asserted).
    void commIs(CommPtr const& comm) { commIs(CommPtr(comm)); }
    void commIs(CommPtr&& comm) {
        assertMayBeFilled();
        ExtCommVectorAdd(std::move(comm), commVector_);
        commVectorSorted_ = false;
        octetsHeld_ = false;
    }

    /// Reserves room for that many members in total. Does nothing if the list is interned or
    /// rebuilt from a store.
    void expectedCommunityCountIs(U32 communityCount) {
        if (this->everDeduped()) {
            return;
        }
        commVector_.reserve(communityCount);
        octetsHeld_ = false;
    }

    /// Sorts the members by their octets and removes duplicates, keeping the first of equal
    /// members. On `std::bad_alloc` no distinct member is lost, and it may be called again.
    void sortComms() {
        ExtCommVectorSort(commVector_);
        commVectorSorted_ = true;
    }

    /// Whether the members are sorted and distinct.
    bool commVectorSorted() const noexcept { return commVectorSorted_; }

    /// Returns the member with those octets, or null. REQUIRES: the list is sorted (asserted).
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

    /// For a rebuilt list whose members are known to be sorted and distinct.
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

    /// Whether the members' octets are held next to them: only after an attempt to intern the list,
    /// until more is appended.
    bool octetsHeld() const noexcept { return octetsHeld_; }

    /// The members as in a path attribute. REQUIRES: `octetsHeld()`.
    std::span<std::byte const> octets() const noexcept {
        return {commVector_.tail(), std::size_t{commVector_.size()} * Family::memberOctets};
    }

    /// Fills an empty list from the octets of its members, which are sorted and distinct;
    /// `load(std::byte const*)` returns an interned member. If it throws, the list holds some of
    /// the members.
    template <class Load>
    void fillSorted(std::span<std::byte const> octets, Load const& load) {
        commVector_.fit(static_cast<U32>(octets.size() / Family::memberOctets), octets.size());
        for (std::size_t at = 0; at < octets.size(); at += Family::memberOctets) {
            commVector_.push_back(load(octets.data() + at));
        }
        std::memcpy(commVector_.tail(), octets.data(), octets.size());
        commVectorSorted_ = true;
        octetsHeld_ = true;
    }

    /// Fills an empty list with interned members, sorted and distinct.
    void fillSorted(std::span<Comm const* const> members) {
        commVector_.fit(static_cast<U32>(members.size()), 0);
        for (auto const* const member : members) {
            commVector_.push_back(CommPtr(member));
        }
        commVectorSorted_ = true;
    }

    /// Holds the octets that `store(std::byte*)` writes, and frees unused memory. On
    /// `std::bad_alloc` the list is unchanged.
    template <class Store>
    void holdOctets(Store const& store) {
        auto const size = commVector_.size();
        commVector_.fit(size, std::size_t{size} * Family::memberOctets);
        store(commVector_.tail());
        octetsHeld_ = true;
    }

  private:
    /// REQUIRES: the list was neither interned nor rebuilt from a store.
    void assertMayBeFilled() const noexcept {
        MOX_ASSERT_TEXT(this->dedupState() == Kel::dedupHandleStateNeverDeduped(),
                        "dedupState() == Kel::dedupHandleStateNeverDeduped()");
    }

    CommVector commVector_;
    bool commVectorSorted_ = false;
    bool octetsHeld_ = false;
};

/// The communities of one class (route targets, route origins, ...) in a list. Interned: a table
/// holds at most one object per distinct set, shared by all lists that contain it.
///
/// Created and interned by the list that is split; owned by the lists that contain it, and removed
/// from its table with the last of them. Immutable and thread-safe once interned.
template <class Family>
class VOBGP_EXPORT ExtCommClassificationListBase : public ExtCommMembers<Family, Kel::DedupHandle> {
  public:
    using List = typename Family::ClassificationList;
    using CommPtr = typename ExtCommClassificationListBase::CommPtr;
    using Snapshot = typename Family::ClassificationListSnapshot;

    ~ExtCommClassificationListBase() override;

    // The interned-object contract: lists are equal if their members are the same objects, whatever
    // the class. A content to look up by is a `std::span<CommPtr const>`, sorted and distinct.
    U32 hash() const override;
    U64 placementHash() const override;
    bool compare(Kel::DedupHandle const* other) const override;
    bool compareByContent(Kel::DedupContentHandle const& content) const override;
    void formatHandle(std::ostream& os) const override;

    ExtCommClassification classification() const noexcept { return classification_; }

    /// Returns a new snapshot of all members.
    Mox::Ptr<Snapshot> commSnapshot() const;

    /// The text that streaming a pointer to this writes.
    String toStrep() const;

    /// Returns the list in the slot of a class, or puts a new one there. REQUIRES: the list in the
    /// slot was never interned, or `dedupMode` is off (asserted).
    static List& findOrCreate(ClassificationListVector<List>& vector,
                              ExtCommClassification classification, bool dedupMode);

  protected:
    // Appends to these lists, and sets the state of rebuilt ones.
    friend class ExtCommListBase<Family>;

    explicit ExtCommClassificationListBase(ExtCommClassification classification) noexcept
      : classification_(classification) {}

    /// Interns the list in that table. REQUIRES: the list is frozen.
    Mox::PtrConst<List> dedupIn(Kel::DedupHashTable const& table);

    /// Returns the interned list of these members, creating it if necessary. REQUIRES: the members
    /// are sorted and distinct, with at most one link bandwidth.
    static Mox::PtrConst<List> interned(typename Family::ListDedupTable const& table,
                                        ExtCommClassification classification,
                                        std::span<typename Family::Comm const* const> members);

  private:
    friend class ExtCommListBase<Family>;

    ExtCommClassification const classification_;
};

/// How many members of a list each class has, and how many members are transitive.
struct ExtCommClassCounts {
    bool has(ExtCommClassification classification) const noexcept {
        return members[classification] != 0;
    }

    /// Calls the visitor with the number of each class that is present, in order.
    template <class Visitor>
    void forEachClass(Visitor const& visitor) const {
        for (U32 left = present; left != 0; left &= left - 1) {
            visitor(static_cast<U32>(std::countr_zero(left)));
        }
    }

    /// By class, with room for more classes: see ClassificationListVector.
    std::array<U32, 16> members{};
    /// One bit for each class.
    U32 present = 0;
    U32 transitive = 0;
};

/// The extended communities of a route. Interned: a table holds at most one object per distinct
/// set, so equality is pointer equality.
///
/// Reference-counted; removed from its table when the last external reference is released. Holds
/// references to its communities and, once frozen, to a classification list for each of their
/// classes. Fill it, then call `dedup()` of the derived class: from then on it is immutable and
/// thread-safe.
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

    // The interned-object contract: lists are equal if their classification lists, ten at most, are
    // the same objects. A content to look up by is a `ClassificationLists`. The placement hash is
    // that of the members' octets.
    U32 hash() const override;
    U64 placementHash() const override;
    bool compare(Kel::DedupHandle const* other) const override;
    bool compareByContent(Kel::DedupContentHandle const& content) const override;
    void formatHandle(std::ostream& os) const override;

    /// Appends all members of another list; does nothing for null. REQUIRES: as `commIs()`.
    void append(Mox::PtrConst<List> const& other);
    void appendClassificationList(Mox::PtrConst<ClassificationList> const& other);

    /// Same as `comm()`.
    CommPtr lookupExtComm(Key const& community) const { return this->comm(community); }

    /// Number of members. REQUIRES: the list is sorted (asserted).
    U32 totalCommunities() const;

    /// Returns the members of a class, or null if there are none. REQUIRES: the list has been
    /// interned (asserted).
    Mox::PtrConst<ClassificationList>
    classificationList(ExtCommClassification classification) const;

    /// Returns a new snapshot of all classification lists and members.
    Mox::Ptr<Snapshot> commSnapshot() const;

    /// The text that streaming a pointer to this writes.
    String toStrep() const;

    /// Writes the members and the list into a store; returns its stored address.
    void const* stash(MoxStash::StoreWriter& writer) const;

  protected:
    ExtCommListBase() noexcept = default;

    /// Rebuilds the members of a stored list, in stored order; also returns the rest of its record.
    static Mox::Ptr<List> destashMembers(void const* stored, MoxStash::StoreManager* manager,
                                         StoredListHead& head);

    /// Sorts the members and looks up the list with the same members. If it is in the table, copies
    /// its classification lists and counts, and returns it; else returns null, and `miss` records
    /// the look-up. On `std::bad_alloc` there are no classification lists, and it may be called
    /// again.
    Mox::PtrConst<List> adoptInterned(Table const& table, std::optional<Kel::DedupMiss>& miss);

    /// Freezes the members and appends each to the classification list of its class. `dedupMode`:
    /// the list will be interned; counts its transitive members. On `std::bad_alloc` there are no
    /// classification lists, and it may be called again.
    void classify(bool dedupMode);

    /// Interns the classification lists and then the list. On failure there are no classification
    /// lists, and the list may be split and interned again.
    Mox::PtrConst<List> dedupIn(Table const* table);

    ExtCommClassCounts classCounts() const noexcept;

    /// Interns a list that adoptInterned(), or a look-up by its octets, has missed: finds or makes
    /// the interned classification lists, then inserts the list. On failure there are no
    /// classification lists, and it may be called again. REQUIRES: the members are frozen, their
    /// octets held, and their classes counted; there are no classification lists.
    Mox::PtrConst<List> insertMissed(Table const& table, ExtCommClassCounts const& counts,
                                     Kel::DedupMiss const& miss);

    ClassificationLists const& classificationLists() const noexcept { return classificationLists_; }

    /// Number of transitive members; 0 unless the list was split in `dedupMode`.
    U32 transitiveComms() const noexcept { return transitiveComms_; }

  private:
    friend class CommunityTables;

    void splitMembers(bool dedupMode);
    void internClasses(Table const& table, ExtCommClassCounts const& counts);

    /// Whether `decodesFrom()` can be true.
    bool isIdentifiedByOctets() const noexcept {
        return identifiedByOctets_.load(std::memory_order_relaxed);
    }

    /// Whether these octets of an attribute value decode to this list in the CommunityTables that
    /// it is interned in.
    bool decodesFrom(std::span<std::byte const> value) const noexcept {
        return isIdentifiedByOctets() && value.size() == this->octets().size() &&
               std::memcmp(value.data(), this->octets().data(), value.size()) == 0;
    }

    /// Records that its CommunityTables parse its octets into exactly these members. Remains true
    /// while the list is interned, as it holds them.
    void identifiedByOctetsIs() const noexcept {
        identifiedByOctets_.store(this->octetsHeld(), std::memory_order_relaxed);
    }

    mutable std::atomic<bool> identifiedByOctets_{false};
    U32 transitiveComms_ = 0;
    // A derived class's members start in the padding.
    [[no_unique_address]] ClassificationLists classificationLists_;
};

namespace Detail {

/// Throws the exception of a mutator that was given null.
template <class T>
T const& notNull(Mox::PtrConst<T> const& argument, char const* operation) {
    if (!argument) {
        throw Mox::NullMutatorArgumentException(operation);
    }
    return *argument;
}

} // namespace Detail

/// A snapshot of a classification list: its communities by their octets. Communities of any class
/// may be added.
template <class Family>
class VOBGP_EXPORT ExtCommClassificationListSnapshotBase
  : public RouteMap::CommSnapshot<typename Family::Key, Mox::PtrConst<typename Family::Comm>, 1> {
  public:
    ExtCommClassification classification() const noexcept { return classification_; }

    /// Inserts a community, replacing one with the same octets. Throws
    /// `Mox::NullMutatorArgumentException` for null.
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

/// A snapshot of a list: its communities by their octets, and its classification lists by class.
/// The two maps are independent.
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

    /// An observer of both maps.
    class VOBGP_EXPORT Notifiee : public Base::Notifiee {
      public:
        using Base::Notifiee::Notifiee;

        /// The entry was added, removed or changed.
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

    /// Inserts a community, replacing one with the same octets. Throws
    /// `Mox::NullMutatorArgumentException` for null.
    void commIs(Mox::PtrConst<typename Family::Comm> const& comm) {
        auto const& notNull = Detail::notNull(comm, Family::listSnapshotCommIs);
        this->commEntryIs(extCommKey(notNull), comm);
    }

    /// Inserts a classification list, replacing one of the same class. Throws as `commIs()`.
    void classificationListIs(ClassificationListPtr const& list) {
        auto const& notNull = Detail::notNull(list, Family::listSnapshotClassificationListIs);
        classificationList_.is(notNull.classification(), list);
    }

    /// Removes the entry and returns its list, or null.
    ClassificationListPtr classificationListDel(ExtCommClassification classification) {
        return classificationList_.del(classification);
    }

    void classificationListDelAll() { classificationList_.delAll(); }

    bool classificationListHas(ExtCommClassification classification) const {
        return classificationList_.has(classification);
    }

    /// Returns the list of the class, or null.
    ClassificationListPtr classificationList(ExtCommClassification classification) const {
        return classificationList_.get(classification);
    }

    U32 classificationLists() const noexcept { return classificationList_.size(); }

    /// Calls the visitor with each `MoxClassificationList const&`, in the order of the classes; it
    /// may modify the snapshot.
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
