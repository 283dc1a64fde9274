#pragma once

#include <string>
#include <string_view>

namespace BgpCommunities {

/**
 * A community as somebody typed it: one of the texts that the program prints for it, or its octets
 * in hexadecimal. An immutable value.
 */
class CommunityName {
  public:
    explicit CommunityName(std::string_view name);

    /** Not empty, if what was typed is not. */
    [[nodiscard]] std::string_view text() const { return text_; }

    /** Whether it names the community with these octets by them. */
    [[nodiscard]] bool isOctets(std::string_view octets) const {
        return !octets_.empty() && octets == octets_;
    }

  private:
    std::string text_;
    std::string octets_; // if the text is hexadecimal digits
};

} // namespace BgpCommunities
