#include "TargetLog.h"

#include <utility>

namespace BgpCommunities {

using namespace Routing::Bgp;

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

TargetLog::TargetLog(Agent const& agent, AppendCause appendCause)
  : appendCause_(std::move(appendCause))
  , targets_(agent, *this)
  , lists_(agent, *this) {}

void TargetLog::line(bool came, std::string_view what) {
    std::lock_guard const lock(mutex_);
    lines_.append(lines_.empty() ? "" : "\n").append(came ? "+ " : "- ");
    lines_.append(what).append("\t");
    appendCause_(lines_);
}

void TargetLog::writeTo(Output& output) {
    std::string lines;
    {
        std::lock_guard const lock(mutex_);
        lines.swap(lines_);
    }
    if (!lines.empty()) {
        output.text() += lines;
        output.endLine();
    }
}

void TargetLog::flushTo(Output& output) {
    std::lock_guard const lock(writing_);
    writeTo(output);
    output.flush();
}

} // namespace BgpCommunities
