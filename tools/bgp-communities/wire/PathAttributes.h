#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// The four path attributes that carry communities, in the order of their type numbers.
enum class CommunityKind : U8 {
    standard,    // RFC 1997
    extended,    // RFC 4360
    ip6Extended, // RFC 5701
    large,       // RFC 8092
};

inline constexpr std::size_t communityKinds = 4;

/// The properties of a kind.
struct CommunityKindTraits {
    U8 attributeType;
    std::size_t memberOctets;
    std::string_view key;   // on the command line and in JSON
    std::string_view words; // in texts
};

inline constexpr std::array<CommunityKindTraits, communityKinds> communityKindTraits = {{
    {8, 4, "standard", "standard"},
    {16, 8, "extended", "extended"},
    {25, 20, "ipv6", "IPv6 extended"},
    {32, 12, "large", "large"},
}};

constexpr CommunityKindTraits const& traitsOf(CommunityKind kind) {
    return communityKindTraits[static_cast<std::size_t>(kind)];
}

/// The kind of communities in attributes of this type, if any.
constexpr std::optional<CommunityKind> communityKind(U8 type) {
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        if (communityKindTraits[kind].attributeType == type) {
            return static_cast<CommunityKind>(kind);
        }
    }
    return std::nullopt;
}

/// A path attribute that carries communities. `value` points into the input and is not owned.
struct CommunityAttribute {
    enum class Form : U8 {
        wellFormed, // a non-zero multiple of the member's size
        empty,      // no octets
        malformed,  // not a multiple of the member's size
    };

    CommunityKind kind = CommunityKind::standard;
    U32 repetition = 0; // how many attributes of this type precede it
    Octets value;       // without flags, type and length

    [[nodiscard]] Form form() const {
        if (value.empty()) {
            return Form::empty;
        }
        return members() * traitsOf(kind).memberOctets == value.size() ? Form::wellFormed
                                                                       : Form::malformed;
    }

    [[nodiscard]] std::size_t members() const { return value.size() / traitsOf(kind).memberOctets; }
};

/// One path attribute (RFC 4271, section 4.3); `value` as in CommunityAttribute.
struct PathAttribute {
    U8 flags = 0;
    U8 type = 0;
    Octets value;
};

/// Iterates over the path attributes of one UPDATE or RIB entry.
///
///     flags (1) | type (1) | length (1, or 2 if flags & 0x10) | value      RFC 4271, section 4.3
///
/// Stops at the end of the area, or at a truncated attribute, which `fault()` then reports. Owns
/// nothing. Thread-compatible.
class PathAttributeReader {
  public:
    explicit PathAttributeReader(Octets area)
      : in_(area) {}

    /// Reads the next attribute; returns false at the end or on a fault. On a fault `attribute` has
    /// what is left of it; its type is 0 if that is missing.
    bool next(PathAttribute& attribute);

    /// After `next()` returned false: the fault; empty at the end of the area.
    [[nodiscard]] std::string const& fault() const { return fault_; }

  private:
    OctetReader in_;
    std::string fault_;
};

/// The communities and the multiprotocol routes (RFC 4760) of one attribute area.
///
/// Reused for every area; memory is bounded by the largest one. Points into the input.
/// Thread-compatible.
struct AttributeArea {
    static constexpr U8 mpReachType = 14;
    static constexpr U8 mpUnreachType = 15;

    std::vector<CommunityAttribute> communities; // in the order sent
    std::optional<Octets> mpReach;               // the first of its type
    std::optional<Octets> mpUnreach;
    bool repeatedMultiprotocol = false; // duplicates, forbidden by RFC 7606
    std::string fault;                  // see PathAttributeReader::fault()

    void read(Octets area);

  private:
    void keepMultiprotocol(std::optional<Octets>& kept, Octets value);
};

} // namespace BgpCommunities
