#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include <VoBgp/ExtCommListDedupTable.h>
#include <VoBgp/NotifyingRouteTargetList.h>

#include "lists/Agent.h"
#include "text/Output.h"

namespace BgpCommunities {

/**
 * Writes a line whenever a route target, or a list of them, comes into use or goes out of use.
 *
 *     + target 64500:7<TAB>record 12<TAB>2023-11-14T22:13:20Z
 *     + targets [ 64500:7 64500:8 ]<TAB>record 12<TAB>2023-11-14T22:13:20Z
 *
 * Observes the agent's tables for as long as it lives, and owns the lines that have not been
 * written: a release may be what it is notified of, which must not fail because an output does.
 * Created and destroyed by the reactor thread while no other thread interns; otherwise thread-safe
 * if the tables are.
 */
class TargetLog {
  public:
    /** Appends what caused the change that the calling thread is making. */
    using AppendCause = std::function<void(std::string&)>;

    TargetLog(Agent const& agent, AppendCause appendCause);

    /** Writes the lines in the order of the changes. The caller must not be an observer. Throws
       what Output throws. */
    void writeTo(Output& output);

    /** The same, and flushes the output: the lines of several threads stay in that order. */
    void flushTo(Output& output);

  private:
    class Targets final : public Routing::Bgp::NotifyingRouteTargetList::Notifiee {
      public:
        Targets(Agent const& agent, TargetLog& log);
        void handleRt(Routing::Bgp::RouteTarget const& target) override;

      private:
        TargetLog& log_;
    };

    class Lists final : public Routing::Bgp::NotifyingRtExtCommListCollection::Notifiee {
      public:
        using NotifierPtr = Routing::Bgp::NotifyingRtExtCommListCollection::NotifierPtr;

        Lists(Agent const& agent, TargetLog& log);
        void handleRtExtCommList(NotifierPtr const& list) override;

      private:
        TargetLog& log_;
    };

    void line(bool came, std::string_view what);

    AppendCause const appendCause_;
    std::mutex writing_; // held while lines are written, never by an observer
    std::mutex mutex_;   // of `lines_`: nobody waits for anything while it is held
    std::string lines_;  // without the end of the last one
    Targets targets_;    // the last members: they observe when all else is there
    Lists lists_;
};

} // namespace BgpCommunities
