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

/// Writes a line whenever a route target, or a list of them, comes into use or goes out of use.
///
///     + target 64500:7<TAB>record 12<TAB>2023-11-14T22:13:20Z
///     + targets [ 64500:7 64500:8 ]<TAB>record 12<TAB>2023-11-14T22:13:20Z
///
/// Observes the agent's tables during its lifetime. Buffers the lines, because a release notifies
/// it and must not fail if the output does. REQUIRES: no other thread interns while it is
/// constructed or destroyed. Otherwise thread-safe if the tables are.
class TargetLog {
  public:
    /// Appends the cause of the change that the calling thread makes.
    using AppendCause = std::function<void(std::string&)>;

    TargetLog(Agent const& agent, AppendCause appendCause);

    /// Writes the buffered lines in the order of the changes. Must not be called by an observer.
    /// Throws what Output throws.
    void writeTo(Output& output);

    /// As writeTo(), and flushes the output, so that lines written by several threads keep their
    /// order.
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
    std::mutex writing_; // held while lines are written; never locked by an observer
    std::mutex mutex_;   // guards `lines_`; its holder never blocks
    std::string lines_;  // without the final newline
    Targets targets_;    // the last members: observe when the others are constructed
    Lists lists_;
};

} // namespace BgpCommunities
