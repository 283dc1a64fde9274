#pragma once

#include <Acl/CommunityValue.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <cstddef>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// The communities and lists used by the benches; the same in every run.
namespace Bench {

using Mox::U16;
using Mox::U32;
using Mox::U64;
using Mox::U8;
using Routing::Bgp::ExtCommContent;
using Routing::Bgp::ExtCommIp6Content;

/// Kinds of extended communities, by type and subtype octets.
enum class Kind : U16 {
    /// An object of the base class.
    plain = 0x06ff,
    /// Typed, not observed.
    routeOrigin = 0x0003,
    /// Typed, and announced to observers of route targets.
    routeTarget = 0x0002,
};

/// Returns community number `number` of a kind. Communities with different numbers below 2^48
/// differ.
inline ExtCommContent content(Kind kind, U64 number) {
    constexpr U64 odd = 0x9e37'79b9'7f4b;
    constexpr U64 low48 = (U64{1} << 48) - 1;
    return ExtCommContent(static_cast<U64>(kind) << 48 | (number * odd & low48));
}

/// Returns the communities of a kind with consecutive numbers, starting at `first`.
std::vector<ExtCommContent> contents(Kind kind, std::size_t count, U64 first = 0);

/// Lists of equal length, stored consecutively in one array.
template <class Member>
class Lists {
  public:
    Lists() = default;

    Lists(std::size_t membersEach, std::vector<Member> members)
      : membersEach_(membersEach)
      , count_(members.size() / membersEach)
      , members_(std::move(members)) {}

    std::size_t size() const noexcept { return count_; }
    std::vector<Member> const& members() const noexcept { return members_; }

    std::span<Member const> operator[](std::size_t list) const noexcept {
        return {members_.data() + list * membersEach_, membersEach_};
    }

  private:
    std::size_t membersEach_ = 1;
    std::size_t count_ = 0;
    std::vector<Member> members_;
};

/// A power of two of samples, used cyclically by the operations.
template <class Samples>
class Cycle {
  public:
    Cycle() = default;

    explicit Cycle(Samples samples)
      : samples_(std::move(samples))
      , mask_(samples_.size() - 1) {}

    decltype(auto) operator[](std::size_t i) const noexcept { return samples_[i & mask_]; }

  private:
    Samples samples_;
    std::size_t mask_ = 0;
};

using ContentCycle = Cycle<std::vector<ExtCommContent>>;

template <class Member>
using ListCycle = Cycle<Lists<Member>>;

/// Random numbers below `count`. Their number is a power of two near `count`, large enough to
/// defeat branch prediction, and at most 2^20.
std::vector<std::size_t> draws(std::size_t count);

/// Random draws from the contents.
ContentCycle drawContents(std::span<ExtCommContent const> contents);

/// The default number of lists in the table.
inline constexpr std::size_t listsHeld = 10'000;

/// Appends the next list of a random series. Extended lists have half route targets and half route
/// origins, or one route target. There are about 16,000 communities of each kind.
template <class Member>
std::vector<Member> nextList(std::mt19937_64& random, std::size_t members);

/// Returns lists of a series. Lists of different series differ, unless they are very short.
template <class Member>
Lists<Member> lists(std::size_t membersEach, std::size_t count, unsigned series = 0) {
    std::mt19937_64 random(series);
    std::vector<Member> members;
    members.reserve(membersEach * count);
    for (std::size_t list = 0; list < count; ++list) {
        auto const next = nextList<Member>(random, membersEach);
        members.insert(members.end(), next.begin(), next.end());
    }
    return {membersEach, std::move(members)};
}

/// Returns lists that are in no other series.
template <class Member>
Lists<Member> freshLists(std::size_t membersEach) {
    return lists<Member>(membersEach, 1 << 16, 1);
}

/// Random draws from the lists.
template <class Member>
Lists<Member> drawLists(Lists<Member> const& lists) {
    std::vector<Member> members;
    for (auto const number : draws(lists.size())) {
        members.insert(members.end(), lists[number].begin(), lists[number].end());
    }
    return {lists[0].size(), std::move(members)};
}

/// Appends the octets of a community as in a path attribute.
void appendOctets(std::string& out, U32 value);
void appendOctets(std::string& out, Acl::CommunityValue const& value);
void appendOctets(std::string& out, ExtCommContent const& value);
void appendOctets(std::string& out, ExtCommIp6Content const& value);

template <class Member>
std::string octets(std::span<Member const> members) {
    std::string out;
    for (auto const& member : members) {
        appendOctets(out, member);
    }
    return out;
}

} // namespace Bench
