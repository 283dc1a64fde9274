#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/Types.h>

#include <cstddef>
#include <vector>

namespace Mox {

/// The index of an attribute in its type's table; identifies the attribute in a notification.
using AttributeNumber = U32;

class NotifieeList;

/// Base of every observer: a subscription to at most one notifier.
///
/// For each notifier class there is a typed notifiee, which passes each change to a hook with the
/// key's own type. The destructor unsubscribes. Reactor thread.
class VOBGP_EXPORT Notifiee {
  public:
    Notifiee(Notifiee const&) = delete;
    Notifiee& operator=(Notifiee const&) = delete;
    bool isSubscribed() const noexcept { return list_ != nullptr; }

  protected:
    Notifiee() noexcept = default;
    virtual ~Notifiee();

    /// Subscribes to the list, after unsubscribing from the previous one. During a notification, a
    /// new subscriber is not notified of the current change.
    void subscribe(NotifieeList& list);
    void unsubscribe() noexcept;

    /// Called when an attribute of the notifier changes. `key` points to the collection's key if
    /// the attribute is a collection, otherwise it is null.
    virtual void handleChange(AttributeNumber attribute, void const* key) = 0;

  private:
    friend class NotifieeList;
    NotifieeList* list_ = nullptr;
};

/// The observers of one notifier, in subscription order. A member of its notifier; observers are
/// not owned and unsubscribe themselves.
///
/// During a notification observers may subscribe, unsubscribe, be destroyed, change the notifier
/// again (a nested notification), or release it. No observer is called twice for one change, or
/// after it has unsubscribed. Reactor thread.
class VOBGP_EXPORT NotifieeList {
  public:
    explicit NotifieeList(PtrInterface const& notifier) noexcept
      : notifier_(notifier) {}

    ~NotifieeList();
    NotifieeList(NotifieeList const&) = delete;
    NotifieeList& operator=(NotifieeList const&) = delete;

    /// The number of observers.
    std::size_t size() const noexcept { return subscribed_; }

    /// Calls every observer if the notifier's notification switch is on. An observer may release
    /// the last reference to the notifier, so it may be destroyed on return.
    void notify(AttributeNumber attribute, void const* key = nullptr);

  private:
    friend class Notifiee;

    /// One notification in progress, linked to the enclosing one.
    struct Round {
        Round* outer;
        bool listDestroyed;
    };

    void add(Notifiee& notifiee);
    void remove(Notifiee& notifiee) noexcept;
    void endRound(Round const& round) noexcept;

    PtrInterface const& notifier_;
    /// Entries of observers that unsubscribe during a notification become null and are erased when
    /// the outermost notification ends.
    std::vector<Notifiee*> entries_;
    std::size_t subscribed_ = 0;
    Round* round_ = nullptr;
};

/// An observer of notifiers of one class. Keeps its notifier alive.
///
/// The observer of a notifier class derives from it, and hands each change to a hook with the type
/// of the key.
template <class Notifier>
class VOBGP_EXPORT NotifieeOf : public Notifiee {
  public:
    PtrConst<Notifier> const& notifier() const noexcept { return notifier_; }

    /// Observes that notifier instead of the previous one; null to observe none.
    void notifierIs(PtrConst<Notifier> const& notifier) {
        unsubscribe();
        notifier_ = notifier;
        if (notifier_) {
            subscribe(*notifier_->notifieeList());
        }
    }

  private:
    PtrConst<Notifier> notifier_;
};

} // namespace Mox
