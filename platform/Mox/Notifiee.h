#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/Types.h>

#include <cstddef>
#include <vector>

namespace Mox {

/// The place of an attribute in its type's table, from 0: which attribute a notification is about.
using AttributeNumber = U32;

class NotifieeList;

/// Base of every observer.
///
/// It stands for one subscription to at most one notifier. Typed notifiees derive from it, one per
/// notifier class, and hand each change to a hook with the key's own type. It is owned by whoever
/// made it and unsubscribes itself when it goes. Reactor thread.
class VOBGP_EXPORT Notifiee {
  public:
    Notifiee(Notifiee const&) = delete;
    Notifiee& operator=(Notifiee const&) = delete;
    bool isSubscribed() const noexcept { return list_ != nullptr; }

  protected:
    Notifiee() noexcept = default;
    virtual ~Notifiee();

    /// Joins the list, after leaving the one it was in. Who joins during a notification does not
    /// hear that one.
    void subscribe(NotifieeList& list);
    void unsubscribe() noexcept;

    /// One attribute of the notifier changed, at `key` if the attribute is a collection (a pointer
    /// to the collection's key type) and null otherwise.
    virtual void handleChange(AttributeNumber attribute, void const* key) = 0;

  private:
    friend class NotifieeList;
    NotifieeList* list_ = nullptr;
};

/// The observers of one notifier, in the order in which they subscribed.
///
/// It belongs to its notifier and holds its observers by name only: they leave by themselves.
/// During a notification observers may join, leave, be destroyed, change the notifier again (which
/// notifies again, nested) or drop it altogether; nobody is called twice for one change, or after
/// he left. Reactor thread.
class VOBGP_EXPORT NotifieeList {
  public:
    explicit NotifieeList(PtrInterface const& notifier) noexcept
      : notifier_(notifier) {}

    ~NotifieeList();
    NotifieeList(NotifieeList const&) = delete;
    NotifieeList& operator=(NotifieeList const&) = delete;

    /// How many observe now.
    std::size_t size() const noexcept { return subscribed_; }

    /// Tells every observer, if the notifier's switch is on. On return the notifier may be gone: an
    /// observer may have dropped the last reference to it.
    void notify(AttributeNumber attribute, void const* key = nullptr);

  private:
    friend class Notifiee;

    /// One notification on its way; the innermost first.
    struct Round {
        Round* outer;
        bool listIsGone;
    };

    void add(Notifiee& notifiee);
    void remove(Notifiee& notifiee) noexcept;
    void endRound(Round const& round) noexcept;

    PtrInterface const& notifier_;
    /// A null entry was left during a notification and goes when the outermost one ends.
    std::vector<Notifiee*> entries_;
    std::size_t subscribed_ = 0;
    Round* round_ = nullptr;
};

} // namespace Mox
