#include <Mox/Hash.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <sys/random.h>

namespace Mox {

namespace {

U64 drawSecret() noexcept {
    U64 secret = 0;
    if (::getrandom(&secret, sizeof secret, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof secret)) {
        // An entropy pool that is not ready yet, or a sandbox that forbids the call: the clock and
        // the place that the loader chose are what is left to vary.
        auto const now = std::chrono::steady_clock::now().time_since_epoch().count();
        secret = mixHash(static_cast<U64>(now), reinterpret_cast<U64>(&Detail::hashSecret) | 1);
    }
    return secret;
}

std::atomic<U64> seedsDrawn{0};

} // namespace

namespace Detail {
// Before every initialiser of default priority: registration of types hashes already.
[[gnu::init_priority(101)]] HashSecret const hashSecret{drawSecret()};
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
