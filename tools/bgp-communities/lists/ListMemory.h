#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "AttributeDecoder.h"
#include "RouteFilter.h"
#include "input/OctetMemory.h"

namespace BgpCommunities {

/** What `read` makes of one attribute; a plain value. */
struct ListText {
    std::string text;  // or JSON: ready to be printed
    std::string fault; // why it is refused; it then has no text
    RouteFilter::Conditions met = 0;

    [[nodiscard]] std::size_t octets() const { return text.size() + fault.size(); }
};

/**
 * The attributes of one kind, put into words and judged once for all the routes that carry the
 * same.
 *
 * It owns its decoder; the filter is the caller's and outlives it. Thread-compatible. What it
 * remembers is bounded (OctetMemory).
 */
class ListMemory {
  public:
    ListMemory(std::unique_ptr<AttributeDecoder> decoder, RouteFilter const& filter, bool json)
      : decoder_(std::move(decoder))
      , filter_(filter)
      , json_(json) {}

    /** What is to be said of the value of a well-formed attribute. Good until the next call. */
    ListText const& find(Octets value) {
        return memory_.find(value, [&](ListText& made) { make(value, made); });
    }

  private:
    void make(Octets value, ListText& made);

    std::unique_ptr<AttributeDecoder> decoder_;
    RouteFilter const& filter_;
    bool json_;
    OctetMemory<ListText> memory_;
};

} // namespace BgpCommunities
