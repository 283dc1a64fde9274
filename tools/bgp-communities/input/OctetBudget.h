#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace BgpCommunities {

/// Limits the memory for large records, in octets, over all threads of a command.
///
/// Thread-safe. A thread that holds a share must not wait for another, so all shares are returned.
class OctetBudget {
  public:
    explicit OctetBudget(std::size_t octets)
      : left_(octets) {}

    /// Waits until `octets` are available and takes them. REQUIRES: `octets` is at most the whole
    /// budget, and the caller holds no share.
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
