#pragma once

#include <Mox/Export.h>
#include <Mox/MapAttribute.h>
#include <Mox/Notifiee.h>
#include <Mox/Ptr.h>
#include <Mox/PtrInterface.h>
#include <Mox/Types.h>

#include <concepts>

namespace Routing::RouteMap {

using Mox::U32;

/// Base of every snapshot of a list of communities: an ordered map by community value that its
/// holder fills from a list, edits by key, and reads in the order of the keys.
///
/// It is owned by its counted pointers and holds its keys and values; a counted pointer among its
/// values keeps its object alive. It tells its observers of each change. Thread-compatible; reactor
/// thread where there are observers. `commNumber` is the place of the map in the attribute table of
/// the deriving class.
template <class Key, class Value, Mox::AttributeNumber commNumber = 0>
class VOBGP_EXPORT CommSnapshot : public Mox::PtrInterface {
  public:
    /// The attribute that a notification is about; a deriving class may have others.
    static constexpr Mox::AttributeNumber commAttribute = commNumber;

    /// One entry: a community value, and what it is mapped to.
    using MoxComm = Mox::MapEntry<Key, Value>;

    /// An observer of a snapshot. Owned by whoever made it; it keeps the snapshot alive.
    class VOBGP_EXPORT Notifiee : public Mox::Notifiee {
      public:
        Notifiee() noexcept = default;

        explicit Notifiee(Mox::PtrConst<CommSnapshot> const& notifier) { notifierIs(notifier); }

        Mox::PtrConst<CommSnapshot> const& notifier() const noexcept { return notifier_; }

        /// Observes that snapshot from now on, and no other; none if null.
        void notifierIs(Mox::PtrConst<CommSnapshot> const& notifier) {
            unsubscribe();
            notifier_ = notifier;
            if (notifier_) {
                subscribe(*notifier_->notifieeList());
            }
        }

        /// The entry came, went or changed.
        virtual void handleComm(Key const& /*key*/) {}

      protected:
        void handleChange(Mox::AttributeNumber attribute, void const* key) override {
            if (attribute == commAttribute) {
                handleComm(*static_cast<Key const*>(key));
            }
        }

      private:
        Mox::PtrConst<CommSnapshot> notifier_;
    };

    /// Maps the community to the flag, in place of what it is mapped to now.
    void commIs(Key const& key, bool flag) requires std::same_as<Value, bool> {
        comm_.is(key, flag);
    }

    /// Removes the entry, if there is one, and returns what the community was mapped to.
    Value commDel(Key const& key) { return comm_.del(key); }

    /// Removes every entry, one at a time through commDel().
    void commDelAll() { comm_.delAll(); }
    bool commHas(Key const& key) const { return comm_.has(key); }

    /// What the community is mapped to; false, or null, if nothing.
    Value comm(Key const& key) const { return comm_.get(key); }

    /// How many entries there are.
    U32 comms() const noexcept { return comm_.size(); }

    /// Calls the visitor with each entry, a `MoxComm const&`, in the order of the keys; it may
    /// change the snapshot meanwhile.
    template <class Visitor>
    void forEachComm(Visitor visitor) const {
        comm_.forEach(visitor);
    }

    Mox::NotifieeList* notifieeList() const noexcept override { return &notifieeList_; }

  protected:
    CommSnapshot() noexcept
      : notifieeList_(*this)
      , comm_(*this, commAttribute) {}

    /// For snapshots whose values know their keys.
    void commEntryIs(Key const& key, Value const& value) { comm_.is(key, value); }

  private:
    mutable Mox::NotifieeList notifieeList_;
    Mox::MapAttribute<Key, Value> comm_;
};

} // namespace Routing::RouteMap
