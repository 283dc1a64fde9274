#pragma once

#include <array>
#include <string>
#include <string_view>

#include "input/IntegerTypes.h"
#include "lists/ListTextCache.h"
#include "mrt/RouteHandler.h"
#include "text/Output.h"
#include "wire/RouteAttributes.h"

namespace BgpCommunities {

/// The lists of a route to print, by CommunityKind; null if none.
using RouteTexts = std::array<ListText const*, communityKinds>;

/// The content of a line of `read`. Members are not owned.
struct RouteLine {
    enum class Event : U8 { announced, withdrawn, table };

    Event event = Event::announced;
    RecordPosition const& at;
    Peer const& peer;
    Route const& route;
    RouteAttributes const& attributes; // empty if withdrawn
    std::string_view asPath;           // as text
    RouteTexts const& lists;
    bool sentByUs = false;
    U32 originated = 0;               // seconds since 1970; of an entry of a table dump
    std::string_view peerFields = {}; // more about the peer, as fields of JSON
};

/// Writes the lines of `read`, one per route, as text, TSV or JSON.
///
/// Does not own the output. Thread-compatible.
class RouteWriter {
  public:
    RouteWriter(RouteFormat format, Output& output)
      : format_(format)
      , output_(output) {}

    /// Sets the file name for the following lines.
    void startFile(std::string_view name);
    /// Sets JSON fields that the following lines have instead of the file name.
    void setSource(std::string_view fields) { source_ = fields; }

    /// Writes the header line of TSV; nothing in other formats.
    void writeHeader();
    void write(RouteLine const& line);

  private:
    void writeText(RouteLine const& line);
    void writeTsv(RouteLine const& line);
    void writeJson(RouteLine const& line);
    void appendErrors(RouteLine const& line);
    std::string_view timeText(Microseconds time);

    RouteFormat format_;
    Output& output_;
    std::string source_; // where the routes are from, as fields of JSON
    std::string text_;   // of a part of the current route
    std::string time_;   // the last one
    Microseconds timeOf_ = 0;
};

} // namespace BgpCommunities
