#include "input/InputStream.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/Compressed.h"
#include "support/DumpOctets.h"

namespace BgpCommunities {
namespace {

using namespace std::string_literals;
using namespace Test;

/// Octets that hardly compress, so that truncation has an effect.
std::string noise(std::size_t size) {
    std::string out;
    for (U32 state = 1; out.size() < size;) {
        state = state * 1664525 + 1013904223;
        out += static_cast<char>(state >> 24);
    }
    return out;
}

struct Read {
    std::string octets;
    std::string damage;
};

Read readAll(std::string const& path, std::size_t step = 4096, unsigned threads = 1) {
    InputStream input(path, threads);
    std::vector<U8> buffer(step);
    Read all;
    while (std::size_t const got = input.read(buffer)) {
        all.octets.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(got));
    }
    EXPECT_EQ(input.read(buffer), 0U) << "still at the end";
    all.damage = input.damage();
    return all;
}

TEST(InputStreamTest, ReadsPlainAndCompressedInput) {
    std::string const small = "one small member";
    std::string const large = noise(300000);
    std::string const even(250000, 'x');

    struct Row {
        char const* name;
        std::string file;
        std::string plain;
    };

    std::vector<Row> const rows = {
        {"nothing", "", ""},
        {"plain", large, large},
        {"two octets of plain", "\x1f", "\x1f"},
        {"gzip", gzip(large), large},
        {"gzip of nothing", gzip(""), ""},
        {"gzip members", gzip(small) + gzip("") + gzip(large) + gzip(even), small + large + even},
        {"bzip2", bzip2(large), large},
        {"bzip2 of nothing", bzip2(""), ""},
        {"xz", xz(large), large},
        {"xz members", xz(small) + std::string(4, '\0') + xz("") + xz(large) + std::string(8, '\0'),
         small + large},
        {"zstd", zstd(large), large},
        {"zstd frames, one of them skippable",
         zstd(small) + "\x5f\x2a\x4d\x18\x02\0\0\0ab"s + zstd(even), small + even},
        {"zstd after a skippable frame, as written by pzstd",
         "\x50\x2a\x4d\x18\x04\0\0\0\x0d\0\0\0"s + zstd(small), small},
        {"plain that begins like a skippable zstd frame, a time of August 2012",
         "\x50\x2a\x4d\x18\0\x0d rest"s, "\x50\x2a\x4d\x18\0\x0d rest"s},
        {"plain that begins like a zip archive, a time of September 2012", "PK\x03\x04\0\x0d rest"s,
         "PK\x03\x04\0\x0d rest"s},
        {"bzip2 members", bzip2(even) + bzip2("") + bzip2(small), even + small},
        {"plain that begins with BZh1, a time of April 2005", "BZh1\0\x0d rest"s,
         "BZh1\0\x0d rest"s},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        for (std::size_t const step : {1U, 7U, 65536U}) {
            TemporaryFile const file(row.file, step == 1 ? ".gz" : ".txt");
            Read const read = readAll(file.path(), step);
            EXPECT_TRUE(read.octets == row.plain) << step << " octets at a time";
            EXPECT_EQ(read.damage, "");
        }
    }
}

TEST(InputStreamTest, ReadsAndReportsTruncatedMembers) {
    std::string const plain = noise(2000) + std::string(100000, 'x');
    for (auto const& [form, packed] :
         {std::pair("gzip", gzip(plain)), std::pair("bzip2", bzip2(plain)),
          std::pair("xz", xz(plain)), std::pair("zstd", zstd(plain))}) {
        SCOPED_TRACE(form);
        std::size_t longest = 0;
        for (std::size_t size = 10; size < packed.size(); size += 1 + size / 16) {
            TemporaryFile const file(packed.substr(0, size));
            Read const read = readAll(file.path(), 100);
            EXPECT_EQ(read.damage, std::string("truncated ") + form + " data") << size;
            EXPECT_TRUE(plain.starts_with(read.octets)) << size;
            EXPECT_GE(read.octets.size(), longest);
            longest = read.octets.size();
        }
        // Only part of the checksums is missing: all data must be returned.
        TemporaryFile const file(packed.substr(0, packed.size() - 4));
        EXPECT_TRUE(readAll(file.path(), 100).octets == plain);
    }
}

TEST(InputStreamTest, ReportsDamageAndTrailingDataAtTheEnd) {
    std::string const first = noise(5000);
    std::string wrongGzip = gzip(first);
    wrongGzip[wrongGzip.size() - 6] ^= 1; // its checksum
    std::string wrongBzip2 = bzip2(first);
    wrongBzip2[wrongBzip2.size() - 2] ^= 1;

    struct Row {
        char const* name;
        std::string file;
        std::string damage;
    };

    std::vector<Row> const rows = {
        {"gzip and text", gzip(first) + "trailing", "8 octets after the gzip data are not gzip"},
        {"gzip and bzip2", gzip(first) + bzip2("x").substr(0, 30),
         "30 octets after the gzip data are not gzip"},
        {"bzip2 and a long tail", bzip2(first) + std::string(200000, '\0'),
         "200000 octets after the bzip2 data are not bzip2"},
        {"gzip checksum", wrongGzip, "incorrect data check"},
        {"bzip2 checksum", wrongBzip2, "incorrect data check"},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        TemporaryFile const file(row.file);
        Read const read = readAll(file.path());
        EXPECT_TRUE(read.octets == first);
        EXPECT_TRUE(read.damage.ends_with(row.damage)) << read.damage;
    }
}

/// Octets whose bzip2 blocks contain a block magic where no block begins, in the bitmap of used
/// octets (16 bits for each 16 of them).
std::string octetsWithMagicInside(std::size_t size) {
    std::string used;
    for (unsigned at = 0; at < 48; ++at) {
        if ((0x314159265359U >> (47 - at) & 1) != 0) {
            used += static_cast<char>(0x40 + at);
        }
    }
    std::string out = noise(size);
    for (char& octet : out) {
        octet = used[static_cast<U8>(octet) % used.size()];
    }
    return out;
}

TEST(InputStreamTest, DecompressesTheSameInSeveralThreads) {
    std::string const plain =
        octetsWithMagicInside(250000) + noise(150000) + std::string(3000000, 'x');
    std::string const packed = bzip2(plain) + bzip2("") + bzip2(noise(150000));
    ASSERT_NE(packed.find("\x31\x41\x59\x26\x53\x59", 10), std::string::npos) << "not at an octet";
    auto const expectSame = [](std::string const& octets, std::string const& what) {
        TemporaryFile const file(octets);
        Read const one = readAll(file.path(), 65536, 1);
        Read const several = readAll(file.path(), 65536, 3);
        EXPECT_TRUE(several.octets == one.octets) << what;
        // The octet at which damage is detected depends on how much is decompressed at a time.
        auto const kind = [](std::string const& damage) {
            return damage.substr(0, damage.find(" near")) +
                   damage.substr(std::min(damage.rfind(':'), damage.size()));
        };
        EXPECT_EQ(kind(several.damage), kind(one.damage)) << what;
    };
    expectSame(packed, "whole");
    expectSame(packed + "trailing", "trailing octets");
    for (std::size_t at = 3; at < packed.size(); at += packed.size() / 16) {
        expectSame(packed.substr(0, at), "first " + std::to_string(at) + " octets");
        std::string damaged = packed;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
        expectSame(damaged, "octet " + std::to_string(at) + " changed");
    }
    for (std::size_t left = 1; left < 16; ++left) {
        expectSame(packed.substr(0, packed.size() - left), "all but " + std::to_string(left));
    }
}

TEST(InputStreamTest, RejectsArchives) {
    std::string header(512, '\0');
    header.replace(0, 8, "dump.mrt")
        .replace(100, 7, "0000644")
        .replace(257, 6, "ustar\0"s)
        .replace(148, 8, "        ");
    unsigned int sum = 0;
    for (char const octet : header) {
        sum += static_cast<U8>(octet);
    }
    std::array<char, 8> digits{};
    std::snprintf(digits.data(), digits.size(), "%06o", sum);
    header.replace(148, 7, digits.data(), 7);
    for (auto const& [octets, kind] : {std::pair(header, "tar"), std::pair(gzip(header), "tar"),
                                       std::pair("PK\x03\x04\x14\0\0\0"s, "zip")}) {
        TemporaryFile const file(octets);
        try {
            readAll(file.path(), 100);
            ADD_FAILURE() << kind;
        } catch (InputError const& error) {
            EXPECT_EQ(error.what(),
                      file.path() + ": is a " + kind + " archive; extract the dumps first");
        }
    }
    header[0] = 'x'; // the checksum does not match
    EXPECT_TRUE(readAll(TemporaryFile(header).path()).octets == header);
}

TEST(InputStreamTest, UnreadablePathsThrow) {
    for (std::string const& path : {testing::TempDir() + "no-such-file.mrt", testing::TempDir()}) {
        try {
            readAll(path);
            ADD_FAILURE() << path << " was read";
        } catch (InputError const& error) {
            EXPECT_TRUE(std::string(error.what()).starts_with(path)) << error.what();
        }
    }
}

TEST(InputStreamTest, ReadsStandardInputInPieces) {
    std::string const plain = noise(10000);
    std::string const packed = gzip(plain);
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    int const saved = ::dup(STDIN_FILENO);
    ASSERT_EQ(::dup2(pipe[0], STDIN_FILENO), STDIN_FILENO);
    ::close(pipe[0]);
    // The pipe holds everything. One octet comes first, so one read cannot identify the format.
    ASSERT_EQ(::write(pipe[1], packed.data(), 1), 1);
    ASSERT_EQ(::write(pipe[1], packed.data() + 1, packed.size() - 1),
              static_cast<ssize_t>(packed.size() - 1));
    ::close(pipe[1]);
    Read const read = readAll("-");
    EXPECT_NE(::fcntl(STDIN_FILENO, F_GETFD), -1) << "standard input stays open";
    ::dup2(saved, STDIN_FILENO);
    ::close(saved);
    EXPECT_TRUE(read.octets == plain);
    EXPECT_EQ(read.damage, "");
}

TEST(InputStreamTest, ReportsProgressInOctetsOfTheFile) {
    std::string const packed = gzip(noise(500000));
    TemporaryFile const file(packed);
    InputStream input(file.path());
    EXPECT_EQ(input.sourceSize(), packed.size());
    std::vector<U8> buffer(1000);
    ASSERT_GT(input.read(buffer), 0U);
    EXPECT_LT(input.sourceOctets(), packed.size() / 2);
    while (input.read(buffer) != 0) {
    }
    EXPECT_EQ(input.sourceOctets(), packed.size());
}

} // namespace
} // namespace BgpCommunities
