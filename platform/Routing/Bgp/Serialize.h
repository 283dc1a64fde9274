#pragma once

#include <Lumo/Ip6Addr.h>
#include <Mox/Assert.h>
#include <Mox/Export.h>
#include <Mox/NetworkOrder.h>
#include <Mox/String.h>
#include <Mox/Types.h>

#include <cstddef>
#include <cstring>

namespace Routing::Bgp {

using Mox::U16;
using Mox::U32;
using Mox::U64;
using Mox::U8;

/// A buffer of octets that messages are written into, integers in network order.
///
/// It stands for octets under construction and owns them: in an area of its own while they are few,
/// on the heap once the buffer has grown. An allocation that fails leaves it as it was.
/// Thread-compatible. Sizes and offsets are in octets.
class VOBGP_EXPORT Serialize {
  public:
    static constexpr U32 inlineCapacity = 4096;

    Serialize() noexcept {}
    ~Serialize();
    Serialize(Serialize const&) = delete;
    Serialize& operator=(Serialize const&) = delete;

    void addU8(U8 value) { addInteger(value); }
    void addU16hton(U16 value) { addInteger(value); }
    void addU32hton(U32 value) { addInteger(value); }
    void addU64hton(U64 value) { addInteger(value); }

    void addIpv6Addr(Lumo::Ip6Addr const& address) {
        auto const& octets = address.octets();
        std::memcpy(reserve(sizeof octets), octets.data(), sizeof octets);
        size_ += sizeof octets;
    }

    /// Makes room for `needed` octets in all, those that are there included.
    void growBuffer(U32 needed);

    /// What is in the buffer from that offset on.
    Mox::String serializedString(U32 fromOffset) const;

    /// Where the next octet goes.
    U32 size() const noexcept { return size_; }

    /// Moves there, back or forth over octets that have been written.
    void sizeIs(U32 size) noexcept {
        MOX_ASSERT(size <= capacity_);
        size_ = size;
    }

    U32 capacity() const noexcept { return capacity_; }

  private:
    template <class Integer>
    void addInteger(Integer value) {
        Mox::writeNetworkOrder(reserve(sizeof value), value);
        size_ += static_cast<U32>(sizeof value);
    }

    /// Where the next octet goes, with room for `count` of them.
    char* reserve(U32 count) {
        if (capacity_ - size_ < count) [[unlikely]] {
            growBy(count);
        }
        return buffer_ + size_;
    }

    void growBy(U32 count);

    char* buffer_ = inline_;
    U32 size_ = 0;
    U32 capacity_ = inlineCapacity;
    // Not initialised: what counts is what has been written.
    char inline_[inlineCapacity];
};

} // namespace Routing::Bgp
