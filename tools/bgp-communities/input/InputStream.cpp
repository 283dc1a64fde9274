#include "InputStream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bzlib.h>
#include <zlib.h>

#include "OctetReader.h"

namespace BgpCommunities {

namespace {

constexpr std::size_t sourceBufferOctets = 64 * 1024;

// gzip member (RFC 1952): 1f 8b, then the only compression method that there is.
constexpr std::array<std::uint8_t, 3> gzipMagic = {0x1f, 0x8b, 0x08};
// A bzip2 member: "BZh", block size '1' to '9', and the magic of its first block, or of its end if
// it is empty. "BZh1" alone would also be the timestamp of an MRT record of April 2005.
constexpr std::array<std::uint8_t, 3> bzip2Magic = {'B', 'Z', 'h'};
constexpr std::array<std::uint8_t, 6> bzip2Block = {0x31, 0x41, 0x59, 0x26, 0x53, 0x59};
constexpr std::array<std::uint8_t, 6> bzip2End = {0x17, 0x72, 0x45, 0x38, 0x50, 0x90};
constexpr std::size_t longestMagic = 10;

/** `octets` begin with `magic`, as far as they go. */
bool startsWith(Octets octets, Octets magic) {
    std::size_t const count = std::min(octets.size(), magic.size());
    return std::equal(octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(count),
                      magic.begin());
}

bool startsGzip(Octets head) {
    return head.size() >= 2 && startsWith(head, gzipMagic);
}

bool startsBzip2(Octets head) {
    if (head.size() < bzip2Magic.size() || !startsWith(head, bzip2Magic)) {
        return false;
    }
    if (head.size() > 3 && (head[3] < '1' || head[3] > '9')) {
        return false;
    }
    Octets const block = head.subspan(std::min<std::size_t>(head.size(), 4));
    return startsWith(block, bzip2Block) || startsWith(block, bzip2End);
}

} // namespace

/** The file itself, through a buffer of fixed size that can be looked into before it is used. */
class InputStream::Source {
  public:
    explicit Source(std::string const& path)
      : name_(path == "-" ? "standard input" : path)
      , opened_(path != "-")
      , fd_(!opened_ ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC))
      , buffer_(sourceBufferOctets) {
        if (fd_ < 0) {
            fail();
        }
        struct stat status = {};
        if (::fstat(fd_, &status) == 0 && S_ISREG(status.st_mode)) {
            size_ = static_cast<std::uint64_t>(status.st_size);
        }
    }

    ~Source() {
        if (opened_) {
            ::close(fd_);
        }
    }

    Source(Source const&) = delete;
    Source& operator=(Source const&) = delete;

    /** At least `count` octets that are not consumed, fewer only at the end of the file. */
    Octets peek(std::size_t count) {
        while (end_ - begin_ < count) {
            std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
                      buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
            end_ -= begin_;
            begin_ = 0;
            std::size_t const got = readFile(std::span(buffer_).subspan(end_));
            if (got == 0) {
                break;
            }
            end_ += got;
        }
        return Octets(buffer_).subspan(begin_, end_ - begin_);
    }

    void consume(std::size_t count) { begin_ += count; }

    /** What is buffered, else straight from the file; 0 at the end of the file. */
    std::size_t read(std::span<std::uint8_t> out) {
        if (begin_ == end_) {
            return readFile(out);
        }
        std::size_t const count = std::min(out.size(), end_ - begin_);
        std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_), count, out.begin());
        begin_ += count;
        return count;
    }

    [[nodiscard]] std::string const& name() const { return name_; }

    [[nodiscard]] std::uint64_t octets() const { return octets_; }

    [[nodiscard]] std::uint64_t consumed() const { return octets_ - (end_ - begin_); }

    [[nodiscard]] std::uint64_t size() const { return size_; }

  private:
    std::size_t readFile(std::span<std::uint8_t> out) {
        for (;;) {
            ssize_t const got = ::read(fd_, out.data(), out.size());
            if (got >= 0) {
                octets_ += static_cast<std::uint64_t>(got);
                return static_cast<std::size_t>(got);
            }
            if (errno != EINTR) {
                fail();
            }
        }
    }

    [[noreturn]] void fail() const { throw InputError(name_ + ": " + std::strerror(errno)); }

    std::string name_;
    bool opened_;
    int fd_;
    std::vector<std::uint8_t> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::uint64_t octets_ = 0;
    std::uint64_t size_ = 0;
};

/** What turns the octets of the file into plain ones. This one is for a file that is plain. */
class InputStream::Decoder {
  public:
    explicit Decoder(Source& source)
      : source_(source) {}

    virtual ~Decoder() = default;
    Decoder(Decoder const&) = delete;
    Decoder& operator=(Decoder const&) = delete;

    virtual std::size_t read(std::span<std::uint8_t> out) { return source_.read(out); }

    [[nodiscard]] std::string const& damage() const { return damage_; }

  protected:
    Source& source_;
    std::string damage_;
};

namespace {

/**
 * A file of one or more compressed members.
 *
 * The walk from member to member, and what is said about one that is cut short or followed by
 * something else, is the same for both forms; a form adds how a member is recognised, started and
 * decompressed.
 */
class MemberDecoder : public InputStream::Decoder {
  public:
    MemberDecoder(InputStream::Source& source, std::string_view form)
      : Decoder(source)
      , form_(form) {}

    std::size_t read(std::span<std::uint8_t> out) override {
        while (!ended_) {
            if (!inMember_ && !enterMember()) {
                break;
            }
            // At the end of the file the decompressor may still hold octets that had no room.
            Step const step = decompress(source_.peek(1), out);
            source_.consume(step.consumed);
            inMember_ = !step.memberEnded;
            if (!step.fault.empty()) {
                end("the " + form_ + " data are damaged near octet " +
                    std::to_string(source_.consumed()) + ": " + std::string(step.fault));
            } else if (inMember_ && step.consumed == 0 && step.produced == 0) {
                end("the " + form_ + " data end in the middle of a member");
            }
            if (step.produced != 0) {
                return step.produced;
            }
        }
        return 0;
    }

  protected:
    struct Step {
        std::size_t consumed;
        std::size_t produced;
        bool memberEnded;
        std::string_view fault; // empty: none
    };

    [[nodiscard]] virtual bool startsMember(Octets head) const = 0;
    virtual void startMember() = 0;
    /** Decompresses from `in` into `out`; does neither only if `in` is empty. */
    virtual Step decompress(Octets in, std::span<std::uint8_t> out) = 0;

  private:
    /** False at the end of the file, or where what follows is no member. */
    bool enterMember() {
        Octets const head = source_.peek(longestMagic);
        if (!startsMember(head)) {
            std::uint64_t trailing = 0;
            for (Octets in = head; !in.empty(); in = source_.peek(1)) {
                trailing += in.size();
                source_.consume(in.size());
            }
            end(trailing == 0 ? ""
                              : std::to_string(trailing) + " octets after the " + form_ +
                                    " data are not " + form_);
            return false;
        }
        startMember();
        inMember_ = true;
        return true;
    }

    void end(std::string damage) {
        damage_ = std::move(damage);
        ended_ = true;
    }

    std::string form_;
    bool inMember_ = false;
    bool ended_ = false;
};

/** zlib's and libbz2's counters are `unsigned int`: more than that is not offered at a time. */
unsigned int offered(std::size_t size) {
    return static_cast<unsigned int>(std::min<std::size_t>(size, 1U << 30));
}

class GzipDecoder final : public MemberDecoder {
  public:
    explicit GzipDecoder(InputStream::Source& source)
      : MemberDecoder(source, "gzip") {
        constexpr int gzipWithLargestWindow = 16 + MAX_WBITS;
        if (inflateInit2(&stream_, gzipWithLargestWindow) != Z_OK) {
            throw InputError(source.name() + ": gzip decompression does not start");
        }
    }

    ~GzipDecoder() override { inflateEnd(&stream_); }

  protected:
    [[nodiscard]] bool startsMember(Octets head) const override { return startsGzip(head); }

    void startMember() override { inflateReset(&stream_); }

    Step decompress(Octets in, std::span<std::uint8_t> out) override {
        // zlib is compiled without const for its input; it does not write there.
        stream_.next_in = const_cast<Bytef*>(in.data());
        stream_.avail_in = offered(in.size());
        stream_.next_out = out.data();
        stream_.avail_out = offered(out.size());
        unsigned int const inBefore = stream_.avail_in;
        unsigned int const outBefore = stream_.avail_out;
        int const result = inflate(&stream_, Z_NO_FLUSH);
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
    explicit Bzip2Decoder(InputStream::Source& source)
      : MemberDecoder(source, "bzip2") {}

    ~Bzip2Decoder() override { stop(); }

  protected:
    [[nodiscard]] bool startsMember(Octets head) const override { return startsBzip2(head); }

    void startMember() override {
        stop();
        if (BZ2_bzDecompressInit(&stream_, 0, 0) != BZ_OK) {
            throw InputError(source_.name() + ": bzip2 decompression does not start");
        }
        started_ = true;
    }

    Step decompress(Octets in, std::span<std::uint8_t> out) override {
        // libbz2 speaks of char, and of input that is not const, and writes to its output only.
        stream_.next_in = const_cast<char*>(reinterpret_cast<char const*>(in.data()));
        stream_.avail_in = offered(in.size());
        stream_.next_out = reinterpret_cast<char*>(out.data());
        stream_.avail_out = offered(out.size());
        unsigned int const inBefore = stream_.avail_in;
        unsigned int const outBefore = stream_.avail_out;
        int const result = BZ2_bzDecompress(&stream_);
        Step step = {inBefore - stream_.avail_in, outBefore - stream_.avail_out,
                     result == BZ_STREAM_END, ""};
        if (result != BZ_OK && result != BZ_STREAM_END) {
            step.fault = result == BZ_MEM_ERROR ? "not enough memory" : "incorrect data check";
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

std::unique_ptr<InputStream::Decoder> decoderFor(InputStream::Source& source) {
    Octets const head = source.peek(longestMagic);
    if (startsGzip(head)) {
        return std::make_unique<GzipDecoder>(source);
    }
    if (startsBzip2(head)) {
        return std::make_unique<Bzip2Decoder>(source);
    }
    return std::make_unique<InputStream::Decoder>(source);
}

} // namespace

InputStream::InputStream(std::string const& path)
  : source_(std::make_unique<Source>(path))
  , decoder_(decoderFor(*source_)) {}

InputStream::~InputStream() = default;

std::size_t InputStream::read(std::span<std::uint8_t> out) {
    return decoder_->read(out);
}

std::string const& InputStream::name() const {
    return source_->name();
}

std::string const& InputStream::damage() const {
    return decoder_->damage();
}

std::uint64_t InputStream::sourceOctets() const {
    return source_->octets();
}

std::uint64_t InputStream::sourceSize() const {
    return source_->size();
}

} // namespace BgpCommunities
