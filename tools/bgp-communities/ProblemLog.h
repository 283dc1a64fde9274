#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "ExitStatus.h"
#include "RouteHandler.h"

namespace BgpCommunities {

/**
 * What is wrong with the dumps of one run: named on standard error, the first few of each kind, or
 * all of them.
 *
 * It owns its counters. Thread-compatible.
 */
class ProblemLog {
  public:
    explicit ProblemLog(bool verbose)
      : verbose_(verbose) {}

    void report(Problem const& problem);

    /** The same for an attribute that is well-formed and still left out. */
    void reportRefused(std::string_view file, RecordPosition const& at, std::string_view reason);

    /** Says how many have not been named. */
    void summarise() const;

    [[nodiscard]] ExitStatus status() const {
        return any_ ? ExitStatus::malformed : ExitStatus::allRead;
    }

  private:
    static constexpr std::size_t refusedKind = 8; // behind those of ProblemKind
    static constexpr std::uint64_t named = 3;

    static std::string_view plural(std::size_t kind);
    void report(std::size_t kind, std::string_view file, RecordPosition const& at,
                std::string_view reason);

    bool const verbose_;
    bool any_ = false;
    std::array<std::uint64_t, refusedKind + 1> counts_{};
};

} // namespace BgpCommunities
