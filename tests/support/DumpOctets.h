#pragma once

#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include <unistd.h>

#include <gtest/gtest.h>

namespace BgpCommunities::Test {

/// Builds octets of a dump, as std::string for easy concatenation.

/// Decodes hexadecimal digits; ignores other characters.
inline std::string hex(std::string_view digits) {
    std::string out;
    int high = -1;
    for (char const digit : digits) {
        auto const value = std::string_view("0123456789abcdef").find(digit);
        if (value == std::string_view::npos) {
            continue;
        }
        if (high < 0) {
            high = static_cast<int>(value);
        } else {
            out += static_cast<char>(high << 4 | static_cast<int>(value));
            high = -1;
        }
    }
    return out;
}

inline std::string u8(std::size_t value) {
    return std::string(1, static_cast<char>(value));
}

inline std::string u16(std::size_t value) {
    return u8(value >> 8 & 0xff) + u8(value & 0xff);
}

inline std::string u32(std::size_t value) {
    return u16(value >> 16 & 0xffff) + u16(value & 0xffff);
}

inline std::string record(unsigned int type, unsigned int subtype, std::string const& body) {
    return u32(1700000000) + u16(type) + u16(subtype) + u32(body.size()) + body;
}

/// With a two-octet length.
inline std::string attribute(unsigned int type, std::string const& value) {
    return u8(0xd0) + u8(type) + u16(value.size()) + value;
}

inline std::string message(unsigned int type, std::string const& body) {
    return std::string(16, '\xff') + u16(19 + body.size()) + u8(type) + body;
}

inline std::string update(std::string const& attributes, std::string const& announced = "",
                          std::string const& withdrawn = "") {
    return message(2, u16(withdrawn.size()) + withdrawn + u16(attributes.size()) + attributes +
                          announced);
}

/// The peer in BGP4MP records with four-octet AS numbers: 192.0.2.1 AS65536.
inline std::string const peer4 = hex("00010000 0000fbff 0000 0001 c0000201 c00002fe");

/// A BGP4MP record of this peer with a BGP message.
inline std::string as4Record(std::string const& octets) {
    return record(16, 4, peer4 + octets);
}

/// A temporary file with `content`, removed by the destructor.
class TemporaryFile {
  public:
    explicit TemporaryFile(std::string_view content, std::string const& suffix = ".mrt")
      : path_(testing::TempDir() + "bgp-communities-" + std::to_string(getpid()) + "-" +
              std::to_string(nextNumber()) + suffix) {
        std::ofstream(path_, std::ios::binary) << content;
    }

    ~TemporaryFile() { std::remove(path_.c_str()); }

    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    [[nodiscard]] std::string const& path() const { return path_; }

  private:
    static int nextNumber() {
        static int number = 0;
        return ++number;
    }

    std::string path_;
};

} // namespace BgpCommunities::Test
