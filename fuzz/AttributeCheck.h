#pragma once

#include "input/OctetReader.h"
#include "lists/Agent.h"
#include "lists/AttributeDecoder.h"
#include "wire/PathAttributes.h"

#include <memory>
#include <vector>

namespace BgpCommunities::Test {

/// What any value of an attribute of communities must stand. Reactor thread.
class AttributeCheck {
  public:
    AttributeCheck()
      : decoders_(attributeDecoders(agent_)) {}

    /// Decodes the value in every form; if it is no malformation, what it is sent as is read again:
    /// the same list, and the same octets. Ends the process if not.
    void check(CommunityKind kind, Octets value);

  private:
    Agent agent_;
    std::vector<std::unique_ptr<AttributeDecoder>> const decoders_;
};

} // namespace BgpCommunities::Test
