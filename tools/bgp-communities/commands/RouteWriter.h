#pragma once

#include <array>
#include <string>
#include <string_view>

#include "lists/ListMemory.h"
#include "mrt/RouteHandler.h"
#include "text/Output.h"

namespace BgpCommunities {

/** The lists of a route, by CommunityKind; null where it has none that is to be shown. */
using RouteTexts = std::array<ListText const*, communityKinds>;

/**
 * The lines of `read`, one for each route.
 *
 * It writes to the caller's output, which outlives it, and owns the memory that texts are made in.
 * Thread-compatible.
 */
class RouteWriter {
  public:
    RouteWriter(bool json, Output& output)
      : json_(json)
      , output_(output) {}

    /** What is written from now on was read from the file of this name. */
    void fileIs(std::string_view name);

    void write(RecordPosition const& at, Peer const& peer, Route const& route,
               RouteTexts const& lists);

  private:
    void writeText(Peer const& peer, Route const& route, RouteTexts const& lists);
    void writeJson(RecordPosition const& at, Peer const& peer, Route const& route,
                   RouteTexts const& lists);
    template <class Value>
    void writeString(JsonWriter& json, std::string_view key, Value const& value);

    bool json_;
    Output& output_;
    std::string file_; // its name as JSON
    std::string text_; // of a part of the route at hand
};

} // namespace BgpCommunities
