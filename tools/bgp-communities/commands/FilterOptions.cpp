#include "FilterOptions.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include <Routing/RouteMap/PosixRegex.h>

#include "input/Numbers.h"
#include "text/CommunityPattern.h"
#include "text/WellKnownCommunities.h"

namespace BgpCommunities {

namespace {

using Relation = RouteFilter::PrefixChoice::Relation;
using Routing::RouteMap::PosixRegex;

UsageError wrongValue(std::string_view option, std::string_view value, std::string_view reason) {
    std::string text(option);
    text.append(": \"").append(value).append("\": ").append(reason);
    return UsageError(text);
}

std::shared_ptr<PosixRegex const> regex(std::string_view option, std::string_view typed,
                                        std::string const& pattern) try {
    return std::make_shared<PosixRegex const>(Mox::String(pattern));
} catch (Routing::RouteMap::PosixRegexException const& error) {
    throw wrongValue(option, typed, error.what());
}

CommunityKind kind(std::string_view name) {
    auto const found = std::find_if(communityKindTraits.begin(), communityKindTraits.end(),
                                    [&](auto const& traits) { return traits.key == name; });
    if (found == communityKindTraits.end()) {
        throw wrongValue(kindOption, name, "expected standard, extended, ipv6 or large");
    }
    return static_cast<CommunityKind>(found - communityKindTraits.begin());
}

/// "64496" or "AS64496".
std::optional<U32> readAs(std::string_view text) {
    bool const named = normalizedName(text.substr(0, 2)) == "as";
    return readNumber<U32>(named ? text.substr(2) : text);
}

/// Parses "192.0.2.1", "AS64496", or both, as printed by `read`.
RouteFilter::PeerChoice peer(std::string_view text) {
    RouteFilter::PeerChoice choice;
    std::size_t const space = text.find(' ');
    choice.address = readIpAddress(text.substr(0, space));
    bool const addressed = choice.address.size != 0;
    if (!addressed || space != std::string_view::npos) {
        choice.as = readAs(addressed ? text.substr(space + 1) : text);
        if (!choice.as) {
            throw wrongValue(peerOption, text, "expected an address or an AS number");
        }
    }
    return choice;
}

/// Returns the number for a name, or the parsed number.
template <class Number>
std::optional<Number> named(std::span<std::pair<std::string_view, Number> const> names,
                            std::string_view text) {
    auto const found =
        std::find_if(names.begin(), names.end(), [&](auto& name) { return name.first == text; });
    return found != names.end() ? std::optional(found->second) : readNumber<Number>(text);
}

/// "ipv6", "IPv6 unicast", "ipv4-vpn", "vpnv4", "l2vpn-evpn", "evpn", "25/70".
RouteFilter::FamilyChoice family(std::string_view text) {
    static constexpr std::pair<std::string_view, U16> families[] = {
        {"ipv4", afiIpv4}, {"ipv6", afiIpv6}, {"l2vpn", 25}, {"bgp-ls", 16388}};
    static constexpr std::pair<std::string_view, U8> subsequent[] = {
        {"unicast", safiUnicast},   {"multicast", safiMulticast},
        {"labelled", safiLabelled}, {"labeled", safiLabelled},
        {"vpn", safiVpn},           {"vpls", U8{65}},
        {"evpn", U8{70}},           {"rtc", U8{132}},
        {"flowspec", U8{133}}};
    static constexpr std::pair<std::string_view, std::string_view> synonyms[] = {
        {"evpn", "l2vpn-evpn"},
        {"vpls", "l2vpn-vpls"},
        {"vpnv4", "ipv4-vpn"},
        {"vpnv6", "ipv6-vpn"}};
    std::string name = normalizedName(text);
    for (auto const& [typed, full] : synonyms) {
        name = name == typed ? full : name;
    }
    std::size_t const end = name.starts_with("bgp-ls") ? 6 : name.find_first_of(" -/");
    auto const afi = named<U16>(families, std::string_view(name).substr(0, end));
    std::optional<U8> safi;
    bool known = afi.has_value();
    if (end < name.size()) {
        safi = named<U8>(subsequent, std::string_view(name).substr(end + 1));
        known = known && safi;
    }
    if (!known) {
        throw wrongValue(
            familyOption, text,
            "not a family: expected ipv4, ipv6-unicast, ipv4-vpn, l2vpn-evpn or 25/70");
    }
    return {*afi, safi};
}

Microseconds time(std::string_view option, std::string_view text) {
    Microseconds time = 0;
    if (auto const fault = readTime(text, time); !fault.empty()) {
        throw wrongValue(option, text, fault);
    }
    return time;
}

/// The length of the bracket expression (POSIX, XBD 9.3.5) at the start of `text`: "[]_]",
/// "[^[:digit:]_]"; the whole text if it is not terminated.
std::size_t bracketLength(std::string_view text) {
    std::size_t at = text.substr(1, 1) == "^" ? 2 : 1;
    at += text.substr(std::min(at, text.size()), 1) == "]" ? 1 : 0; // a member, not the end
    while (at < text.size() && text[at] != ']') {
        bool const isClass = text[at] == '[' && at + 1 < text.size() &&
                             std::string_view(".:=").find(text[at + 1]) != std::string_view::npos;
        if (isClass) {
            char const end[] = {text[at + 1], ']'};
            at = text.find(std::string_view(end, sizeof end), at + 2);
            at = at == std::string_view::npos ? text.size() : at + sizeof end;
        } else {
            ++at;
        }
    }
    return std::min(at + 1, text.size());
}

/// Translates an expression for AS paths. As in router configurations, "_" matches the start, the
/// end or a delimiter of the AS path, except in a bracket expression and after a backslash. Its
/// group would change the numbers of back-references, which are refused.
std::string pathPattern(std::string_view const whole) {
    std::string_view typed = whole;
    std::string pattern;
    while (!typed.empty()) {
        std::size_t const length = typed[0] == '['    ? bracketLength(typed)
                                   : typed[0] == '\\' ? std::min<std::size_t>(2, typed.size())
                                                      : 1;
        if (typed[0] == '\\' && length == 2 && typed[1] >= '1' && typed[1] <= '9') {
            throw wrongValue(asPathOption, whole, "back-references are not supported");
        }
        pattern += typed[0] == '_' ? "(^|$|[] ,{}()[])" : typed.substr(0, length);
        typed.remove_prefix(length);
    }
    return pattern;
}

void addCondition(RouteFilter& filter, RouteFilter::Condition condition) {
    if (filter.conditions() == RouteFilter::maxConditions) {
        throw UsageError("more than 64 conditions: " + std::string(matchOption) + " and " +
                         std::string(communityOption));
    }
    filter.addCondition(std::move(condition));
}

void addCommunities(RouteFilter& filter, Arguments const& arguments) {
    for (std::string_view const name : arguments.values(kindOption)) {
        filter.addKind(kind(name));
    }
    for (std::string_view const pattern : arguments.values(matchOption)) {
        addCondition(filter, [regex = regex(matchOption, pattern, std::string(pattern))](
                                 AttributeDecoder& list) { return list.matches(*regex); });
    }
    for (std::string_view const name : arguments.values(communityOption)) {
        CommunityPattern pattern;
        if (auto const fault = pattern.read(name); !fault.empty()) {
            throw wrongValue(communityOption, name, fault);
        }
        addCondition(filter, [pattern](AttributeDecoder& list) { return list.contains(pattern); });
    }
}

void addPrefixes(RouteFilter& filter, Arguments const& arguments) {
    for (auto const& [option, relation] :
         {std::pair(prefixOption, Relation::within), std::pair(exactOption, Relation::exact),
          std::pair(coversOption, Relation::covers)}) {
        for (std::string_view const text : arguments.values(option)) {
            Prefix prefix;
            prefix.address = readIpAddress(text);
            prefix.length = static_cast<U8>(prefix.address.size * 8);
            bool const isAddress = relation == Relation::covers && prefix.address.size != 0;
            if (auto const fault = isAddress ? std::string_view() : readPrefix(text, prefix);
                !fault.empty()) {
                throw wrongValue(option, text, fault);
            }
            filter.addPrefix({relation, prefix});
        }
    }
}

void addPaths(RouteFilter& filter, Arguments const& arguments) {
    for (std::string_view const text : arguments.values(originAsOption)) {
        auto const as = readAs(text);
        if (!as) {
            throw wrongValue(originAsOption, text, "not an AS number");
        }
        filter.addOriginAs(*as);
    }
    for (std::string_view const typed : arguments.values(asPathOption)) {
        filter.addPathCondition(
            [regex = regex(asPathOption, typed, pathPattern(typed))](std::string const& path) {
                return regex->matches(path.c_str());
            });
    }
}

} // namespace

RouteFilter routeFilter(Arguments const& arguments) {
    RouteFilter filter;
    addCommunities(filter, arguments);
    addPrefixes(filter, arguments);
    addPaths(filter, arguments);
    for (std::string_view const text : arguments.values(peerOption)) {
        filter.addPeer(peer(text));
    }
    for (std::string_view const text : arguments.values(familyOption)) {
        filter.addFamily(family(text));
    }
    if (auto const text = arguments.value(sinceOption)) {
        filter.setSince(time(sinceOption, *text));
    }
    if (auto const text = arguments.value(untilOption)) {
        filter.setUntil(time(untilOption, *text));
    }
    bool const announced = arguments.has(announcedOption);
    bool const withdrawn = arguments.has(withdrawnOption);
    if (announced != withdrawn) {
        filter.setDirection(announced ? RouteFilter::Direction::announced
                                      : RouteFilter::Direction::withdrawn);
    }
    return filter;
}

} // namespace BgpCommunities
