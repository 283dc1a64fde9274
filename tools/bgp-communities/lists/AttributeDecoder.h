#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Agent.h"
#include "input/OctetReader.h"
#include "text/CommunityFormatter.h"
#include "text/CommunityPattern.h"
#include "text/Dictionary.h"
#include "text/JsonWriter.h"
#include "wire/PathAttributes.h"

namespace Routing::RouteMap {
class PosixRegex;
}

namespace BgpCommunities {

/// Decodes the values of one kind of attribute.
///
/// Interns through the agent, which is not owned, and keeps the last decoded list.
/// Thread-compatible.
class AttributeDecoder {
  public:
    explicit AttributeDecoder(CommunityKind kind)
      : kind_(kind) {}

    virtual ~AttributeDecoder() = default;
    AttributeDecoder(AttributeDecoder const&) = delete;
    AttributeDecoder& operator=(AttributeDecoder const&) = delete;

    [[nodiscard]] CommunityKind kind() const { return kind_; }

    /// Interns the list. Returns why the value is malformed or refused, empty on success.
    virtual std::string decode(Octets value) = 0;

    /// Releases the list that was decoded last.
    virtual void release() = 0;

    /// Appends one line for each member of the value that was decoded last: its text, its name and
    /// its meaning.
    virtual void appendText(std::string& out) = 0;

    /// Appends the last decoded list as one line.
    virtual void appendList(std::string& out) = 0;

    /// Writes an object that describes the last decoded value, or its fault.
    void writeJson(JsonWriter& json, Octets value, std::string_view fault, Detail detail);

    /// Whether the library's match of the expression succeeds for the last decoded list.
    virtual bool matches(Routing::RouteMap::PosixRegex const& regex) = 0;

    /// Whether the pattern matches a member of the last decoded list.
    virtual bool contains(CommunityPattern const& pattern) = 0;

  protected:
    /// Writes the keys that describe the last decoded list, from "text" on.
    virtual void writeList(JsonWriter& json, Detail detail) = 0;

  private:
    CommunityKind const kind_;
};

/// Returns one decoder for each kind, in order. `dictionary` is not owned and may be null.
std::vector<std::unique_ptr<AttributeDecoder>>
attributeDecoders(Agent& agent, Dictionary const* dictionary = nullptr);

} // namespace BgpCommunities
