#include "wire/IpAddress.h"

#include <array>
#include <random>
#include <string>

#include <arpa/inet.h>

#include <gtest/gtest.h>

namespace BgpCommunities {
namespace {

TEST(IpAddressTest, PrintsLikeTheSystemAndRoundTrips) {
    std::mt19937 random(1);
    for (int turn = 0; turn < 20000; ++turn) {
        IpAddress address;
        address.size = turn % 2 == 0 ? 4 : 16;
        for (unsigned int at = 0; at < address.size; at += 2) {
            auto const group = random() % 3 == 0 ? random() >> random() % 32 : 0;
            address.octets[at] = static_cast<U8>(group >> 8);
            address.octets[at + 1] = static_cast<U8>(group);
        }
        char system[INET6_ADDRSTRLEN] = {};
        inet_ntop(address.size == 4 ? AF_INET : AF_INET6, address.octets.data(), system,
                  sizeof system);
        std::string text;
        appendText(text, address);
        // inet_ntop() prints the deprecated IPv4-compatible form, RFC 5952 does not.
        bool const deprecated = std::string_view(system).starts_with("::") &&
                                std::string_view(system).find('.') != std::string_view::npos;
        EXPECT_TRUE(text == system || deprecated) << text << " " << system;
        EXPECT_EQ(readIpAddress(text), address) << text;
    }
    std::string mapped;
    appendText(mapped, readIpAddress("::FFFF:c000:201"));
    EXPECT_EQ(mapped, "::ffff:192.0.2.1");
    EXPECT_EQ(readIpAddress("192.0.2").size, 0);
    EXPECT_EQ(ipAddress(std::array<U8, 5>{}).size, 0);
}

} // namespace
} // namespace BgpCommunities
