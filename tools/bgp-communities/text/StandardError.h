#pragma once

#include <chrono>
#include <string_view>

namespace BgpCommunities {

class InputStream;

/// Writes one line, "bgp-communities: MESSAGE", to standard error.
void complain(std::string_view message);

/// Writes "bgp-communities: not enough memory" to standard error. Allocates nothing.
void complainOfMemory() noexcept;

/// Makes SIGINT and SIGTERM erase the progress line before they end the process. A signal that was
/// ignored when the process started stays ignored.
void installInterrupts();

/// Shows progress in the last line of the terminal. Does nothing if standard error is not a
/// terminal.
///
/// Writes a few times a second at most, and nothing in the first second. The destructor erases the
/// line. At most one object may exist at a time. Thread-compatible.
class Progress {
  public:
    using Clock = std::chrono::steady_clock;

    Progress();
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    /// Whether standard error is a terminal; constant.
    [[nodiscard]] bool active() const { return active_; }

    void show(InputStream const& input, Clock::time_point begun);

  private:
    bool const active_;
    Clock::time_point next_ = Clock::now() + std::chrono::seconds(1);
};

} // namespace BgpCommunities
