#pragma once

#include <chrono>
#include <string_view>

namespace BgpCommunities {

class InputStream;

/** Writes one line, "bgp-communities: MESSAGE", to standard error. */
void complain(std::string_view message);

/** SIGINT and SIGTERM leave no progress line behind when they end the process, as they would have
    ended it anyway; where they were ignored when the process began, they are. */
void installInterrupts();

/**
 * The line on a terminal that says how far a long work has come; where standard error is no
 * terminal, nothing.
 *
 * It owns the last line of the terminal until it goes, and leaves it empty. One at a time.
 * Thread-compatible. It writes a few times a second, however often it is told, and nothing in the
 * first second.
 */
class Progress {
  public:
    using Clock = std::chrono::steady_clock;

    Progress();
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    /** There is somebody to show it to; never changes. */
    [[nodiscard]] bool active() const { return active_; }

    void show(InputStream const& input, Clock::time_point begun);

  private:
    bool const active_;
    Clock::time_point next_ = Clock::now() + std::chrono::seconds(1);
};

} // namespace BgpCommunities
