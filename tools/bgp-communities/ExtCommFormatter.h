#pragma once

#include <string>
#include <string_view>

#include <VoBgp/VoBgpCommunity.h>

#include "JsonWriter.h"
#include "TextBuffer.h"

namespace BgpCommunities {

/**
 * Puts extended communities into words: the library's text, and all that is known of one as JSON.
 *
 * It owns the memory that the texts are made in, and uses it again. Thread-compatible.
 */
class ExtCommFormatter {
  public:
    /** What `toStrep()` says; good until the next call. */
    std::string_view text(Routing::Bgp::ExtComm const& extComm);

    void writeJson(JsonWriter& json, Routing::Bgp::ExtComm const& extComm);

  private:
    std::string_view subtype(Routing::Bgp::ExtComm const& extComm);

    TextBuffer buffer_;
};

} // namespace BgpCommunities
