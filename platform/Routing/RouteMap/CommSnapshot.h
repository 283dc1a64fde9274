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

/// Base of the snapshots of community lists: an ordered map by community value. The holder fills it
/// from a list, edits it by key, and reads it in key order.
///
/// Counted pointers among the values keep their objects alive. Observers are notified of each
/// change. `commNumber` is the index of the map in the attribute table of the derived class.
/// Thread-compatible; reactor thread if there are observers.
template <class Key, class Value, Mox::AttributeNumber commNumber = 0>
class VOBGP_EXPORT CommSnapshot : public Mox::PtrInterface {
  public:
    /// The attribute number of the map in notifications; derived classes may have other attributes.
    static constexpr Mox::AttributeNumber commAttribute = commNumber;

    /// One entry: a community value and its mapped value.
    using MoxComm = Mox::MapEntry<Key, Value>;

    /// An observer of a snapshot. Owned by its creator; keeps the snapshot alive.
    class VOBGP_EXPORT Notifiee : public Mox::NotifieeOf<CommSnapshot> {
      public:
        Notifiee() noexcept = default;

        explicit Notifiee(Mox::PtrConst<CommSnapshot> const& notifier) {
            this->notifierIs(notifier);
        }

        /// The entry was added, removed or changed.
        virtual void handleComm(Key const& /*key*/) {}

      protected:
        void handleChange(Mox::AttributeNumber attribute, void const* key) override {
            if (attribute == commAttribute) {
                handleComm(*static_cast<Key const*>(key));
            }
        }
    };

    /// Inserts or replaces the entry.
    void commIs(Key const& key, bool flag) requires std::same_as<Value, bool> {
        comm_.is(key, flag);
    }

    /// Removes the entry and returns its value; false or null if not found.
    Value commDel(Key const& key) { return comm_.del(key); }

    /// Removes every entry, one at a time through commDel().
    void commDelAll() { comm_.delAll(); }
    bool commHas(Key const& key) const { return comm_.has(key); }

    /// Returns the mapped value; false or null if not found.
    Value comm(Key const& key) const { return comm_.get(key); }

    /// The number of entries.
    U32 comms() const noexcept { return comm_.size(); }

    /// Calls the visitor with each entry (a `MoxComm const&`) in key order. The visitor may change
    /// the snapshot.
    template <class Visitor>
    void forEachComm(Visitor visitor) const {
        comm_.forEach(visitor);
    }

    Mox::NotifieeList* notifieeList() const noexcept override { return &notifieeList_; }

  protected:
    CommSnapshot() noexcept
      : notifieeList_(*this)
      , comm_(*this, commAttribute) {
        // Also for a snapshot that was not made by its factory.
        Mox::PtrInterface::hasNotificationActiveIs(true);
    }

    /// Inserts or replaces an entry, for snapshots whose values contain their keys.
    void commEntryIs(Key const& key, Value const& value) { comm_.is(key, value); }

  private:
    mutable Mox::NotifieeList notifieeList_;
    Mox::MapAttribute<Key, Value> comm_;
};

} // namespace Routing::RouteMap
