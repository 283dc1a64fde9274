#pragma once

#include <ios>
#include <ostream>

namespace Mox {

/// Saves a stream's formatting state (flags, fill, precision, width) and restores it on
/// destruction. Thread-compatible.
class StreamState {
  public:
    explicit StreamState(std::ostream& os)
      : os_(os)
      , flags_(os.flags())
      , precision_(os.precision())
      , width_(os.width())
      , fill_(os.fill()) {}

    ~StreamState() {
        os_.flags(flags_);
        os_.precision(precision_);
        os_.width(width_);
        os_.fill(fill_);
    }

    StreamState(StreamState const&) = delete;
    StreamState& operator=(StreamState const&) = delete;

  private:
    std::ostream& os_;
    std::ios_base::fmtflags flags_;
    std::streamsize precision_;
    std::streamsize width_;
    char fill_;
};

} // namespace Mox
