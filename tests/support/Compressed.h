#pragma once

#include <string>
#include <vector>

#include <bzlib.h>
#include <zlib.h>

#include <gtest/gtest.h>

namespace BgpCommunities::Test {

inline std::string gzip(std::string const& plain) {
    z_stream stream = {};
    EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::vector<Bytef> in(plain.begin(), plain.end());
    std::vector<Bytef> out(deflateBound(&stream, plain.size()));
    stream.next_in = in.data();
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    std::string packed(out.begin(), out.end() - stream.avail_out);
    deflateEnd(&stream);
    return packed;
}

inline std::string bzip2(std::string plain) {
    std::string out(plain.size() + plain.size() / 50 + 1000, '\0');
    auto size = static_cast<unsigned int>(out.size());
    EXPECT_EQ(BZ2_bzBuffToBuffCompress(out.data(), &size, plain.data(),
                                       static_cast<unsigned int>(plain.size()), 1, 0, 0),
              BZ_OK);
    out.resize(size);
    return out;
}

} // namespace BgpCommunities::Test
