#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "Decoder.h"
#include "IntegerTypes.h"

namespace BgpCommunities {

/// Decompresses bzip2 in several threads; the blocks of a member are independent.
///
///     member: "BZh" level | blocks, not aligned to octets | end magic (48 bits) | checksum (32),
/// pad block:  block magic (48 bits) | checksum (32) | ...
///
/// A block has no length field; it ends before the next block magic or end magic. The 48 bits of a
/// magic may also occur inside a block. The input is therefore split before each magic, and each
/// piece is decoded as a member of its own. A piece that fails to decode is decoded again in the
/// calling thread, from its first bit and without a known end: libbz2 stops at the real end of the
/// block, and splitting resumes there. Output, order and error reports are the same as with a
/// single decompressor.
///
/// Owns its threads and starts the first one at the second block. Memory is bounded: a few
/// compressed blocks per thread, and the first decompressed octets of each. Thread-compatible.
class Bzip2Blocks final : public MemberDecoder {
  public:
    Bzip2Blocks(InputSource& source, unsigned threads);
    ~Bzip2Blocks() override;

    std::size_t read(std::span<U8> out) override;

  private:
    class Block;

    /// A piece of the input.
    struct Piece {
        enum class Kind : U8 { block, memberEnd, truncated, damaged, trailing };

        Kind kind = Kind::block;
        U8 level = 0;                 // of the member, from its header
        U64 bit = 0;                  // start of the piece in the source
        U32 checksum = 0;             // of the block, or of the member
        std::shared_ptr<Block> block; // null if its end was not found
    };

    // Not called: this class iterates over members itself.
    [[nodiscard]] bool startsMember(Octets head) const override { return startsBzip2(head); }

    void startMember() override {}

    Step decompress(Octets /*in*/, std::span<U8> /*out*/) override { return {}; }

    void splitMore();
    void splitOne();
    void enterMember(U64 octet);
    void push(Piece::Kind kind, U64 bit, U32 checksum = 0);
    void pushBlock(U64 bit, std::optional<U64> end);
    [[nodiscard]] std::vector<U8> makeMember(U64 begin, U64 end) const;
    std::optional<U64> findMagic(U64 bit);

    [[nodiscard]] U64 bitsRead() const { return (rawOffset_ + raw_.size()) * 8; }
    bool ensure(U64 bit);
    [[nodiscard]] U64 bits(U64 bit, unsigned count) const;
    [[nodiscard]] bool isMagic(U64 bit) const;
    void dropBefore(U64 bit);

    bool nextPiece();
    void finishBlock();
    void await(std::shared_ptr<Block> const& block);
    std::shared_ptr<Block> decodeAgain(Piece const& piece);
    void resumeSplitting(U64 blockEnd);
    void startThread();
    void work();

    unsigned const maxThreads_;

    std::vector<U8> raw_;        // from the first unfinished piece on
    U64 rawOffset_ = 0;          // of raw_[0] in the source
    U64 nextBit_ = 0;            // start of the next piece, at a magic
    bool splitEnded_ = false;    // no more pieces
    U8 level_ = 0;               // of the member that is being split
    std::exception_ptr failure_; // of the source; thrown after the last piece

    std::deque<Piece> pieces_; // in order
    Piece current_;            // the block that is being read
    U32 memberChecksum_ = 0;

    std::mutex mutex_; // guards the members below and the state of each block
    std::condition_variable changed_;
    std::deque<std::shared_ptr<Block>> waiting_; // not decoded yet
    bool stop_ = false;
    std::vector<std::jthread> threads_; // last: the threads use the members above
};

} // namespace BgpCommunities
