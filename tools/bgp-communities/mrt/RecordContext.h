#pragma once

#include <cstddef>
#include <string>

#include "MrtCounts.h"
#include "RecordStream.h"
#include "RouteHandler.h"

namespace BgpCommunities {

/**
 * The record that is being read, and where what is found in it goes: the counters and the handler.
 *
 * It owns neither. Thread-compatible.
 */
class RecordContext {
  public:
    RecordContext(std::string const& file, MrtCounts& counts, RouteHandler& handler)
      : file_(file)
      , counts_(counts)
      , handler_(handler) {}

    [[nodiscard]] RecordPosition const& at() const { return at_; }

    void atIs(RecordPosition const& at) { at_ = at; }

    [[nodiscard]] MrtCounts& counts() const { return counts_; }

    [[nodiscard]] RouteHandler& handler() const { return handler_; }

    /** Tells the handler. */
    void report(ProblemKind kind, std::string reason) const;
    /** Counts the record that is not what it says, and tells the handler. */
    void reportBrokenRecord(std::string reason) const;
    /** Reports a broken record if octets are left after its content. */
    void checkEnd(std::size_t octetsLeft) const;
    /** Counts the communities and the faults of an area, and tells the handler of the latter. */
    void account(AttributeArea const& area) const;
    /** Counts what the dump ends with, and tells the handler unless it is a proper end. */
    void accountEnd(DumpEnd const& end);

  private:
    std::string const& file_;
    MrtCounts& counts_;
    RouteHandler& handler_;
    RecordPosition at_;
};

} // namespace BgpCommunities
