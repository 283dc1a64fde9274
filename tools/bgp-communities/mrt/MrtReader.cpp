#include "MrtReader.h"

namespace BgpCommunities {

MrtReader::MrtReader(InputStream& input, RouteHandler& handler, AddPath addPath)
  : records_(input, addPath)
  , context_(input.name(), counts_, handler) {}

bool MrtReader::next() {
    if (ended_) {
        return false;
    }
    if (!records_.next(record_)) {
        ended_ = true;
        context_.accountEnd(records_.end());
        return false;
    }
    parser_.read(context_, record_);
    return true;
}

} // namespace BgpCommunities
