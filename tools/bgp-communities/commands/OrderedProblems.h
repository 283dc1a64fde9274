#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "text/ProblemLog.h"

namespace BgpCommunities {

/**
 * Puts the problems of pieces of dumps, which are read in any order, into that of the dumps.
 *
 * It owns those whose turn has not come; the log is the caller's. What it holds of a dump whose
 * turn has not come is what the log names: if it does not name all, a few of each kind.
 * Thread-compatible.
 */
class OrderedProblems {
  public:
    OrderedProblems(std::size_t dumps, ProblemLog& log);

    /** The first dump of which something has not been read yet. */
    [[nodiscard]] std::size_t current() const { return current_; }

    /** Takes the problems of a piece, by its place in its dump, from 0; `last` is the last one. */
    void handleRead(std::size_t dump, std::uint64_t place, bool last, ProblemLog& problems);

  private:
    struct Piece {
        ProblemLog problems;
        bool last;
    };

    struct Dump {
        ProblemLog problems;                  // of the pieces before `next`, not reported yet
        std::map<std::uint64_t, Piece> early; // by place: there is one before it still to be read
        std::uint64_t next = 0;
        bool ended = false;
    };

    [[nodiscard]] ProblemLog heldLog() const;

    ProblemLog& log_;
    std::vector<Dump> dumps_;
    std::size_t current_ = 0;
};

} // namespace BgpCommunities
