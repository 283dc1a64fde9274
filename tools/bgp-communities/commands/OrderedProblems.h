#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "input/IntegerTypes.h"
#include "text/ProblemLog.h"

namespace BgpCommunities {

/// Sorts the problems of batches, which are parsed in any order, into the order of the dumps.
///
/// Owns the problems that must wait; does not own the log. Keeps at most as many problems per dump
/// as the log reports: a few of each kind, or all if verbose. Thread-compatible.
class OrderedProblems {
  public:
    OrderedProblems(std::size_t dumps, ProblemLog& log);

    /// The first dump that is not completely parsed.
    [[nodiscard]] std::size_t current() const { return current_; }

    /// Takes the problems of a batch. `place` is its position in the dump, from 0; `last` is true
    /// for the last batch.
    void handleRead(std::size_t dump, U64 place, bool last, ProblemLog& problems);

  private:
    struct Piece {
        ProblemLog problems;
        bool last;
    };

    struct Dump {
        ProblemLog problems;        // of the batches before `next`, not reported yet
        std::map<U64, Piece> early; // by place; an earlier batch is missing
        U64 next = 0;
        bool ended = false;
    };

    [[nodiscard]] ProblemLog heldLog() const;

    ProblemLog& log_;
    std::vector<Dump> dumps_;
    std::size_t current_ = 0;
};

} // namespace BgpCommunities
