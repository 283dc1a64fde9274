#include "TargetLog.h"

#include <ctime>

namespace BgpCommunities {

using namespace Routing::Bgp;

namespace {

/** As RFC 3339 has it. */
void appendTime(std::string& out, std::uint32_t seconds) {
    std::time_t const time = seconds;
    std::tm utc{};
    ::gmtime_r(&time, &utc);
    char text[sizeof "2106-02-07T06:28:15Z"];
    out.append(text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc));
}

} // namespace

TargetLog::Targets::Targets(Agent const& agent, TargetLog& log)
  : log_(log) {
    notifierIs(agent.routeTargets());
}

void TargetLog::Targets::handleRt(RouteTarget const& target) {
    log_.line(notifier()->rtHas(target), "target " + target.toStrep().str());
}

TargetLog::Lists::Lists(Agent const& agent, TargetLog& log)
  : log_(log) {
    notifierIs(agent.routeTargetLists());
}

void TargetLog::Lists::handleRtExtCommList(NotifierPtr const& list) {
    std::string what = "targets [ ";
    for (ExtComm::PtrConst const& member : *list->rtExtCommListRawPtr()) {
        what += RouteTarget(member->community()).toStrep().str() + " ";
    }
    log_.line(notifier()->rtExtCommListHas(list), what + "]");
}

TargetLog::TargetLog(Agent const& agent)
  : targets_(agent, *this)
  , lists_(agent, *this) {}

void TargetLog::line(bool came, std::string_view what) {
    lines_.append(lines_.empty() ? "" : "\n").append(came ? "+ " : "- ");
    lines_.append(what).append("\t");
    if (cause_) {
        lines_.append("record ").append(std::to_string(cause_->number)).append("\t");
        appendTime(lines_, cause_->seconds);
    } else {
        lines_.append("end");
    }
}

void TargetLog::writeTo(Output& output) {
    if (!lines_.empty()) {
        output.text() += lines_;
        output.endLine();
        lines_.clear();
    }
}

} // namespace BgpCommunities
