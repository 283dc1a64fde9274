#pragma once

#include <algorithm>
#include <chrono>
#include <limits>
#include <optional>

namespace BgpCommunities {

/// The earliest of several points in time, if there are any; a plain value.
class Deadline {
  public:
    using Clock = std::chrono::steady_clock;

    /// Makes the deadline no later than `time`.
    void include(Clock::time_point time) { time_ = time_ ? std::min(*time_, time) : time; }
    void include(Deadline const& other) {
        if (other.time_) {
            include(*other.time_);
        }
    }

    [[nodiscard]] bool isSet() const { return time_.has_value(); }
    [[nodiscard]] bool hasPassed(Clock::time_point now) const { return time_ && now >= *time_; }

    /// The time left in milliseconds, rounded up, as poll() and epoll_wait() take it; -1, which is
    /// no limit, without a deadline.
    [[nodiscard]] int timeout() const {
        using std::chrono::milliseconds;
        if (!time_) {
            return -1;
        }
        auto const left = std::chrono::ceil<milliseconds>(*time_ - Clock::now()).count();
        return static_cast<int>(
            std::clamp<milliseconds::rep>(left, 0, std::numeric_limits<int>::max()));
    }

  private:
    std::optional<Clock::time_point> time_;
};

} // namespace BgpCommunities
