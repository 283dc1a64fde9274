#include "OrderedProblems.h"

namespace BgpCommunities {

OrderedProblems::OrderedProblems(std::size_t dumps, ProblemLog& log)
  : log_(log) {
    dumps_.reserve(dumps);
    while (dumps_.size() < dumps) {
        dumps_.push_back({heldLog(), {}});
    }
}

void OrderedProblems::handleRead(std::size_t dump, U64 place, bool last, ProblemLog& problems) {
    Dump& of = dumps_[dump];
    of.early.try_emplace(place, Piece{heldLog(), last}).first->second.problems.take(problems);
    for (auto piece = of.early.find(of.next); piece != of.early.end();
         piece = of.early.find(++of.next)) {
        of.problems.take(piece->second.problems);
        of.ended = piece->second.last;
        of.early.erase(piece);
    }
    while (current_ < dumps_.size()) {
        log_.take(dumps_[current_].problems);
        if (!dumps_[current_].ended) {
            break;
        }
        ++current_;
    }
}

ProblemLog OrderedProblems::heldLog() const {
    ProblemLog log(log_.verbose());
    log.setDeferred(true);
    return log;
}

} // namespace BgpCommunities
