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

/**
 * Decodes the values of one kind of attribute: one object for each kind.
 *
 * Interns through the agent, which is not owned, and keeps the list of the last value until the
 * next. Thread-compatible.
 */
class AttributeDecoder {
  public:
    explicit AttributeDecoder(CommunityKind kind)
      : kind_(kind) {}

    virtual ~AttributeDecoder() = default;
    AttributeDecoder(AttributeDecoder const&) = delete;
    AttributeDecoder& operator=(AttributeDecoder const&) = delete;

    [[nodiscard]] CommunityKind kind() const { return kind_; }

    /** Interns the list; or says why the value is malformed or refused, and has none. */
    virtual std::string decode(Octets value) = 0;

    /** Releases the list that was decoded last. */
    virtual void release() = 0;

    /** Appends one line for each member of the value that was decoded last: its text, its name and
        its meaning. */
    virtual void appendText(std::string& out) = 0;

    /** Appends the list that was decoded last, in one line. */
    virtual void appendList(std::string& out) = 0;

    /** Writes an object that says what the value is that was decoded last, or its fault. */
    void writeJson(JsonWriter& json, Octets value, std::string_view fault, Detail detail);

    /** Whether the expression matches the list that was decoded last, as the library has it. */
    virtual bool matches(Routing::RouteMap::PosixRegex const& regex) = 0;

    /** Whether the pattern covers a member of the list that was decoded last. */
    virtual bool holds(CommunityPattern const& pattern) = 0;

  protected:
    /** Writes the keys that say what was decoded last, from "text" on. */
    virtual void writeList(JsonWriter& json, Detail detail) = 0;

  private:
    CommunityKind const kind_;
};

/** One decoder for each kind of attribute. */
/** `dictionary`, not owned, may be null. */
std::vector<std::unique_ptr<AttributeDecoder>>
attributeDecoders(Agent& agent, Dictionary const* dictionary = nullptr);

} // namespace BgpCommunities
