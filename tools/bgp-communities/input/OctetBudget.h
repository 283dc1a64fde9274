#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace BgpCommunities {

/**
 * The octets that large records may take in all threads of a command together.
 *
 * Thread-safe. A thread that holds a share never waits for another one, so shares always come back.
 */
class OctetBudget {
  public:
    explicit OctetBudget(std::size_t octets)
      : left_(octets) {}

    /** Waits until so many are left. REQUIRES: `octets` is not more than there are in all, and the
        caller holds no share. */
    void take(std::size_t octets) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return octets <= left_; });
        left_ -= octets;
    }

    void giveBack(std::size_t octets) {
        std::lock_guard const lock(mutex_);
        left_ += octets;
        changed_.notify_all();
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t left_;
};

} // namespace BgpCommunities
