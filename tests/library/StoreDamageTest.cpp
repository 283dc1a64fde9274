#include "../../fuzz/StoreContent.h"

#include <MoxStash/StoreException.h>
#include <MoxStash/StoreFormat.h>
#include <MoxStash/StoreManager.h>
#include <MoxStash/StoreWriter.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace Routing::Bgp::Test {
namespace {

namespace Format = MoxStash::Format;
using MoxStash::StoreException;
using MoxStash::StoreManager;
using MoxStash::StoreWriter;
using Words = std::vector<U64>;

/// A store with every kind of record, of about as many octets as the environment variable
/// VOBGP_STORE_SIZE says, by default 4096.
Words store() {
    auto const* const size = std::getenv("VOBGP_STORE_SIZE");
    auto const wanted = size == nullptr ? 4096 : std::stoul(size);
    StoreSample sample;
    Words words;
    for (U32 members = 3; words.size() * sizeof(U64) < wanted; ++members) {
        StoreWriter writer;
        sample.stash(writer, 5, members);
        words = writer.image(1);
    }
    return words;
}

std::span<std::byte const> octetsOf(Words const& words) {
    return std::as_bytes(std::span(words));
}

/// Reads everything; returns whether it was refused. Other exceptions are passed on.
bool isRefused(std::span<std::byte const> octets, std::string& text) {
    try {
        StoreManager manager("memory", octets);
        manager.sharingIs(octets.size() % 16 == 0);
        StoreWriter copy;
        text = copyStore(manager, copy);
        return false;
    } catch (StoreException const& exception) {
        EXPECT_EQ(exception.store(), "memory");
        EXPECT_FALSE(exception.reason().empty());
        return true;
    }
}

/// Calls the operation with each store that differs in one bit.
template <class Operation>
void withEachBitFlipped(Words words, Operation operation) {
    for (std::size_t bit = 0; bit < words.size() * 64; ++bit) {
        auto const flip = U64{1} << bit % 64;
        words[bit / 64] ^= flip;
        ASSERT_NO_THROW(operation(words, bit)) << "bit " << bit;
        words[bit / 64] ^= flip;
    }
}

TEST(StoreDamage, IsDetectedInEveryBit) {
    auto const sound = store();
    std::string text;
    ASSERT_FALSE(isRefused(octetsOf(sound), text));
    ASSERT_GT(text.size(), 1000U);
    withEachBitFlipped(sound, [&](Words const& words, std::size_t bit) {
        ASSERT_TRUE(isRefused(octetsOf(words), text)) << "bit " << bit;
    });
    for (std::size_t octets = 0; octets < sound.size() * sizeof(U64); ++octets) {
        ASSERT_TRUE(isRefused(octetsOf(sound).first(octets), text)) << octets << " octets";
    }
}

/// With a valid checksum, rebuilt objects may differ from the original, but they must be sound
/// (copyStore() checks) and reflect the change.
TEST(StoreDamage, IsHarmlessWithAValidChecksum) {
    auto const sound = store();
    std::string before;
    ASSERT_FALSE(isRefused(octetsOf(sound), before));
    std::size_t refused = 0, others = 0, same = 0;
    withEachBitFlipped(sound, [&](Words& words, std::size_t /*bit*/) {
        auto const checksum = words[Format::checksumWord];
        words[Format::checksumWord] = Format::checksum(words);
        std::string text;
        auto& ended = isRefused(octetsOf(words), text) ? refused : text == before ? same : others;
        ++ended;
        words[Format::checksumWord] = checksum;
    });
    EXPECT_GT(refused, sound.size() * 64 / 4);
    EXPECT_GT(others, sound.size() * 64 / 8);
    // The bits of the checksum, and three redundant flags: the two flags of a list of IPv6-specific
    // communities, and the sorted flag of a split list.
    EXPECT_EQ(same, 64U + 3U) << "some bits have no effect";
}

/// Truncated anywhere, with end, size and checksum corrected.
TEST(StoreDamage, IsHarmlessInTruncatedStoresWithAValidChecksum) {
    auto const sound = store();
    std::size_t attached = 0;
    for (std::size_t size = Format::headerWords + 2; size < sound.size(); ++size) {
        Words words(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(size));
        words.back() = sound.back();
        words[2] = size * sizeof(U64);
        // Makes the last complete record the directory.
        std::size_t last = 0;
        for (std::size_t at = Format::headerWords; at < size - 1;
             at += Format::load<Format::RecordHead>(&words[at]).words) {
            last = at;
        }
        words[5] = last * sizeof(U64);
        words[Format::checksumWord] = Format::checksum(words);
        std::string text;
        ASSERT_NO_THROW(attached += !isRefused(octetsOf(words), text)) << size << " words";
    }
    EXPECT_EQ(attached, 0U) << "another record was taken for the directory";
}

} // namespace
} // namespace Routing::Bgp::Test
