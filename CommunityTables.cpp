#include <VoBgp/CommunityTables.h>

#include "VoBgpMemberOctets.h"

#include <Kel/DedupHandle.h>
#include <Mox/Hash.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

namespace Routing::Bgp {

namespace {

using Octets = std::span<std::byte const>;

constexpr std::size_t maximumOctets = 0xffff;

AttributeVerdict lengthVerdict(std::size_t octets, std::size_t memberOctets) noexcept {
    return octets == 0                  ? AttributeVerdict::empty
           : octets > maximumOctets     ? AttributeVerdict::tooLong
           : octets % memberOctets != 0 ? AttributeVerdict::badLength
                                        : AttributeVerdict::accepted;
}

/// The value with sorted and distinct members: the value itself if they already are, otherwise a
/// copy.
template <class Content>
class CanonicalOctets {
  public:
    explicit CanonicalOctets(Octets value)
      : octets_(value) {
        if (!ascend()) {
            sortCopy();
        }
    }
    CanonicalOctets(CanonicalOctets const&) = delete;
    CanonicalOctets& operator=(CanonicalOctets const&) = delete;

    Octets octets() const noexcept { return octets_; }

  private:
    static constexpr std::size_t memberOctets = MemberOctets<Content>::count;
    using Member = std::array<std::byte, memberOctets>;

    bool ascend() const noexcept {
        for (std::size_t at = memberOctets; at < octets_.size(); at += memberOctets) {
            auto const* const member = octets_.data() + at;
            if (!MemberOctets<Content>::less(member - memberOctets, member)) {
                return false;
            }
        }
        return true;
    }

    void sortCopy() {
        auto* copy = local_.data();
        if (octets_.size() > local_.size()) {
            large_ = std::make_unique_for_overwrite<std::byte[]>(octets_.size());
            copy = large_.get();
        }
        std::memcpy(copy, octets_.data(), octets_.size());
        auto* const first = reinterpret_cast<Member*>(copy);
        auto* const last = first + octets_.size() / memberOctets;
        std::sort(first, last, [](Member const& a, Member const& b) {
            return MemberOctets<Content>::less(a.data(), b.data());
        });
        octets_ = {copy, static_cast<std::size_t>(std::unique(first, last) - first) * memberOctets};
    }

    Octets octets_;
    std::unique_ptr<std::byte[]> large_;
    std::array<std::byte, 1024> local_;
};

/// Checks the limits of a list on the members of one class: at most one, and not transitive. See
/// `ExtCommList::serializableCommunities()`.
template <class List>
AttributeVerdict classVerdict(List const& list, ExtCommClassification classification,
                              AttributeVerdict several, AttributeVerdict transitive) {
    auto const isOne = [&](auto const& comm) { return comm->classification() == classification; };
    auto const one = std::find_if(list.begin(), list.end(), isOne);
    if (one == list.end()) {
        return AttributeVerdict::accepted;
    }
    if (std::find_if(one + 1, list.end(), isOne) != list.end()) {
        return several;
    }
    return (*one)->transitive() ? transitive : AttributeVerdict::accepted;
}

AttributeVerdict membersVerdict(ExtCommList const& list, ExtCommClassCounts const& counts) {
    if (!counts.has(extCommClassificationLinkBandwidth) &&
        !counts.has(extCommClassificationOriginValidationState)) {
        return AttributeVerdict::accepted;
    }
    auto const verdict = classVerdict(list, extCommClassificationLinkBandwidth,
                                      AttributeVerdict::severalLinkBandwidths,
                                      AttributeVerdict::transitiveLinkBandwidth);
    return verdict != AttributeVerdict::accepted
               ? verdict
               : classVerdict(list, extCommClassificationOriginValidationState,
                              AttributeVerdict::severalOriginValidationStates,
                              AttributeVerdict::transitiveOriginValidationState);
}

/// These lists have no such limits.
AttributeVerdict membersVerdict(ExtCommIp6List const& /*list*/,
                                ExtCommClassCounts const& /*counts*/) {
    return AttributeVerdict::accepted;
}

ExtComm::PtrConst interned(ExtCommDedupTable const& table, U64 content) {
    return ExtComm::dedupContent(&table, ExtCommContent(content));
}

ExtCommIp6::PtrConst interned(ExtCommIp6DedupTable const& table, ExtCommIp6Content const& content) {
    return ExtCommIp6::dedupContent(&table, content);
}

} // namespace

/// Finds a list by its octets, or creates it with `make(octets, miss)` from sorted and distinct
/// octets after a look-up has missed.
struct CommunityTables::Decoder {
    /// Whether lists of the table cannot be found by their members.
    template <class Table>
    static bool identifiesNone(Table const& table) noexcept {
        if constexpr (requires { table.classificationTableReplaced(); }) {
            return table.classificationTableReplaced();
        }
        return false;
    }

    /// Null does not mean that the list is missing: probes only its most likely slots.
    template <class List, class Table>
    static Mox::PtrConst<List> findFast(Table const& table, Octets octets) {
        if (identifiesNone(table)) [[unlikely]] {
            return nullptr;
        }
        auto const* const taken = table.dedupTable()->takeFast(
            Mox::keyedHash(octets), [octets](Kel::DedupHandle const& candidate) {
                return static_cast<List const&>(candidate).decodesFrom(octets);
            });
        return Mox::PtrConst<List>::adopt(static_cast<List const*>(taken));
    }

    /// If the list is not found, an equal one may still be in the table: one that is not identified
    /// by its octets. Then `miss` records nothing.
    template <class List, class Table>
    static Mox::PtrConst<List> findSlowly(Table const& table, Octets octets, Kel::DedupMiss& miss) {
        if (identifiesNone(table)) [[unlikely]] {
            return nullptr;
        }
        auto const unknown = miss;
        bool undecided = false;
        auto found = table.dedupTable()->findSlowly(miss, [&](Kel::DedupHandle const& candidate) {
            auto const& list = static_cast<List const&>(candidate);
            undecided |= !list.isIdentifiedByOctets();
            return list.decodesFrom(octets);
        });
        if (undecided) {
            miss = unknown;
        }
        return Mox::staticPtrCast<List const>(std::move(found));
    }

    template <class Content, class List, class Table, class Make>
    [[gnu::noinline]] static DecodedList<List> missed(Table const& table, Octets value,
                                                      Make const& make) {
        auto const verdict = lengthVerdict(value.size(), MemberOctets<Content>::count);
        if (verdict != AttributeVerdict::accepted) {
            return {nullptr, verdict};
        }
        CanonicalOctets<Content> const canonical(value);
        Kel::DedupMiss miss(Mox::keyedHash(canonical.octets()));
        if (auto list = findSlowly<List>(table, canonical.octets(), miss)) {
            return {std::move(list), AttributeVerdict::accepted};
        }
        return make(canonical.octets(), miss);
    }

    template <class Content, class List, class Table, class Make>
    static DecodedList<List> decode(Table const& table, Octets value, Make const& make) {
        // Empty lists, and lists too long for an attribute, may be interned but must not be found
        // here.
        if (value.size() - 1 < maximumOctets) [[likely]] {
            if (auto list = findFast<List>(table, value)) {
                return {std::move(list), AttributeVerdict::accepted};
            }
        }
        return missed<Content, List>(table, value, make);
    }

    /// Decodes a list of plain values.
    template <class Content, class List, class Table>
    static DecodedList<List> values(Table const& table, Octets value) {
        auto const make = [&table](Octets octets, Kel::DedupMiss const& miss) -> DecodedList<List> {
            auto list = Mox::makeActive<List>();
            list->fillSorted(octets, MemberOctets<Content>::load);
            auto result = table.dedupTable()->dedup(std::move(list), miss);
            return {Mox::staticPtrCast<List const>(std::move(result)), AttributeVerdict::accepted};
        };
        return decode<Content, List>(table, value, make);
    }

    /// Decodes a list of interned communities. Octets alone do not identify such a list: its
    /// members may be other objects with the same octets, rebuilt from a store or interned in
    /// another table. So only lists created here are found by their octets.
    template <class Content, class List, class Table, class CommTable>
    static DecodedList<List> communities(Table const& table, CommTable const& comms, Octets value) {
        auto const make = [&](Octets octets, Kel::DedupMiss const& miss) -> DecodedList<List> {
            auto const list = Mox::makeActive<List>();
            list->fillSorted(octets, [&comms](std::byte const* from) {
                return interned(comms, MemberOctets<Content>::load(from));
            });
            auto const counts = list->classCounts();
            auto const verdict = membersVerdict(*list, counts);
            if (verdict != AttributeVerdict::accepted) {
                return {nullptr, verdict};
            }
            auto result = identifiesNone(table) ? list->dedup(&table)
                                                : list->insertMissed(table, counts, miss);
            result->identifiedByOctetsIs();
            return {std::move(result), AttributeVerdict::accepted};
        };
        return decode<Content, List>(table, value, make);
    }
};

CommunityTables::CommunityTables()
  : parsing_(bgpParseExtCommContainerSmFactory())
  , extComms_(extCommDedupTableFactory(parsing_->extCommParser()))
  , extCommIp6s_(extCommIp6DedupTableFactory(parsing_->extCommParser()))
  , commLists_(commListDedupTableFactory())
  , extCommLists_(extCommListDedupTableFactory())
  , extCommIp6Lists_(extCommIp6ListDedupTableFactory())
  , largeCommLists_(largeCommListDedupTableFactory()) {}

CommunityTables::~CommunityTables() = default;

DecodedList<CommList> CommunityTables::commList(Octets value) const {
    return Decoder::values<U32, CommList>(*commLists_, value);
}

DecodedList<ExtCommList> CommunityTables::extCommList(Octets value) const {
    return Decoder::communities<U64, ExtCommList>(*extCommLists_, *extComms_, value);
}

DecodedList<ExtCommIp6List> CommunityTables::extCommIp6List(Octets value) const {
    return Decoder::communities<ExtCommIp6Content, ExtCommIp6List>(*extCommIp6Lists_, *extCommIp6s_,
                                                                   value);
}

DecodedList<LargeCommList> CommunityTables::largeCommList(Octets value) const {
    return Decoder::values<Acl::CommunityValue, LargeCommList>(*largeCommLists_, value);
}

} // namespace Routing::Bgp
