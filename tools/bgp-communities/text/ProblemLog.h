#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "ExitStatus.h"
#include "input/IntegerTypes.h"
#include "mrt/RouteHandler.h"

namespace BgpCommunities {

/// Reports the problems of one run on standard error: the first few of each kind, or all.
///
/// Thread-compatible.
class ProblemLog {
  public:
    explicit ProblemLog(bool verbose)
      : verbose_(verbose) {}

    /// Whether all problems are reported.
    [[nodiscard]] bool verbose() const { return verbose_; }

    /// Whether messages are kept until another log takes them, instead of printed.
    void setDeferred(bool defer) { defer_ = defer; }

    void report(Problem const& problem);

    /// Reports a well-formed attribute that the library refuses.
    void reportRefused(std::string_view file, RecordPosition const& at, std::string_view reason);

    /// Reports a path attribute, other than of communities, with a malformed value.
    void reportMalformed(std::string_view file, RecordPosition const& at, std::string_view reason);

    /// Reports a file that cannot be read, or not to its end. Never suppressed.
    void reportUnreadable(std::string const& reason);

    /// Moves the messages and counts of another log to this one, as if reported here now.
    void take(ProblemLog& other);

    /// Reports how many problems were suppressed.
    void summarise() const;

    [[nodiscard]] ExitStatus status() const;

  private:
    static constexpr std::size_t refusedKind = 8; // after those of ProblemKind
    static constexpr std::size_t unreadableKind = 9;
    static constexpr U64 maxReported = 3;

    struct Line {
        std::size_t kind;
        std::string text;
    };

    static std::string_view plural(std::size_t kind);
    [[nodiscard]] bool isReported(std::size_t kind, U64 before) const;
    void say(Line line);
    void report(std::size_t kind, std::string_view file, RecordPosition const& at,
                std::string_view reason);

    bool verbose_;
    bool defer_ = false;
    std::array<U64, unreadableKind + 1> counts_{};
    std::vector<Line> lines_; // kept messages, in order
};

} // namespace BgpCommunities
