#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "InputSource.h"
#include "IntegerTypes.h"
#include "OctetReader.h"

namespace BgpCommunities {

/// Decodes the octets of a file. This base class is for plain files and passes them through. Does
/// not own the source. Thread-compatible.
class Decoder {
  public:
    explicit Decoder(InputSource& source)
      : source_(source) {}

    virtual ~Decoder() = default;
    Decoder(Decoder const&) = delete;
    Decoder& operator=(Decoder const&) = delete;

    /// See InputStream::read().
    virtual std::size_t read(std::span<U8> out) { return source_.read(out); }

    /// See InputStream::damage().
    [[nodiscard]] std::string const& damage() const { return damage_; }

  protected:
    InputSource& source_;
    std::string damage_;
};

/// Decodes a file of one or more compressed members.
///
/// Iterates over the members and reports truncation, damage and trailing data. Derived classes
/// recognise, start and decompress a member of their format.
class MemberDecoder : public Decoder {
  public:
    MemberDecoder(InputSource& source, std::string_view format)
      : Decoder(source)
      , format_(format) {}

    std::size_t read(std::span<U8> out) override;

  protected:
    struct Step {
        std::size_t consumed;
        std::size_t produced;
        bool memberEnded;
        std::string_view fault; // empty if none
    };

    [[nodiscard]] virtual bool startsMember(Octets head) const = 0;
    virtual void startMember() = 0;

    /// Whether members may be followed by zeros as padding.
    [[nodiscard]] virtual bool mayBePadded() const { return false; }

    /// Decompresses from `in` into `out`. Must consume or produce octets unless `in` is empty.
    virtual Step decompress(Octets in, std::span<U8> out) = 0;

    // These report an input that does not end properly: they set `damage_`.
    void reportDamage(U64 offset, std::string_view fault);
    void reportTruncation();
    /// Consumes the rest of the source; `more` octets before it are trailing data as well.
    void reportTrailing(U64 more = 0);

    [[nodiscard]] bool ended() const { return ended_; }

    void end() { ended_ = true; }

  private:
    /// Returns false at the end of the file or at data that are not a member.
    bool enterMember();
    U64 skipZeros();

    std::string format_;
    bool inMember_ = false;
    bool ended_ = false;
};

/// How many octets are needed to recognise any format.
inline constexpr std::size_t longestMagic = 10;

/// Whether `head`, of at most `longestMagic` octets, may be the start of a bzip2 member.
bool startsBzip2(Octets head);

/// Returns a decoder for the format that the source starts with, using at most `threads` threads.
std::unique_ptr<Decoder> decoderFor(InputSource& source, unsigned threads);

} // namespace BgpCommunities
