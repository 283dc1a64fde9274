#include "Bzip2Blocks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include <bzlib.h>

namespace BgpCommunities {

namespace {

constexpr U64 blockMagic = 0x314159265359;
constexpr U64 endMagic = 0x177245385090;
constexpr unsigned magicBits = 48;
constexpr unsigned checksumBits = 32;
constexpr std::string_view wrongData = "incorrect data check";

/// 900,000 symbols of at most 20 bits, and their tables.
constexpr U64 maxBlockBits = U64{8} * (5U << 19);

/// How much of a block a thread decodes in advance; most blocks fit. A block of runs can expand to
/// 46 MB.
constexpr std::size_t firstOctets = 1U << 20;

/// Indexed by the sixth of the last eight octets read: the bit set of shifts (0 to 7 bits before
/// the end of the eighth) at which a magic may end. The sixth octet is inside the magic at every
/// shift.
constexpr std::array<U8, 256> magicShifts = [] {
    std::array<U8, 256> shifts{};
    for (U64 const magic : {blockMagic, endMagic}) {
        for (unsigned shift = 0; shift < 8; ++shift) {
            auto& entry = shifts[(magic << shift >> 16) & 0xff];
            entry = static_cast<U8>(entry | 1U << shift);
        }
    }
    return shifts;
}();

constexpr U64 lowBits(U64 value, unsigned count) {
    return value & ((U64{1} << count) - 1);
}

} // namespace

/// One block, decoded as a member of its own, or octet by octet if its end is unknown.
///
/// Thread-compatible; `state` is guarded by the mutex of the decoder.
class Bzip2Blocks::Block {
  public:
    enum class State : U8 { waiting, running, done };

    State state = State::waiting;

    explicit Block(std::vector<U8> member)
      : in_(std::move(member)) {}

    ~Block() { stop(); }

    Block(Block const&) = delete;
    Block& operator=(Block const&) = delete;

    /// Decodes the first octets of the block, or none on any error, also lack of memory.
    void decode() noexcept {
        try {
            start();
            offer(in_);
            fill();
        } catch (std::exception const&) {
            fail();
        }
        if (damaged_) {
            filled_ = 0;
        }
    }

    /// Feeds one octet of a block whose end is unknown. Returns false when the block is complete or
    /// damaged.
    bool feed(U8 octet) {
        if (!open_) {
            open_ = true;
            start();
        }
        in_.assign(1, octet);
        offer(in_);
        fill();
        return filled_ == 0 && !damaged_;
    }

    /// Reads decoded octets into `out`; returns how many, 0 at the end.
    std::size_t read(std::span<U8> out) {
        if (taken_ < filled_) {
            std::size_t const count = std::min(out.size(), filled_ - taken_);
            std::copy_n(out_.begin() + static_cast<std::ptrdiff_t>(taken_), count, out.begin());
            taken_ += count;
            return count;
        }
        return started_ ? step(out) : 0;
    }

    /// After `read()` returned 0: the block is damaged, or ends before its piece does.
    [[nodiscard]] bool damaged() const { return damaged_; }

  private:
    void start() {
        if (BZ2_bzDecompressInit(&stream_, 0, 0) != BZ_OK) {
            throw std::bad_alloc();
        }
        started_ = true;
    }

    void stop() {
        if (std::exchange(started_, false)) {
            BZ2_bzDecompressEnd(&stream_);
        }
    }

    void fail() {
        damaged_ = true;
        stop();
    }

    void offer(std::vector<U8>& in) {
        stream_.next_in = reinterpret_cast<char*>(in.data());
        stream_.avail_in = static_cast<unsigned int>(in.size());
    }

    void fill() {
        for (std::size_t more = 1; more != 0 && started_ && filled_ < firstOctets;
             filled_ += more) {
            if (filled_ == out_.size()) {
                out_.resize(std::clamp<std::size_t>(4 * filled_, 16 * 1024, firstOctets));
            }
            more = step(std::span(out_).subspan(filled_));
        }
    }

    std::size_t step(std::span<U8> out) {
        stream_.next_out = reinterpret_cast<char*>(out.data());
        stream_.avail_out = static_cast<unsigned int>(out.size());
        int const result = BZ2_bzDecompress(&stream_);
        if (result == BZ_MEM_ERROR) {
            throw std::bad_alloc();
        }
        std::size_t const got = out.size() - stream_.avail_out;
        if (result == BZ_STREAM_END) {
            stop();
        } else if (result != BZ_OK || (got == 0 && !open_)) {
            fail();
        }
        return got;
    }

    bz_stream stream_ = {};
    bool started_ = false;
    bool open_ = false;
    bool damaged_ = false;
    std::vector<U8> in_;
    std::vector<U8> out_;
    std::size_t filled_ = 0; // of out_
    std::size_t taken_ = 0;
};

Bzip2Blocks::Bzip2Blocks(InputSource& source, unsigned threads)
  : MemberDecoder(source, "bzip2")
  , maxThreads_(threads) {
    enterMember(0);
}

Bzip2Blocks::~Bzip2Blocks() {
    std::lock_guard const lock(mutex_);
    stop_ = true;
    changed_.notify_all();
}

std::size_t Bzip2Blocks::read(std::span<U8> out) {
    while (!ended()) {
        if (current_.block) {
            if (std::size_t const got = current_.block->read(out)) {
                return got;
            }
            finishBlock();
        } else if (!nextPiece()) {
            end();
        }
    }
    return 0;
}

void Bzip2Blocks::finishBlock() {
    if (current_.block->damaged()) {
        reportDamage((nextBit_ + 7) / 8, wrongData);
    }
    memberChecksum_ = std::rotl(memberChecksum_, 1) ^ current_.checksum;
    current_.block.reset();
}

/// Takes the next piece; returns false after the last one.
bool Bzip2Blocks::nextPiece() {
    splitMore();
    if (pieces_.empty()) {
        if (failure_) {
            std::rethrow_exception(std::exchange(failure_, nullptr));
        }
        return false;
    }
    Piece piece = std::move(pieces_.front());
    pieces_.pop_front();
    dropBefore(piece.bit);
    switch (piece.kind) {
    case Piece::Kind::block:
        await(piece.block);
        if (!piece.block || piece.block->damaged()) {
            piece.block = decodeAgain(piece);
        }
        current_ = std::move(piece);
        break;
    case Piece::Kind::memberEnd:
        if (piece.checksum != std::exchange(memberChecksum_, 0)) {
            reportDamage((piece.bit + magicBits + checksumBits) / 8, wrongData);
        }
        break;
    case Piece::Kind::truncated:
        reportTruncation();
        break;
    case Piece::Kind::damaged:
        reportDamage((piece.bit + 7) / 8, wrongData);
        break;
    case Piece::Kind::trailing:
        reportTrailing(bitsRead() / 8 - piece.bit / 8);
        break;
    }
    return true;
}

/// Waits until the block is decoded; decodes it here if no thread has started on it.
void Bzip2Blocks::await(std::shared_ptr<Block> const& block) {
    if (!block) {
        return;
    }
    std::unique_lock lock(mutex_);
    if (block->state == Block::State::waiting) {
        std::erase(waiting_, block);
        lock.unlock();
        block->decode();
        return;
    }
    changed_.wait(lock, [&] { return block->state == Block::State::done; });
}

/// Decodes a block whose end was not found or was wrong, and resumes splitting at its real end.
std::shared_ptr<Bzip2Blocks::Block> Bzip2Blocks::decodeAgain(Piece const& piece) {
    auto block = std::make_shared<Block>(std::vector<U8>());
    for (U8 const octet : {U8{'B'}, U8{'Z'}, U8{'h'}, piece.level}) {
        block->feed(octet);
    }
    U64 bit = piece.bit;
    for (bool more = true; more; bit += 8) {
        if (!ensure(bit + 8)) {
            auto const left = static_cast<unsigned>(bitsRead() - std::min(bit, bitsRead()));
            bool const undecided =
                left == 0 || block->feed(static_cast<U8>(bits(bit, left) << (8 - left)));
            pieces_.clear();
            splitEnded_ = true;
            push(Piece::Kind::truncated, bit);
            return undecided ? std::make_shared<Block>(std::vector<U8>()) : block;
        }
        more = block->feed(static_cast<U8>(bits(bit, 8)));
    }
    if (block->damaged()) {
        nextBit_ = bit;
    } else {
        level_ = piece.level;
        resumeSplitting(bit);
    }
    return block;
}

/// Resumes after a block that ends in the octet before `blockEnd`.
void Bzip2Blocks::resumeSplitting(U64 blockEnd) {
    pieces_.clear();
    {
        std::lock_guard const lock(mutex_);
        waiting_.clear();
    }
    for (nextBit_ = blockEnd - 7; nextBit_ <= blockEnd; ++nextBit_) {
        if (!ensure(nextBit_ + magicBits)) {
            push(Piece::Kind::truncated, nextBit_);
            splitEnded_ = true;
            return;
        }
        if (isMagic(nextBit_)) {
            splitEnded_ = false;
            return;
        }
    }
    push(Piece::Kind::damaged, blockEnd);
    splitEnded_ = true;
}

void Bzip2Blocks::splitMore() try {
    while (!splitEnded_ && pieces_.size() < std::size_t{2} * maxThreads_) {
        splitOne();
    }
} catch (InputError const&) {
    splitEnded_ = true;
    failure_ = std::current_exception();
}

void Bzip2Blocks::splitOne() {
    U64 const begin = nextBit_;
    bool const whole = ensure(begin + magicBits + checksumBits);
    if (bits(begin, magicBits) == blockMagic) {
        auto const end = whole ? findMagic(begin + magicBits + checksumBits) : std::nullopt;
        pushBlock(begin, end);
        nextBit_ = end.value_or(begin);
        splitEnded_ = !end;
    } else if (whole) {
        auto const checksum = static_cast<U32>(bits(begin + magicBits, checksumBits));
        push(Piece::Kind::memberEnd, begin, checksum);
        enterMember((begin + magicBits + checksumBits + 7) / 8);
    } else {
        push(Piece::Kind::truncated, begin);
        splitEnded_ = true;
    }
}

/// Starts to split the member at `octet`; ends the splitting if there is no member.
void Bzip2Blocks::enterMember(U64 octet) {
    nextBit_ = (octet + 4) * 8;
    bool const whole = ensure((octet + longestMagic) * 8);
    Octets const held = Octets(raw_).subspan(octet - rawOffset_);
    Octets const head = held.first(std::min(held.size(), longestMagic));
    splitEnded_ = !whole || !startsBzip2(head);
    if (head.size() >= 3 && startsBzip2(head)) {
        if (whole) {
            level_ = head[3];
        } else {
            push(Piece::Kind::truncated, octet * 8);
        }
    } else if (!head.empty()) {
        push(Piece::Kind::trailing, octet * 8);
    }
}

void Bzip2Blocks::push(Piece::Kind kind, U64 bit, U32 checksum) {
    pieces_.push_back({kind, level_, bit, checksum, nullptr});
}

void Bzip2Blocks::pushBlock(U64 bit, std::optional<U64> end) {
    push(Piece::Kind::block, bit, static_cast<U32>(bits(bit + magicBits, checksumBits)));
    if (!end) {
        return;
    }
    auto const block = std::make_shared<Block>(makeMember(bit, *end));
    pieces_.back().block = block;
    if (pieces_.size() > 1) {
        startThread();
    }
    std::lock_guard const lock(mutex_);
    waiting_.push_back(block);
    changed_.notify_all();
}

/// Returns the bits as a member of their own, with a header, an end magic and a checksum.
std::vector<U8> Bzip2Blocks::makeMember(U64 begin, U64 end) const {
    std::vector<U8> member;
    member.reserve((end - begin) / 8 + 20);
    member.assign({'B', 'Z', 'h', level_});
    unsigned const shift = begin % 8;
    U8 const* at = raw_.data() + (begin / 8 - rawOffset_);
    for (U64 octet = (end - begin) / 8; octet != 0; --octet, ++at) {
        member.push_back(shift == 0 ? *at : static_cast<U8>(at[0] << shift | at[1] >> (8 - shift)));
    }
    // The last bits of the block, the end magic and the checksum, followed by padding.
    unsigned count = (end - begin) % 8;
    U64 pending = bits(end - count, count);
    auto const append = [&](U64 value, unsigned more) {
        while (more-- != 0) {
            pending = pending << 1 | (value >> more & 1);
            if (++count == 8) {
                member.push_back(static_cast<U8>(pending));
                count = 0;
            }
        }
    };
    append(endMagic, magicBits);
    append(bits(begin + magicBits, checksumBits), checksumBits);
    append(0, 7);
    return member;
}

/// Finds the first magic at or after `bit`, within the longest possible block.
std::optional<U64> Bzip2Blocks::findMagic(U64 bit) {
    U64 const last = bit + maxBlockBits;
    U64 window = 0; // the last eight octets
    for (U64 octet = bit / 8; octet * 8 < last && ensure(octet * 8 + 8); ++octet) {
        window = window << 8 | raw_[octet - rawOffset_];
        if (U8 const shifts = magicShifts[window >> 16 & 0xff]; shifts != 0) {
            for (unsigned shift = 8; shift-- > 0;) {
                U64 const value = lowBits(window >> shift, magicBits);
                U64 const begin = octet * 8 + 8 - shift - magicBits;
                if ((value == blockMagic || value == endMagic) && begin >= bit) {
                    return begin;
                }
            }
        }
    }
    return std::nullopt;
}

/// Reads the source up to `bit`; returns false if it ends before.
bool Bzip2Blocks::ensure(U64 bit) {
    while (bitsRead() < bit) {
        Octets const more = source_.peek(1);
        if (more.empty()) {
            return false;
        }
        raw_.insert(raw_.end(), more.begin(), more.end());
        source_.consume(more.size());
    }
    return true;
}

/// Returns `count` bits, at most 57; bits that are not in the buffer are zero.
U64 Bzip2Blocks::bits(U64 bit, unsigned count) const {
    U64 window = 0;
    std::size_t const first = bit / 8 - rawOffset_;
    for (std::size_t at = first; at < first + 8; ++at) {
        window = window << 8 | (at < raw_.size() ? raw_[at] : 0U);
    }
    return count == 0 ? 0 : window << bit % 8 >> (64 - count);
}

bool Bzip2Blocks::isMagic(U64 bit) const {
    U64 const value = bits(bit, magicBits);
    return value == blockMagic || value == endMagic;
}

void Bzip2Blocks::dropBefore(U64 bit) {
    U64 const octets = bit / 8 - rawOffset_;
    raw_.erase(raw_.begin(), raw_.begin() + static_cast<std::ptrdiff_t>(octets));
    rawOffset_ += octets;
}

/// Starts another thread, up to the limit. If that fails, the other threads or the caller decode
/// the blocks.
void Bzip2Blocks::startThread() {
    if (threads_.size() < maxThreads_) {
        try {
            threads_.emplace_back(&Bzip2Blocks::work, this);
        } catch (std::system_error const&) {
        }
    }
}

void Bzip2Blocks::work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return stop_ || !waiting_.empty(); });
        if (stop_) {
            return;
        }
        auto const block = std::move(waiting_.front());
        waiting_.pop_front();
        block->state = Block::State::running;
        lock.unlock();
        block->decode();
        lock.lock();
        block->state = Block::State::done;
        changed_.notify_all();
    }
}

} // namespace BgpCommunities
