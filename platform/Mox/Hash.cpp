#include <Mox/Hash.h>

#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <cstring>
#include <sys/random.h>

namespace Mox {

namespace {

Detail::HashSecret drawSecret() noexcept {
    std::array<U64, 2> drawn{};
    if (::getrandom(drawn.data(), sizeof drawn, GRND_NONBLOCK) != ssize_t{sizeof drawn}) {
        // The entropy pool is not ready yet, or a sandbox forbids the call: use the clock and the
        // load address.
        auto const now = std::chrono::steady_clock::now().time_since_epoch().count();
        drawn[0] = mixHash(static_cast<U64>(now), reinterpret_cast<U64>(&Detail::hashSecret) | 1);
        drawn[1] = mixHash(drawn[0], 0x8ebc6af09c88c6e3U);
    }
    auto factor = drawn[1] | 1;
    while (std::popcount(factor) < 24 || std::popcount(factor) > 40) {
        factor = (mixHash(factor, 0xd6e8feb86659fd93U) + 0x9e3779b97f4a7c15U) | 1;
    }
    return {drawn[0], factor};
}

std::atomic<U64> seedsDrawn{0};

} // namespace

namespace Detail {
// Initialised before all initialisers of default priority, because type registration uses hashes.
[[gnu::init_priority(101)]] HashSecret const hashSecret = drawSecret();
} // namespace Detail

U64 hashOctets(std::string_view octets, U64 seed) noexcept {
    U64 hash = mixHash(seed ^ Detail::hashSecret.word, octets.size() ^ 0xa0761d6478bd642fU);
    while (!octets.empty()) {
        U64 word = 0;
        auto const taken = octets.size() < sizeof word ? octets.size() : sizeof word;
        std::memcpy(&word, octets.data(), taken);
        hash = mixHash(hash ^ word, 0xe7037ed1a0b428dbU);
        octets.remove_prefix(taken);
    }
    return hash;
}

U64 nextHashSeed() noexcept {
    return hashWord(seedsDrawn.fetch_add(1, std::memory_order_relaxed));
}

} // namespace Mox
