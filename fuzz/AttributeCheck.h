#pragma once

#include "input/OctetReader.h"
#include "lists/Agent.h"
#include "lists/AttributeDecoder.h"
#include "wire/PathAttributes.h"

#include <Mox/Types.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace BgpCommunities::Test {

/// Checks that must hold for any value of a community attribute. Reactor thread.
class AttributeCheck {
  public:
    AttributeCheck()
      : decoders_(attributeDecoders(agent_)) {}

    /// Decodes the value in every form. If it is accepted, serializes the list and decodes it
    /// again: list and octets must be the same. Aborts the process otherwise. Skips values that
    /// were checked lately: most changed dumps repeat nearly all values of their original.
    void check(CommunityKind kind, Octets value);

  private:
    void checkNew(CommunityKind kind, Octets value);

    /// Hashes of values, each at the index that its low bits give.
    std::vector<U64> checked_ = std::vector<U64>(std::size_t{1} << 16);
    Agent agent_;
    std::vector<std::unique_ptr<AttributeDecoder>> const decoders_;
};

} // namespace BgpCommunities::Test
