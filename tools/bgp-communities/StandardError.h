#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

namespace BgpCommunities {

class InputStream;

/** Writes one line, "bgp-communities: MESSAGE", to standard error. */
void complain(std::string_view message);

/**
 * The line on a terminal that says how far a long work has come; where standard error is no
 * terminal, nothing.
 *
 * It owns the last line of the terminal until it goes, and leaves it empty. Thread-compatible. It
 * writes a few times a second, however often it is told.
 */
class Progress {
  public:
    Progress();
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void show(InputStream const& input, std::uint64_t records);

  private:
    using Clock = std::chrono::steady_clock;

    bool const active_;
    Clock::time_point next_ = Clock::now() + std::chrono::milliseconds(500);
};

} // namespace BgpCommunities
