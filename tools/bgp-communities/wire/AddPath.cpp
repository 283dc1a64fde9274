#include "AddPath.h"

#include <algorithm>
#include <utility>

#include "PathAttributes.h"

namespace BgpCommunities {

namespace {

// Limits on the state for one dump, far above what real dumps need.
constexpr std::size_t maxSpeakers = 8192;
constexpr std::size_t maxFamilies = 64;
constexpr std::size_t maxPiecesKept = 256; // between messages: there may be a decider for each peer

constexpr U8 capabilities = 2;       // optional parameter, RFC 5492
constexpr U8 addPathCapability = 69; // RFC 7911, section 4
constexpr U8 extendedLength = 255;   // RFC 9072

template <class Entries>
auto findFamily(Entries& entries, Family family) {
    return std::find_if(entries.begin(), entries.end(),
                        [&](auto const& entry) { return entry.family == family; });
}

/// Calls `take` with the value of every ADD-PATH capability of an OPEN; false if the OPEN is
/// malformed.
///
/// version (1) | AS (2) | hold time (2) | identifier (4) | length (1) | parameters, each:
/// type (1) | length (1, or 2 with RFC 9072) | capabilities, each: code (1) | length (1) | value
template <class Take>
bool forEachAddPath(Octets open, Take const& take) {
    OctetReader in(open);
    in.octets(9);
    std::size_t length = in.u8();
    OctetReader look = in;
    bool const extended = length == extendedLength && look.u8() == extendedLength;
    if (extended) {
        in.u8();
        length = in.u16();
    }
    OctetReader parameters(in.octets(length));
    while (parameters.ok() && !parameters.empty()) {
        U8 const type = parameters.u8();
        OctetReader value(parameters.octets(extended ? parameters.u16() : parameters.u8()));
        while (type == capabilities && value.ok() && !value.empty()) {
            U8 const code = value.u8();
            Octets const octets = value.octets(value.u8());
            if (code == addPathCapability) {
                take(octets);
            }
        }
        if (!value.ok()) {
            return false;
        }
    }
    return parameters.ok() && in.ok();
}

/// Whether the prefix is plausible: a default route, or unicast addresses that are in use.
bool isLikely(Route const& route) {
    auto const& octets = route.address.octets;
    bool const knownDistinguisher =
        route.family.safi != safiVpn || (route.distinguisher[0] == 0 && route.distinguisher[1] < 3);
    if (route.trailingBits || !knownDistinguisher) {
        return false;
    }
    if (route.length < 8) {
        return route.length == 0 || octets[0] < 0xe0;
    }
    if (route.family.afi == afiIpv4) {
        return octets[0] != 0 && octets[0] != 127 && octets[0] < 224;
    }
    // 2000::/3, fc00::/7, and 64:ff9b::/32 (RFC 6052).
    return octets[0] >> 5 == 1 || octets[0] >> 1 == 0xfc >> 1 ||
           (octets[0] == 0 && octets[1] == 0x64 && octets[2] == 0xff);
}

/// Whether a default route with a large path identifier may be a longer prefix without one, whose
/// last octet is zero.
bool mayBeLongerPrefix(Route const& route) {
    return route.length == 0 && route.hasPathId && route.pathId >> 24 != 0;
}

} // namespace

PathIds AddPathDecider::decide(MessageEnds const& ends, BgpMessage const& message, bool recorded) {
    if (mode_ != AddPath::automatic) {
        bool const all = mode_ == AddPath::yes;
        return {all, all, all};
    }
    if (message.type == BgpMessage::open && message.whole) {
        learnOffers(ends, message.body);
    }
    return message.type == BgpMessage::update ? decideUpdate(ends, message.body, recorded)
                                              : PathIds();
}

PathIds AddPathDecider::decideUpdate(MessageEnds const& ends, Octets update, bool recorded) {
    PathIds decision = {recorded, recorded, recorded};
    splitFields(update, decision);
    for (std::size_t at = 0; at < fields_.size(); ++at) {
        Family const family = fields_[at].family;
        auto const sameFamily = [&](Field const& field) { return field.family == family; };
        auto const here = fields_.begin() + static_cast<std::ptrdiff_t>(at);
        if (std::none_of(fields_.begin(), here, sameFamily)) {
            bool const pathIds = decideFamily(ends, family, recorded);
            for (auto field = here; field != fields_.end(); ++field) {
                *field->pathIds = sameFamily(*field) ? pathIds : *field->pathIds;
            }
        }
    }
    if (pieces_.capacity() > maxPiecesKept) {
        std::vector<Octets>().swap(pieces_);
    }
    return decision;
}

/// Sets `fields_` to the fields of the UPDATE that contain prefixes.
void AddPathDecider::splitFields(Octets update, PathIds& decision) {
    fields_.clear();
    UpdateAreas areas;
    if (!splitUpdate(update, areas)) {
        return;
    }
    auto const add = [&](Field const& field) {
        if (!field.nlri.empty() && hasPrefixes(field.family)) {
            fields_.push_back(field);
        }
    };
    add({ipv4Unicast, areas.withdrawn, true, &decision.ipv4});
    add({ipv4Unicast, areas.announced, false, &decision.ipv4});
    bool hasReach = false, hasUnreach = false; // only the first of each type is read
    PathAttributeReader attributes(areas.attributes);
    for (PathAttribute attribute; attributes.next(attribute);) {
        MpNlri mp;
        if (attribute.type == AttributeArea::mpReachType && !hasReach) {
            hasReach = true;
            if (splitMpReach(attribute.value, mp)) {
                add({mp.family, mp.nlri, false, &decision.mpReach});
            }
        } else if (attribute.type == AttributeArea::mpUnreachType && !hasUnreach) {
            hasUnreach = true;
            if (splitMpUnreach(attribute.value, mp)) {
                add({mp.family, mp.nlri, true, &decision.mpUnreach});
            }
        }
    }
}

bool AddPathDecider::decideFamily(MessageEnds const& ends, Family family, bool recorded) {
    auto const byOpens = decideByOpens(ends, family);
    if (byOpens && (!*byOpens || opens_ == Opens::binding)) {
        return *byOpens;
    }
    auto const known = speakers_.find(ends);
    auto const before = known == speakers_.end() ? std::nullopt : observed(known->second, family);
    bool const expected = before.value_or(byOpens.value_or(recorded));
    Reading const asExpected = read(family, expected);
    if (before && asExpected != Reading::impossible) {
        return expected;
    }
    Reading const otherwise = read(family, !expected);
    bool const better = before ? otherwise == Reading::plausible : otherwise > asExpected;
    bool const pathIds = better ? !expected : expected;
    if (std::max(asExpected, otherwise) == Reading::plausible &&
        std::min(asExpected, otherwise) == Reading::impossible) {
        addObservation(speaker(ends), family, pathIds);
    }
    return pathIds;
}

/// Returns the least plausible reading of the family's fields.
AddPathDecider::Reading AddPathDecider::read(Family family, bool pathIds) {
    Reading worst = Reading::plausible;
    for (Field const& field : fields_) {
        if (field.family == family && worst != Reading::impossible) {
            worst = std::min(worst, read(field, pathIds));
        }
    }
    return worst;
}

AddPathDecider::Reading AddPathDecider::read(Field const& field, bool pathIds) {
    pieces_.clear();
    Reading reading = Reading::plausible;
    OctetReader in(field.nlri);
    Route route;
    while (!in.empty()) {
        std::size_t const before = in.left();
        if (!readRoute(in, {field.family, pathIds, field.withdrawn}, route).empty()) {
            return Reading::impossible;
        }
        pieces_.push_back(field.nlri.last(before).first(before - in.left()));
        bool const isSuspect = opens_ == Opens::evidence && mayBeLongerPrefix(route);
        reading = isLikely(route) && !isSuspect ? reading : Reading::doubtful;
    }
    auto const less = [](Octets a, Octets b) { return std::ranges::lexicographical_compare(a, b); };
    std::sort(pieces_.begin(), pieces_.end(), less);
    auto const twice = std::adjacent_find(pieces_.begin(), pieces_.end(), [](Octets a, Octets b) {
        return std::ranges::equal(a, b);
    });
    return twice == pieces_.end() ? reading : std::min(reading, Reading::doubtful);
}

std::optional<bool> AddPathDecider::decideByOpens(MessageEnds const& ends, Family family) const {
    auto const offer = [&](MessageEnds const& of) -> std::optional<Speaker::Offer> {
        auto const found = speakers_.find(of);
        if (found == speakers_.end() || !found->second.hasOpen) {
            return std::nullopt;
        }
        auto const entry = findFamily(found->second.offers, family);
        return entry == found->second.offers.end() ? Speaker::Offer{family} : *entry;
    };
    auto const sender = offer(ends);
    auto const receiver = offer({ends.receiver, ends.sender});
    if ((sender && !sender->sends) || (receiver && !receiver->receives)) {
        return false;
    }
    return sender && receiver ? std::optional(true) : std::nullopt;
}

/// Capability value: entries of AFI (2) | SAFI (1) | mode (1): 1 receive, 2 send, 3 both. RFC 7911,
/// section 4
void AddPathDecider::learnOffers(MessageEnds const& ends, Octets open) {
    Speaker of;
    of.hasOpen = true;
    bool const wellFormed = forEachAddPath(open, [&](Octets value) {
        OctetReader in(value);
        while (in.left() >= 4 && of.offers.size() < maxFamilies) {
            Family const family = {in.u16(), in.u8()};
            U8 const mode = in.u8();
            if (mode >= 1 && mode <= 3 && findFamily(of.offers, family) == of.offers.end()) {
                of.offers.push_back({family, (mode & 2) != 0, (mode & 1) != 0});
            }
        }
    });
    if (wellFormed) {
        speaker(ends) = std::move(of);
    }
}

void AddPathDecider::endSession(MessageEnds const& ends) {
    speakers_.erase(ends);
    speakers_.erase({ends.receiver, ends.sender});
}

AddPathDecider::Speaker& AddPathDecider::speaker(MessageEnds const& ends) {
    if (speakers_.size() >= maxSpeakers && speakers_.find(ends) == speakers_.end()) {
        speakers_.clear();
    }
    return speakers_[ends];
}

void AddPathDecider::addObservation(Speaker& speaker, Family family, bool pathIds) {
    if (auto const found = findFamily(speaker.observations, family);
        found != speaker.observations.end()) {
        found->pathIds = pathIds;
    } else if (speaker.observations.size() < maxFamilies) {
        speaker.observations.push_back({family, pathIds});
    }
}

std::optional<bool> AddPathDecider::observed(Speaker const& speaker, Family family) {
    auto const found = findFamily(speaker.observations, family);
    return found == speaker.observations.end() ? std::nullopt : std::optional(found->pathIds);
}

} // namespace BgpCommunities
