#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "AttributeDecoder.h"
#include "RouteFilter.h"
#include "input/OctetCache.h"

namespace BgpCommunities {

/** How routes are printed. */
enum class RouteFormat : std::uint8_t { text, json, tsv };

/** One attribute, formatted; a plain value. */
struct ListText {
    std::string text;  // ready to be printed; of a faulty one its octets and the fault
    std::string notes; // names and meanings of members
    std::string fault; // why the attribute is malformed or refused
    RouteFilter::Conditions met = 0;

    [[nodiscard]] std::size_t octets() const { return text.size() + notes.size() + fault.size(); }
};

/**
 * Formats the attributes of one kind, and applies the filter to them, once for all routes that
 * carry the same.
 *
 * Owns its decoder; filter and dictionary are not owned. Thread-compatible. What it remembers is
 * bounded (OctetCache).
 */
class ListMemory {
  public:
    ListMemory(std::unique_ptr<AttributeDecoder> decoder, RouteFilter const& filter,
               Dictionary const& dictionary, RouteFormat format, Detail detail)
      : decoder_(std::move(decoder))
      , filter_(filter)
      , dictionary_(dictionary)
      , format_(format)
      , detail_(detail) {}

    /** Of the value of an attribute, malformed or not. Good until the next call. */
    ListText const& find(Octets value) {
        return memory_.find(value, [&](ListText& made) { make(value, made); });
    }

  private:
    void make(Octets value, ListText& made);
    void appendText(std::string& out, Octets value, std::string_view fault);
    void appendNotes(std::string& out, Octets value) const;
    void appendMeaning(std::string& out, std::string_view meaning) const;

    std::unique_ptr<AttributeDecoder> decoder_;
    RouteFilter const& filter_;
    Dictionary const& dictionary_;
    RouteFormat format_;
    Detail detail_;
    OctetCache<ListText> memory_;
};

} // namespace BgpCommunities
