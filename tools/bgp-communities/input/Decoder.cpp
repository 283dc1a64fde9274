#include "Decoder.h"

#include <algorithm>
#include <array>
#include <new>

#include <bzlib.h>
#include <lzma.h>
#include <zlib.h>
#include <zstd.h>
#include <zstd_errors.h>

#include "Bzip2Blocks.h"

namespace BgpCommunities {

std::size_t MemberDecoder::read(std::span<U8> out) {
    while (!ended_) {
        if (!inMember_ && !enterMember()) {
            break;
        }
        // At the end of the file the decompressor may still have buffered output.
        Step const step = decompress(source_.peek(1), out);
        source_.consume(step.consumed);
        inMember_ = !step.memberEnded;
        if (!step.fault.empty()) {
            reportDamage(source_.consumed(), step.fault);
        } else if (inMember_ && step.consumed == 0 && step.produced == 0) {
            reportTruncation();
        }
        if (step.produced != 0) {
            return step.produced;
        }
    }
    return 0;
}

bool MemberDecoder::enterMember() {
    U64 const zeros = mayBePadded() ? skipZeros() : 0;
    if (!startsMember(source_.peek(longestMagic))) {
        bool const atEnd = source_.peek(1).empty();
        reportTrailing(atEnd ? 0 : zeros);
        return false;
    }
    startMember();
    inMember_ = true;
    return true;
}

/// Consumes zeros up to the next non-zero octet; returns how many.
U64 MemberDecoder::skipZeros() {
    for (U64 skipped = 0;;) {
        Octets const in = source_.peek(1);
        auto const end = std::find_if(in.begin(), in.end(), [](auto octet) { return octet != 0; });
        auto const count = static_cast<std::size_t>(end - in.begin());
        source_.consume(count);
        skipped += count;
        if (in.empty() || count < in.size()) {
            return skipped;
        }
    }
}

void MemberDecoder::reportDamage(U64 offset, std::string_view fault) {
    damage_ =
        format_ + " data damaged near octet " + std::to_string(offset) + ": " + std::string(fault);
    ended_ = true;
}

void MemberDecoder::reportTruncation() {
    damage_ = "truncated " + format_ + " data";
    ended_ = true;
}

void MemberDecoder::reportTrailing(U64 more) {
    for (Octets in = source_.peek(1); !in.empty(); in = source_.peek(1)) {
        more += in.size();
        source_.consume(in.size());
    }
    if (more != 0) {
        damage_ =
            std::to_string(more) + " octets after the " + format_ + " data are not " + format_;
    }
    ended_ = true;
}

namespace {

/// Whether `head` and `magic` are equal up to the length of the shorter one.
bool sharePrefix(Octets head, Octets magic) {
    std::size_t const count = std::min(head.size(), magic.size());
    return std::equal(head.begin(), head.begin() + static_cast<std::ptrdiff_t>(count),
                      magic.begin());
}

// gzip member (RFC 1952): 1f 8b, then the compression method, always deflate.
constexpr std::array<U8, 3> gzipMagic = {0x1f, 0x8b, 0x08};
constexpr std::array<U8, 6> xzMagic = {0xfd, '7', 'z', 'X', 'Z', 0};
constexpr std::array<U8, 4> zstdMagic = {0x28, 0xb5, 0x2f, 0xfd}; // RFC 8878
// A bzip2 member: "BZh", block size '1' to '9', and the magic of its first block, or of its end if
// it is empty. "BZh1" alone could also be the timestamp of an MRT record of April 2005.
constexpr std::array<U8, 3> bzip2Magic = {'B', 'Z', 'h'};
constexpr std::array<U8, 6> bzip2Block = {0x31, 0x41, 0x59, 0x26, 0x53, 0x59};
constexpr std::array<U8, 6> bzip2End = {0x17, 0x72, 0x45, 0x38, 0x50, 0x90};

bool startsGzip(Octets head) {
    return sharePrefix(head, gzipMagic);
}

bool startsXz(Octets head) {
    return sharePrefix(head, xzMagic);
}

bool startsZstd(Octets head) {
    return sharePrefix(head, zstdMagic);
}

// Skippable frame (RFC 8878, section 3.1.2): 50 to 5f, then the rest of the magic.
constexpr std::array<U8, 3> skippableMagic = {0x2a, 0x4d, 0x18};

bool startsSkippableZstd(Octets head) {
    return !head.empty() && head[0] >> 4 == 5 && sharePrefix(head.subspan(1), skippableMagic);
}

/// Whether a file starts with a skippable frame, as written by pzstd. An MRT timestamp from August
/// 2012 on has the same magic. The next octet differs: the low octet of the frame size, or the high
/// octet of the record type, which is 0.
bool startsZstdBySkipping(Octets head) {
    return startsSkippableZstd(head) && (head.size() <= 4 || head[4] != 0);
}

/// zlib and libbz2 count in `unsigned int`, so at most 1 GB is passed at a time.
unsigned int chunkOf(std::size_t size) {
    return static_cast<unsigned int>(std::min<std::size_t>(size, 1U << 30));
}

/// Throws `std::bad_alloc` if a decompressor lacked memory, also when it cannot be initialized,
/// which has no other reason here. The data are not damaged then.
void requireMemory(bool given) {
    if (!given) {
        throw std::bad_alloc();
    }
}

class GzipDecoder final : public MemberDecoder {
  public:
    explicit GzipDecoder(InputSource& source)
      : MemberDecoder(source, "gzip") {
        constexpr int gzipWithLargestWindow = 16 + MAX_WBITS;
        requireMemory(inflateInit2(&stream_, gzipWithLargestWindow) == Z_OK);
    }

    ~GzipDecoder() override { inflateEnd(&stream_); }

  protected:
    [[nodiscard]] bool startsMember(Octets head) const override {
        return head.size() >= 2 && startsGzip(head);
    }

    void startMember() override { inflateReset(&stream_); }

    [[nodiscard]] bool mayBePadded() const override { return true; }

    Step decompress(Octets in, std::span<U8> out) override {
        // zlib declares its input without const but does not write to it.
        stream_.next_in = const_cast<Bytef*>(in.data());
        stream_.avail_in = chunkOf(in.size());
        stream_.next_out = out.data();
        stream_.avail_out = chunkOf(out.size());
        unsigned int const inBefore = stream_.avail_in;
        unsigned int const outBefore = stream_.avail_out;
        int const result = inflate(&stream_, Z_NO_FLUSH);
        requireMemory(result != Z_MEM_ERROR);
        Step step = {inBefore - stream_.avail_in, outBefore - stream_.avail_out,
                     result == Z_STREAM_END, ""};
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
            step.fault = stream_.msg != nullptr ? stream_.msg : zError(result);
        }
        return step;
    }

  private:
    z_stream stream_ = {};
};

class Bzip2Decoder final : public MemberDecoder {
  public:
    explicit Bzip2Decoder(InputSource& source)
      : MemberDecoder(source, "bzip2") {}

    ~Bzip2Decoder() override { stop(); }

  protected:
    [[nodiscard]] bool startsMember(Octets head) const override {
        return head.size() >= bzip2Magic.size() && startsBzip2(head);
    }

    void startMember() override {
        stop();
        requireMemory(BZ2_bzDecompressInit(&stream_, 0, 0) == BZ_OK);
        started_ = true;
    }

    Step decompress(Octets in, std::span<U8> out) override {
        // libbz2 declares its input as non-const char but does not write to it.
        stream_.next_in = const_cast<char*>(reinterpret_cast<char const*>(in.data()));
        stream_.avail_in = chunkOf(in.size());
        stream_.next_out = reinterpret_cast<char*>(out.data());
        stream_.avail_out = chunkOf(out.size());
        unsigned int const inBefore = stream_.avail_in;
        unsigned int const outBefore = stream_.avail_out;
        int const result = BZ2_bzDecompress(&stream_);
        requireMemory(result != BZ_MEM_ERROR);
        Step step = {inBefore - stream_.avail_in, outBefore - stream_.avail_out,
                     result == BZ_STREAM_END, ""};
        if (result != BZ_OK && result != BZ_STREAM_END) {
            step.fault = "incorrect data check";
        }
        return step;
    }

  private:
    void stop() {
        if (started_) {
            BZ2_bzDecompressEnd(&stream_);
            started_ = false;
            stream_ = {};
        }
    }

    bz_stream stream_ = {};
    bool started_ = false;
};

class XzDecoder final : public MemberDecoder {
  public:
    explicit XzDecoder(InputSource& source)
      : MemberDecoder(source, "xz") {}

    ~XzDecoder() override { lzma_end(&stream_); }

  protected:
    [[nodiscard]] bool startsMember(Octets head) const override {
        return head.size() >= xzMagic.size() && startsXz(head);
    }

    [[nodiscard]] bool mayBePadded() const override { return true; }

    void startMember() override {
        // `xz -9` needs 65 MB to decompress.
        constexpr U64 memoryLimit = U64{128} << 20;
        requireMemory(lzma_stream_decoder(&stream_, memoryLimit, 0) == LZMA_OK);
    }

    Step decompress(Octets in, std::span<U8> out) override {
        stream_.next_in = in.data();
        stream_.avail_in = in.size();
        stream_.next_out = out.data();
        stream_.avail_out = out.size();
        lzma_ret const result = lzma_code(&stream_, LZMA_RUN);
        requireMemory(result != LZMA_MEM_ERROR);
        Step step = {in.size() - stream_.avail_in, out.size() - stream_.avail_out,
                     result == LZMA_STREAM_END, ""};
        if (result == LZMA_MEMLIMIT_ERROR) {
            step.fault = "needs more than 128 MB of memory";
        } else if (result != LZMA_OK && result != LZMA_STREAM_END && result != LZMA_BUF_ERROR) {
            step.fault = "incorrect data check";
        }
        return step;
    }

  private:
    lzma_stream stream_ = LZMA_STREAM_INIT;
};

class ZstdDecoder final : public MemberDecoder {
  public:
    explicit ZstdDecoder(InputSource& source)
      : MemberDecoder(source, "zstd")
      , stream_(ZSTD_createDStream()) {
        // By default the library limits the window, and so the memory, to 128 MB.
        requireMemory(stream_ != nullptr);
    }

    ~ZstdDecoder() override { ZSTD_freeDStream(stream_); }

  protected:
    [[nodiscard]] bool startsMember(Octets head) const override {
        return (head.size() >= zstdMagic.size() && startsZstd(head)) ||
               (head.size() > skippableMagic.size() && startsSkippableZstd(head));
    }

    void startMember() override { ZSTD_initDStream(stream_); }

    Step decompress(Octets in, std::span<U8> out) override {
        ZSTD_inBuffer input = {in.data(), in.size(), 0};
        ZSTD_outBuffer output = {out.data(), out.size(), 0};
        std::size_t const result = ZSTD_decompressStream(stream_, &output, &input);
        requireMemory(ZSTD_getErrorCode(result) != ZSTD_error_memory_allocation);
        Step step = {input.pos, output.pos, result == 0, ""};
        if (ZSTD_isError(result) != 0) {
            step.fault = ZSTD_getErrorName(result);
        }
        return step;
    }

  private:
    ZSTD_DStream* stream_;
};

/// A compression format.
struct Format {
    std::size_t minOctets; // of a head that identifies the format
    bool (*starts)(Octets head);
    std::unique_ptr<Decoder> (*make)(InputSource& source, unsigned threads);
};

template <class FormatDecoder>
std::unique_ptr<Decoder> make(InputSource& source, unsigned /*threads*/) {
    return std::make_unique<FormatDecoder>(source);
}

std::unique_ptr<Decoder> makeBzip2(InputSource& source, unsigned threads) {
    if (threads > 1) {
        return std::make_unique<Bzip2Blocks>(source, threads);
    }
    return std::make_unique<Bzip2Decoder>(source);
}

constexpr std::array<Format, 5> formats = {{
    {2, startsGzip, make<GzipDecoder>},
    {bzip2Magic.size(), startsBzip2, makeBzip2},
    {xzMagic.size(), startsXz, make<XzDecoder>},
    {zstdMagic.size(), startsZstd, make<ZstdDecoder>},
    {skippableMagic.size() + 2, startsZstdBySkipping, make<ZstdDecoder>},
}};

} // namespace

bool startsBzip2(Octets head) {
    if (!sharePrefix(head, bzip2Magic) || (head.size() > 3 && (head[3] < '1' || head[3] > '9'))) {
        return false;
    }
    Octets const block = head.subspan(std::min<std::size_t>(head.size(), 4));
    return sharePrefix(block, bzip2Block) || sharePrefix(block, bzip2End);
}

std::unique_ptr<Decoder> decoderFor(InputSource& source, unsigned threads) {
    // Peek at as few octets as identify the format: an interactive pipe may deliver no more for
    // now.
    for (std::size_t count = 2; true; ++count) {
        Octets const seen = source.peek(count);
        Octets const head = seen.first(std::min(seen.size(), longestMagic));
        auto const format = std::find_if(formats.begin(), formats.end(),
                                         [&](Format const& it) { return it.starts(head); });
        if (format == formats.end()) {
            break;
        }
        if (head.size() < count || count == longestMagic) {
            if (head.size() < format->minOctets) {
                break;
            }
            return format->make(source, threads);
        }
    }
    return std::make_unique<Decoder>(source);
}

} // namespace BgpCommunities
