#pragma once

#include <string>
#include <vector>

#include <bzlib.h>
#include <lzma.h>
#include <zlib.h>
#include <zstd.h>

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

inline std::string xz(std::string const& plain) {
    std::string out(lzma_stream_buffer_bound(plain.size()), '\0');
    std::size_t size = 0;
    EXPECT_EQ(lzma_easy_buffer_encode(1, LZMA_CHECK_CRC32, nullptr,
                                      reinterpret_cast<unsigned char const*>(plain.data()),
                                      plain.size(), reinterpret_cast<unsigned char*>(out.data()),
                                      &size, out.size()),
              LZMA_OK);
    out.resize(size);
    return out;
}

inline std::string zstd(std::string const& plain) {
    std::string out(ZSTD_compressBound(plain.size()), '\0');
    ZSTD_CCtx* const context = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 1);
    std::size_t const size =
        ZSTD_compress2(context, out.data(), out.size(), plain.data(), plain.size());
    ZSTD_freeCCtx(context);
    EXPECT_EQ(ZSTD_isError(size), 0U);
    out.resize(size);
    return out;
}

} // namespace BgpCommunities::Test
