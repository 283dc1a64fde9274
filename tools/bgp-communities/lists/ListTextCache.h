#pragma once

#include <memory>
#include <string>
#include <utility>

#include "AttributeDecoder.h"
#include "RouteFilter.h"
#include "input/IntegerTypes.h"
#include "input/OctetCache.h"

namespace BgpCommunities {

/// How routes are printed.
enum class RouteFormat : U8 { text, json, tsv };

/// A formatted attribute.
struct ListText {
    std::string text;  // for printing; octets and fault if malformed or refused
    std::string notes; // names and meanings of members
    std::string fault; // why the attribute is malformed or refused
    RouteFilter::Conditions met = 0; // if `fault` is empty

    [[nodiscard]] std::size_t octets() const { return text.size() + notes.size() + fault.size(); }
};

/// Formats the attributes of one kind and applies the filter to them. Caches the results, because
/// most routes carry an attribute of an earlier one.
///
/// Owns its decoder; does not own filter and dictionary. The cache is bounded (OctetCache).
/// Thread-compatible.
class ListTextCache {
  public:
    ListTextCache(std::unique_ptr<AttributeDecoder> decoder, RouteFilter const& filter,
                  Dictionary const& dictionary, RouteFormat format, Detail detail)
      : decoder_(std::move(decoder))
      , filter_(filter)
      , dictionary_(dictionary)
      , format_(format)
      , detail_(detail) {}

    /// Returns the text of an attribute value, malformed or not. Invalidated by the next call.
    ListText const& find(Octets value) {
        return cache_.find(value, [&](ListText& result) { make(value, result); });
    }

  private:
    void make(Octets value, ListText& result);
    void appendText(std::string& out, Octets value, std::string_view fault);
    void appendNotes(std::string& out, Octets value) const;
    void appendMeaning(std::string& out, std::string_view meaning) const;

    std::unique_ptr<AttributeDecoder> decoder_;
    RouteFilter const& filter_;
    Dictionary const& dictionary_;
    RouteFormat format_;
    Detail detail_;
    OctetCache<ListText> cache_;
};

} // namespace BgpCommunities
