#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <VoBgp/ExtCommListDedupTable.h>
#include <VoBgp/NotifyingRouteTargetList.h>

#include "lists/Agent.h"
#include "mrt/RouteHandler.h"
#include "text/Output.h"

namespace BgpCommunities {

/**
 * Writes a line whenever a route target, or a list of them, comes into use or goes out of it.
 *
 *     + target 64500:7<TAB>record 12<TAB>2023-11-14T22:13:20Z
 *     + targets [ 64500:7 64500:8 ]<TAB>record 12<TAB>2023-11-14T22:13:20Z
 *
 * It observes the agent's tables for as long as it lives, and owns the lines that have not been
 * written: a release may be what it hears of, which must not fail for the sake of an output.
 * Reactor thread.
 */
class TargetLog {
  public:
    explicit TargetLog(Agent const& agent);

    /** What changes from now on is the work of that record. */
    void causeIs(RecordPosition const& at) { cause_ = at; }

    /** What changes from now on goes because the run ends. */
    void causeIsEnd() { cause_.reset(); }

    /** Throws what Output throws. */
    void writeTo(Output& output);

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

    Targets targets_;
    Lists lists_;
    std::optional<RecordPosition> cause_;
    std::string lines_; // without the end of the last one
};

} // namespace BgpCommunities
