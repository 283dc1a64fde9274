#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ExitStatus.h"
#include "mrt/RouteHandler.h"

namespace BgpCommunities {

/**
 * What is wrong with the dumps of one run: named on standard error, the first few of each kind, or
 * all of them.
 *
 * It owns its counters and the lines that it holds. Thread-compatible.
 */
class ProblemLog {
  public:
    explicit ProblemLog(bool verbose)
      : verbose_(verbose) {}

    /** All are named. */
    [[nodiscard]] bool verbose() const { return verbose_; }

    /** Holds what it would say from now on, until another log takes it. */
    void holdIs(bool hold) { hold_ = hold; }

    void report(Problem const& problem);

    /** The same for an attribute that is well-formed and still left out. */
    void reportRefused(std::string_view file, RecordPosition const& at, std::string_view reason);

    /** The same for a file that cannot be read, or not to its end; each is named. */
    void reportUnreadable(std::string const& reason);

    /** Takes what another log holds, as if it were reported here now; that one is empty then. */
    void take(ProblemLog& other);

    /** Says how many have not been named. */
    void summarise() const;

    [[nodiscard]] ExitStatus status() const;

  private:
    static constexpr std::size_t refusedKind = 8; // behind those of ProblemKind
    static constexpr std::size_t unreadableKind = 9;
    static constexpr std::uint64_t named = 3;

    struct Line {
        std::size_t kind;
        std::string text;
    };

    static std::string_view plural(std::size_t kind);
    [[nodiscard]] bool isNamed(std::size_t kind, std::uint64_t before) const;
    void say(Line line);
    void report(std::size_t kind, std::string_view file, RecordPosition const& at,
                std::string_view reason);

    bool verbose_;
    bool hold_ = false;
    std::array<std::uint64_t, unreadableKind + 1> counts_{};
    std::vector<Line> lines_; // held, in their order
};

} // namespace BgpCommunities
