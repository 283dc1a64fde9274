#pragma once

#include <cstddef>
#include <string>

#include "MrtCounts.h"
#include "RecordStream.h"
#include "RouteHandler.h"

namespace BgpCommunities {

/// The position of the current record, and the counters and the handler that receive its content.
///
/// Does not own counters and handler. Thread-compatible.
class RecordContext {
  public:
    RecordContext(std::string const& file, MrtCounts& counts, RouteHandler& handler)
      : file_(file)
      , counts_(counts)
      , handler_(handler) {}

    [[nodiscard]] RecordPosition const& at() const { return at_; }

    void setPosition(RecordPosition const& at) { at_ = at; }

    [[nodiscard]] MrtCounts& counts() const { return counts_; }

    [[nodiscard]] RouteHandler& handler() const { return handler_; }

    /// Reports a problem to the handler.
    void report(ProblemKind kind, std::string reason) const;
    /// Counts and reports a broken record.
    void reportBrokenRecord(std::string reason) const;
    /// Reports a broken record if octets are left after its content.
    void checkEnd(std::size_t octetsLeft) const;
    /// Counts the communities of an area; counts and reports its faults.
    void account(AttributeArea const& area) const;
    /// Counts and reports a truncated or damaged end of the dump.
    void accountEnd(DumpEnd const& end);

  private:
    std::string const& file_;
    MrtCounts& counts_;
    RouteHandler& handler_;
    RecordPosition at_;
};

} // namespace BgpCommunities
