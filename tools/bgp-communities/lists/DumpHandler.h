#pragma once

#include <string>
#include <string_view>

#include "mrt/RouteHandler.h"
#include "text/ProblemLog.h"

namespace BgpCommunities {

/// Base of the handlers of a command: logs the problems of its dumps.
///
/// Owns the log. Thread-compatible.
class DumpHandler : public RouteHandler {
  public:
    explicit DumpHandler(bool verbose)
      : log_(verbose) {}

    void handleProblem(Problem const& problem) final { log_.report(problem); }

    /// Called before a file is read. REQUIRES: `name` is valid until the next call.
    virtual void startFile(std::string const& name) { file_ = name; }

    [[nodiscard]] ProblemLog& log() { return log_; }

    /// Called before each read that may block; flushes output.
    virtual void beforeWait() {}

  protected:
    void refuse(RecordPosition const& at, std::string_view reason) {
        log_.reportRefused(file_, at, reason);
    }

    /// Reports the malformed values of path attributes. The reader reports truncated attributes.
    void reportFaults(RecordPosition const& at, RouteAttributes const& attributes) {
        for (AttributeFault const& fault : attributes.faults()) {
            if (!fault.truncated) {
                log_.reportMalformed(file_, at,
                                     "attribute " + std::to_string(fault.type) + ": " +
                                         std::string(fault.reason));
            }
        }
    }

    [[nodiscard]] std::string_view file() const { return file_; }

  private:
    ProblemLog log_;
    std::string_view file_;
};

} // namespace BgpCommunities
