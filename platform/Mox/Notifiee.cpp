#include <Mox/Notifiee.h>

#include <algorithm>

namespace Mox {

Notifiee::~Notifiee() {
    unsubscribe();
}

void Notifiee::subscribe(NotifieeList& list) {
    if (list_ != &list) {
        unsubscribe();
        list.add(*this);
        list_ = &list;
    }
}

void Notifiee::unsubscribe() noexcept {
    if (list_ != nullptr) {
        list_->remove(*this);
        list_ = nullptr;
    }
}

NotifieeList::~NotifieeList() {
    for (auto* round = round_; round != nullptr; round = round->outer) {
        round->listDestroyed = true;
    }
    for (auto* notifiee : entries_) {
        if (notifiee != nullptr) {
            notifiee->list_ = nullptr;
        }
    }
}

void NotifieeList::add(Notifiee& notifiee) {
    entries_.push_back(&notifiee);
    ++subscribed_;
}

void NotifieeList::remove(Notifiee& notifiee) noexcept {
    auto const place = std::find(entries_.begin(), entries_.end(), &notifiee);
    if (place == entries_.end()) {
        return;
    }
    --subscribed_;
    if (round_ == nullptr) {
        entries_.erase(place);
    } else {
        *place = nullptr;
    }
}

void NotifieeList::notify(AttributeNumber attribute, void const* key) {
    if (subscribed_ == 0 || !notifier_.hasNotificationActive()) {
        return;
    }
    Round round{round_, false};
    round_ = &round;

    struct End {
        NotifieeList& list;
        Round& round;

        ~End() {
            if (!round.listDestroyed) {
                list.endRound(round);
            }
        }
    } const end{*this, round};

    // Observers that subscribe from here on are beyond this bound: entries move only when no
    // notification is in progress.
    auto const bound = entries_.size();
    for (std::size_t i = 0; i < bound; ++i) {
        if (auto* const notifiee = entries_[i]; notifiee != nullptr) {
            notifiee->handleChange(attribute, key);
            if (round.listDestroyed) {
                return;
            }
        }
    }
}

void NotifieeList::endRound(Round const& round) noexcept {
    round_ = round.outer;
    if (round_ == nullptr) {
        std::erase(entries_, nullptr);
    }
}

} // namespace Mox
