#include "ProblemLog.h"

#include "StandardError.h"

namespace BgpCommunities {

std::string_view ProblemLog::plural(std::size_t kind) {
    static constexpr std::array<std::string_view, refusedKind + 1> names = {
        "broken records",   "broken UPDATEs",   "broken attribute areas",
        "broken routes",    "empty attributes", "malformed attributes",
        "truncated inputs", "damaged inputs",   "refused attributes",
    };
    static_assert(refusedKind == static_cast<std::size_t>(ProblemKind::damagedInput) + 1);
    return names[kind];
}

void ProblemLog::report(Problem const& problem) {
    report(static_cast<std::size_t>(problem.kind), problem.file, problem.at, problem.reason);
}

void ProblemLog::reportRefused(std::string_view file, RecordPosition const& at,
                               std::string_view reason) {
    report(refusedKind, file, at, reason);
}

void ProblemLog::report(std::size_t kind, std::string_view file, RecordPosition const& at,
                        std::string_view reason) {
    any_ = true;
    if (++counts_[kind] > named && !verbose_) {
        return;
    }
    std::string line(file);
    line += ": record " + std::to_string(at.number) + " at octet " + std::to_string(at.offset);
    line.append(": ").append(reason);
    complain(line);
}

void ProblemLog::summarise() const {
    for (std::size_t kind = 0; kind < counts_.size() && !verbose_; ++kind) {
        if (counts_[kind] > named) {
            complain(std::to_string(counts_[kind] - named) + " more " + std::string(plural(kind)) +
                     "; --verbose names them");
        }
    }
}

} // namespace BgpCommunities
