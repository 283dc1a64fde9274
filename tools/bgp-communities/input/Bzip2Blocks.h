#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "Decoder.h"

namespace BgpCommunities {

/**
 * Decodes bzip2 by several threads: the blocks of a member are independent.
 *
 *     member: "BZh" level | blocks, not aligned to octets | end magic (48 bits) | checksum (32),
 * pad block:  block magic (48 bits) | checksum (32) | ...
 *
 * Nothing says where a block ends, but the next one's magic, or that of the end, follows. The 48
 * bits of a magic may also occur inside of a block. So the input is cut before each magic, each
 * piece is decoded as if it were a member of its own, and one that does not decode is decoded
 * again, in the calling thread, from its first bit without an end: libbz2 stops where the block
 * really ends, and cutting starts again there. Output, order and reports are those of one
 * decompressor.
 *
 * Owns its threads, which exist from the second block on. Memory is bounded: a few blocks for each
 * thread, compressed, and the first octets of each, decompressed. Thread-compatible.
 */
class Bzip2Blocks final : public MemberDecoder {
  public:
    Bzip2Blocks(InputSource& source, unsigned threads);
    ~Bzip2Blocks() override;

    std::size_t read(std::span<std::uint8_t> out) override;

  private:
    class Block;

    /** What the input is cut into. */
    struct Piece {
        enum class Kind : std::uint8_t { block, memberEnd, truncated, damaged, trailing };

        Kind kind = Kind::block;
        std::uint8_t level = 0;       // of the member, as in its header
        std::uint64_t bit = 0;        // where it begins, from the beginning of the source
        std::uint32_t checksum = 0;   // of the block, or of the member
        std::shared_ptr<Block> block; // null if no end of it was found
    };

    // Not called: this class walks from member to member itself.
    [[nodiscard]] bool startsMember(Octets head) const override { return startsBzip2(head); }

    void startMember() override {}

    Step decompress(Octets /*in*/, std::span<std::uint8_t> /*out*/) override { return {}; }

    void cutMore();
    void cutOne();
    void enterMember(std::uint64_t octet);
    void push(Piece::Kind kind, std::uint64_t bit, std::uint32_t checksum = 0);
    void pushBlock(std::uint64_t bit, std::optional<std::uint64_t> end);
    [[nodiscard]] std::vector<std::uint8_t> memberOf(std::uint64_t begin, std::uint64_t end) const;
    std::optional<std::uint64_t> findMagic(std::uint64_t bit);

    [[nodiscard]] std::uint64_t bitsHeld() const { return (rawOffset_ + raw_.size()) * 8; }
    bool hold(std::uint64_t bit);
    [[nodiscard]] std::uint64_t bits(std::uint64_t bit, unsigned count) const;
    [[nodiscard]] bool isMagic(std::uint64_t bit) const;
    void dropBefore(std::uint64_t bit);

    bool nextPiece();
    void finishBlock();
    void await(std::shared_ptr<Block> const& block);
    std::shared_ptr<Block> decodeAgain(Piece const& piece);
    void resumeCutting(std::uint64_t blockEnd);
    void startThread();
    void work();

    unsigned const maxThreads_;

    std::vector<std::uint8_t> raw_; // from the first piece that is not finished
    std::uint64_t rawOffset_ = 0;   // of raw_[0] in the source
    std::uint64_t cutBit_ = 0;      // where the next piece begins, with a magic
    bool cutEnded_ = false;         // no piece is left to cut
    std::uint8_t level_ = 0;        // of the member that is being cut
    std::exception_ptr failure_;    // of the source; thrown after the last piece

    std::deque<Piece> pieces_; // in order
    Piece current_;            // the block that is being handed out
    std::uint32_t memberChecksum_ = 0;

    std::mutex mutex_; // guards what follows, and the state of each block
    std::condition_variable changed_;
    std::deque<std::shared_ptr<Block>> waiting_; // to be decoded
    bool stop_ = false;
    std::vector<std::jthread> threads_; // last, as they use the rest
};

} // namespace BgpCommunities
