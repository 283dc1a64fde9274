#include "ProblemLog.h"

#include <algorithm>
#include <utility>

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

void ProblemLog::reportMalformed(std::string_view file, RecordPosition const& at,
                                 std::string_view reason) {
    report(static_cast<std::size_t>(ProblemKind::malformedAttribute), file, at, reason);
}

void ProblemLog::reportUnreadable(std::string const& reason) {
    ++counts_[unreadableKind];
    say({unreadableKind, reason});
}

void ProblemLog::report(std::size_t kind, std::string_view file, RecordPosition const& at,
                        std::string_view reason) {
    if (!isReported(kind, counts_[kind]++)) {
        return;
    }
    std::string line(file);
    line += ": record " + std::to_string(at.number) + " at octet " + std::to_string(at.offset);
    line.append(": ").append(reason);
    say({kind, std::move(line)});
}

void ProblemLog::take(ProblemLog& other) {
    // The other log has every message needed here: it keeps the first few of each kind.
    auto before = counts_;
    for (Line& line : other.lines_) {
        if (isReported(line.kind, before[line.kind]++)) {
            say(std::move(line));
        }
    }
    for (std::size_t kind = 0; kind < counts_.size(); ++kind) {
        counts_[kind] += std::exchange(other.counts_[kind], 0);
    }
    other.lines_.clear();
}

void ProblemLog::summarise() const {
    for (std::size_t kind = 0; kind <= refusedKind && !verbose_; ++kind) {
        if (counts_[kind] > maxReported) {
            complain(std::to_string(counts_[kind] - maxReported) + " more " +
                     std::string(plural(kind)) + "; use --verbose to list them");
        }
    }
}

ExitStatus ProblemLog::status() const {
    if (counts_[unreadableKind] != 0) {
        return ExitStatus::unreadable;
    }
    bool const any = std::any_of(counts_.begin(), counts_.end(), [](auto count) { return count; });
    return any ? ExitStatus::malformed : ExitStatus::allRead;
}

/// Whether a problem is reported that comes after `before` others of its kind.
bool ProblemLog::isReported(std::size_t kind, U64 before) const {
    return verbose_ || kind == unreadableKind || before < maxReported;
}

void ProblemLog::say(Line line) {
    if (defer_) {
        lines_.push_back(std::move(line));
    } else {
        complain(line.text);
    }
}

} // namespace BgpCommunities
