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

/// A growable buffer for writing messages, with integers in network order.
///
/// Owns its octets: inline up to `inlineCapacity`, then on the heap. If an allocation fails, the
/// buffer is unchanged. Sizes and offsets are in octets. Thread-compatible.
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

    /// Ensures a capacity of at least `needed` octets.
    void growBuffer(U32 needed);

    /// Returns the octets from `fromOffset` to the end. REQUIRES: `fromOffset` is at most size()
    /// (asserted).
    Mox::String serializedString(U32 fromOffset) const;

    /// The number of octets written, which is the next write position.
    U32 size() const noexcept { return size_; }

    /// Sets the write position, backward or forward. REQUIRES: `size` is at most capacity()
    /// (asserted).
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

    /// Returns the write position after reserving room for `count` octets.
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
    // Not initialised; only written octets are read.
    char inline_[inlineCapacity];
};

} // namespace Routing::Bgp
