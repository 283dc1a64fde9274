#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace BgpCommunities {

using Octets = std::span<const std::uint8_t>;

/** The octets that a string of the library holds, such as a serialized attribute. */
inline Octets octetsOf(std::string_view text) {
    return {reinterpret_cast<std::uint8_t const*>(text.data()), text.size()};
}

/**
 * A position in octets that a stranger sent; the only code of the reader that touches them.
 *
 * It owns nothing: the octets belong to the caller and must outlive the reader and every span
 * that it hands out. Thread-compatible.
 * What never changes: nothing is read outside the octets. A read that asks for more than is left
 * yields zero (or an empty span), leaves nothing to read and makes `ok()` false from then on; so
 * a run of fields is read first and `ok()` is asked once.
 * Integers are big-endian, as RFC 4271 and RFC 6396 send them.
 */
class OctetReader {
  public:
    explicit OctetReader(Octets octets)
      : left_(octets) {}

    /** No read so far has asked for more than there was. */
    [[nodiscard]] bool ok() const { return ok_; }

    [[nodiscard]] std::size_t left() const { return left_.size(); }

    [[nodiscard]] bool empty() const { return left_.empty(); }

    std::uint8_t u8() {
        Octets const in = octets(1);
        return in.empty() ? std::uint8_t{0} : in[0];
    }

    std::uint16_t u16() {
        Octets const in = octets(2);
        return in.empty() ? std::uint16_t{0} : static_cast<std::uint16_t>(in[0] << 8 | in[1]);
    }

    std::uint32_t u32() {
        Octets const in = octets(4);
        return in.empty() ? 0U
                          : std::uint32_t{in[0]} << 24 | std::uint32_t{in[1]} << 16 |
                                std::uint32_t{in[2]} << 8 | std::uint32_t{in[3]};
    }

    /** The next `count` octets; an empty span, and `ok()` false, if there are fewer. */
    Octets octets(std::size_t count) {
        if (count > left_.size()) {
            ok_ = false;
            left_ = {};
            return {};
        }
        Octets const taken = left_.first(count);
        left_ = left_.subspan(count);
        return taken;
    }

    /** All that is left. */
    Octets rest() { return octets(left_.size()); }

  private:
    Octets left_;
    bool ok_ = true;
};

} // namespace BgpCommunities
