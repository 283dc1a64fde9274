#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "InputSource.h"
#include "OctetReader.h"

namespace BgpCommunities {

/** Turns the octets of a file into plain ones. This one is for a file that is plain. The source is
    not owned. Thread-compatible. */
class Decoder {
  public:
    explicit Decoder(InputSource& source)
      : source_(source) {}

    virtual ~Decoder() = default;
    Decoder(Decoder const&) = delete;
    Decoder& operator=(Decoder const&) = delete;

    /** As InputStream::read(). */
    virtual std::size_t read(std::span<std::uint8_t> out) { return source_.read(out); }

    /** As InputStream::damage(). */
    [[nodiscard]] std::string const& damage() const { return damage_; }

  protected:
    InputSource& source_;
    std::string damage_;
};

/**
 * Decodes a file of one or more compressed members.
 *
 * The walk from member to member, and the reports about one that is truncated, damaged or followed
 * by something else, are the same for all formats. A format adds how a member is recognised,
 * started and decompressed.
 */
class MemberDecoder : public Decoder {
  public:
    MemberDecoder(InputSource& source, std::string_view format)
      : Decoder(source)
      , format_(format) {}

    std::size_t read(std::span<std::uint8_t> out) override;

  protected:
    struct Step {
        std::size_t consumed;
        std::size_t produced;
        bool memberEnded;
        std::string_view fault; // empty: none
    };

    [[nodiscard]] virtual bool startsMember(Octets head) const = 0;
    virtual void startMember() = 0;

    /** Zeros may follow a member, before the next one or the end: padding. */
    [[nodiscard]] virtual bool mayBePadded() const { return false; }

    /** Decompresses from `in` into `out`; does neither only if `in` is empty. */
    virtual Step decompress(Octets in, std::span<std::uint8_t> out) = 0;

    // The reports: how the input ends if not properly. They set `damage_`.
    void reportDamage(std::uint64_t offset, std::string_view fault);
    void reportTruncation();
    /** Consumes the rest of the source, which follows `more` octets that are no member. */
    void reportTrailing(std::uint64_t more = 0);

    [[nodiscard]] bool ended() const { return ended_; }

    void end() { ended_ = true; }

  private:
    /** False at the end of the file, or where what follows is no member. */
    bool enterMember();
    std::uint64_t skipZeros();

    std::string format_;
    bool inMember_ = false;
    bool ended_ = false;
};

/** The longest head by which a format is recognised, in octets. */
inline constexpr std::size_t longestMagic = 10;

/** `head`, of at most `longestMagic` octets, may be the beginning of a bzip2 member. */
bool startsBzip2(Octets head);

/** The decoder for what the source begins with. `threads`: how many may decompress at a time. */
std::unique_ptr<Decoder> decoderFor(InputSource& source, unsigned threads);

} // namespace BgpCommunities
