#pragma once

#include <string>

#include "Agent.h"
#include "ExtCommFormatter.h"
#include "JsonWriter.h"
#include "OctetReader.h"
#include "PathAttributes.h"

namespace BgpCommunities {

/**
 * What the values of one kind of attribute say: one object for each kind that can be decoded.
 *
 * It interns through the agent, which is the caller's and outlives it, and keeps the members of
 * the last value until the next. Thread-compatible.
 */
class AttributeDecoder {
  public:
    explicit AttributeDecoder(CommunityKind kind)
      : kind_(kind) {}

    virtual ~AttributeDecoder() = default;
    AttributeDecoder(AttributeDecoder const&) = delete;
    AttributeDecoder& operator=(AttributeDecoder const&) = delete;

    [[nodiscard]] CommunityKind kind() const { return kind_; }

    /** Interns the members; or says why the value is malformed or refused, and has none. */
    virtual std::string decode(Octets value) = 0;

    /** Appends one line for each member of the value that was decoded last. */
    virtual void appendText(std::string& out) = 0;

    /** Writes the keys that say what was decoded last, from "text" on. */
    virtual void writeJson(JsonWriter& json) = 0;

  private:
    CommunityKind const kind_;
};

/** Attribute 16 (RFC 4360). */
class ExtendedDecoder final : public AttributeDecoder {
  public:
    explicit ExtendedDecoder(Agent& agent)
      : AttributeDecoder(CommunityKind::extended)
      , agent_(agent) {}

    std::string decode(Octets value) override;
    void appendText(std::string& out) override;
    void writeJson(JsonWriter& json) override;

  private:
    Agent& agent_;
    Agent::ExtComms members_;
    ExtCommFormatter formatter_;
};

} // namespace BgpCommunities
