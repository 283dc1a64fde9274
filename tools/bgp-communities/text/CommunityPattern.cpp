#include "CommunityPattern.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "ExtendedForms.h"
#include "MemberName.h"
#include "WellKnownCommunities.h"
#include "input/Hex.h"
#include "input/Numbers.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

/// A number, or any number ("*").
struct NumberOrAny {
    std::optional<U32> value;

    [[nodiscard]] bool fits(U32 maximum) const { return !value || *value <= maximum; }
};

namespace {

constexpr std::string_view examples =
    "expected a value such as 64496:300, 64496:*, 64496:1:2, rt:64496:300, soo:192.0.2.1:7, "
    "color:100 or 0x0002fbf00000012c, or a name such as no-export";

std::optional<NumberOrAny> readNumberOrAny(std::string_view text) {
    if (text == "*") {
        return NumberOrAny();
    }
    auto const value = readNumber<U32>(text);
    return value ? std::optional(NumberOrAny{value}) : std::nullopt;
}

/// Parses an AS number: "65536", "1.0" (RFC 5396), or "65536L" for a four-octet one.
std::optional<NumberOrAny> readAsOrAny(std::string_view text) {
    if (text.ends_with('L')) {
        text.remove_suffix(1);
    }
    std::size_t const dot = text.find('.');
    if (dot == std::string_view::npos) {
        return readNumberOrAny(text);
    }
    auto const high = readNumber<U32>(text.substr(0, dot)),
               low = readNumber<U32>(text.substr(dot + 1));
    if (!high || !low || *high > 0xffff || *low > 0xffff) {
        return std::nullopt;
    }
    return NumberOrAny{*high << 16 | *low};
}

/// Returns the normalized name before the first colon, with synonyms replaced.
std::string formName(std::string_view text) {
    struct Synonym {
        std::string_view typed, name;
    };
    static constexpr Synonym synonyms[] = {
        {"target", "rt"},           {"route-target", "rt"},
        {"route-target-as", "rt"},  {"route-target-as4", "rt"},
        {"route-target-ip", "rt"},  {"ro", "soo"},
        {"origin", "soo"},          {"route-origin", "soo"},
        {"route-origin-as", "soo"}, {"route-origin-as4", "soo"},
        {"route-origin-ip", "soo"}, {"site-of-origin", "soo"},
        {"lb", "link-bandwidth"},   {"bandwidth", "link-bandwidth"},
        {"encap", "encapsulation"},
    };
    std::string name = normalizedName(text.substr(0, text.find(':')));
    auto const* const found =
        std::find_if(std::begin(synonyms), std::end(synonyms),
                     [&](Synonym const& synonym) { return synonym.typed == name; });
    return found == std::end(synonyms) ? name : std::string(found->name);
}

/// Whether the text may be one of the library's for extended communities, which differ from the
/// program's names.
bool mayBePrinted(std::string_view text) {
    constexpr std::string_view beginnings[] = {
        "<",          "Color:CO(",          "lbw ",           "TunnelEncap:",
        "tunnelType", "Link-Bandwidth-AS:", "DefaultGateway", "Origin-Validation-State:"};
    if (std::any_of(std::begin(beginnings), std::end(beginnings),
                    [text](std::string_view start) { return text.starts_with(start); })) {
        return true;
    }
    // Type and subtype in hexadecimal: "0005-AS:64496:1", "0306:0x00 ...".
    constexpr std::string_view digits = "0123456789abcdefABCDEF";
    std::size_t const end = text.find_first_not_of(digits);
    return end == 4 &&
           (text.substr(end).starts_with("-AS") || text.substr(end).starts_with("-IP") ||
            text.substr(end).starts_with("(NT)") || text.substr(end).starts_with(":0x"));
}

} // namespace

/// Adds alternatives to a pattern. Each function returns whether the text has its form.
class CommunityPattern::Builder {
  public:
    explicit Builder(CommunityPattern& pattern)
      : pattern_(pattern) {}

    bool octets(std::string_view text) {
        std::string digits(text.starts_with("0x") || text.starts_with("0X") ? text.substr(2)
                                                                            : text);
        if (digits.size() + 2 == text.size()) {
            std::erase(digits, ':');
        }
        std::vector<U8> octets;
        if (!readHex(digits, octets).empty()) {
            return false;
        }
        for (std::size_t kind = 0; kind < communityKinds; ++kind) {
            if (communityKindTraits[kind].memberOctets == octets.size()) {
                begin(static_cast<CommunityKind>(kind));
                for (U8 const octet : octets) {
                    put(1, {octet});
                }
                return true;
            }
        }
        return false;
    }

    /// "A:B".
    bool pair(std::string_view text) {
        std::size_t const colon = text.find(':');
        if (colon == std::string_view::npos) {
            return false;
        }
        std::string_view const first = text.substr(0, colon), second = text.substr(colon + 1);
        auto const as = readAsOrAny(first), number = readNumberOrAny(second);
        std::size_t const before = pattern_.alternatives_.size();
        if (as && number && as->fits(0xffff) && number->fits(0xffff)) {
            begin(CommunityKind::standard);
            put(2, *as);
            put(2, *number);
        }
        for (U32 const type : {0x00U, 0x01U, 0x02U, 0x40U, 0x41U, 0x42U}) {
            auto const layout = static_cast<ExtendedLayout>(type & 0x3f);
            administered({{type}, {}}, layout, text);
        }
        return pattern_.alternatives_.size() != before;
    }

    /// "A:B:C" or "large:A:B:C".
    bool triple(std::string_view text) {
        constexpr std::string_view prefix = "large:";
        text.remove_prefix(text.starts_with(prefix) ? prefix.size() : 0);
        std::size_t const first = text.find(':'), last = text.rfind(':');
        if (first == last) {
            return false;
        }
        auto const as = readAsOrAny(text.substr(0, first));
        auto const data1 = readNumberOrAny(text.substr(first + 1, last - first - 1));
        auto const data2 = readNumberOrAny(text.substr(last + 1));
        if (!as || !data1 || !data2) {
            return false;
        }
        begin(CommunityKind::large);
        put(4, *as);
        put(4, *data1);
        put(4, *data2);
        return true;
    }

    /// "ADDRESS:NUMBER", of one type and subtype or of any.
    bool ip6(NumberOrAny type, std::string_view text) {
        std::size_t const colon = std::min(text.rfind(':'), text.size());
        IpAddress const address = readIpAddress(text.substr(0, colon));
        auto const number = readNumberOrAny(text.substr(std::min(colon + 1, text.size())));
        if (address.size != 16 || !number || !number->fits(0xffff)) {
            return false;
        }
        begin(CommunityKind::ip6Extended);
        put(2, type);
        for (U8 const octet : address.octets) {
            put(1, {octet});
        }
        put(2, *number);
        return true;
    }

    /// "NAME", "NAME:*" or "NAME:FIELDS".
    bool named(std::string_view text) {
        std::string const name = formName(text);
        std::size_t const colon = std::min(text.find(':'), text.size());
        std::string_view const fields = text.substr(std::min(colon + 1, text.size()));
        bool any = false;
        for (ExtendedForm const& form : extendedForms()) {
            any = (form.name == name && fieldsOf(form, fields)) || any;
        }
        for (Ip6Form const& form : ip6Forms()) {
            if (form.name == name) {
                any = ip6({form.type}, fields) || (isAll(fields) && allOf(form)) || any;
            }
        }
        return any;
    }

  private:
    struct Type {
        NumberOrAny type, subtype;
    };

    static bool isAll(std::string_view fields) { return fields.empty() || fields == "*"; }

    bool allOf(Ip6Form const& form) {
        begin(CommunityKind::ip6Extended);
        put(2, {form.type});
        return true;
    }

    bool fieldsOf(ExtendedForm const& form, std::string_view fields) {
        Type const type = {{form.type}, {form.subtype}};
        if (isAll(fields)) {
            beginExtended(type);
            return true;
        }
        switch (form.layout) {
        case ExtendedLayout::as2:
        case ExtendedLayout::ip4:
        case ExtendedLayout::as4:
            return administered(type, form.layout, fields);
        case ExtendedLayout::color:
            if (auto const number = readNumberOrAny(fields)) {
                return color(type, *number);
            }
            return readNumberOrAny(fields.substr(0, fields.find(','))) &&
                   matchName(type, form, fields);
        default:
            return matchName(type, form, fields);
        }
    }

    /// Matches communities of this form whose name has these fields; "*" at the end matches the
    /// rest.
    bool matchName(Type const& type, ExtendedForm const& form, std::string_view fields) {
        std::string const normalized = normalizedName(fields);
        if (!mayBeginFields(form.layout, normalized)) {
            return false;
        }
        pattern_.name_ = std::string(form.name) + ":" + normalized;
        beginExtended(type);
        return true;
    }

    bool color(Type const& type, NumberOrAny number) {
        beginExtended(type);
        put(2, {});
        put(4, number);
        return true;
    }

    /// "ADMINISTRATOR:NUMBER"; the administrator may be "*".
    bool administered(Type const& type, ExtendedLayout layout, std::string_view fields) {
        std::size_t const colon = std::min(fields.find(':'), fields.size());
        std::string_view const first = fields.substr(0, colon);
        auto const number = readNumberOrAny(fields.substr(std::min(colon + 1, fields.size())));
        U32 const maximum =
            layout == ExtendedLayout::as2 ? std::numeric_limits<U32>::max() : 0xffff;
        std::optional<NumberOrAny> administrator = readAsOrAny(first);
        if (layout == ExtendedLayout::ip4 && first != "*") {
            IpAddress const address = readIpAddress(first);
            administrator = address.size == 4
                                ? std::optional(NumberOrAny{OctetReader(address.octets).u32()})
                                : std::nullopt;
        }
        U32 const highest = layout == ExtendedLayout::as2 ? 0xffff : ~0U;
        if (!administrator || !administrator->fits(highest) || !number || !number->fits(maximum)) {
            return false;
        }
        beginExtended(type);
        put(layout == ExtendedLayout::as2 ? 2 : 4, *administrator);
        put(layout == ExtendedLayout::as2 ? 4 : 2, *number);
        return true;
    }

    void beginExtended(Type const& type) {
        begin(CommunityKind::extended);
        put(1, type.type);
        put(1, type.subtype);
    }

    void begin(CommunityKind kind) {
        pattern_.alternatives_.push_back({kind, {}, {}});
        at_ = 0;
    }

    /// Appends octets to the alternative.
    void put(std::size_t octets, NumberOrAny const& number) {
        Alternative& alternative = pattern_.alternatives_.back();
        for (std::size_t left = octets; left-- > 0; ++at_) {
            alternative.value[at_] = static_cast<U8>(number.value.value_or(0) >> 8 * left);
            alternative.mask[at_] = number.value ? 0xff : 0;
        }
    }

    CommunityPattern& pattern_;
    std::size_t at_ = 0;
};

std::string CommunityPattern::read(std::string_view text) {
    // The program prints a well-known community as value and name.
    std::size_t const space = text.find(' ');
    if (space != std::string_view::npos && wellKnownCommunity(text.substr(space + 1))) {
        text = text.substr(0, space);
    }
    Builder add(*this);
    if (auto const community = wellKnownCommunity(text)) {
        std::array<U8, 4> octets{};
        for (std::size_t at = 0; at < octets.size(); ++at) {
            octets[at] = static_cast<U8>(*community >> (24 - 8 * at));
        }
        std::string digits;
        appendHex(digits, octets);
        add.octets(digits);
    } else if (mayBePrinted(text)) {
        printed_ = text;
    } else if (!add.octets(text) && !add.named(text) && !add.ip6({}, text) && !add.triple(text) &&
               !add.pair(text)) {
        return "not a community: " + std::string(examples);
    }
    return {};
}

bool CommunityPattern::Alternative::covers(Octets member) const {
    for (std::size_t at = 0; at < member.size(); ++at) {
        if ((member[at] & mask[at]) != value[at]) {
            return false;
        }
    }
    return true;
}

bool CommunityPattern::covers(CommunityKind kind, Octets member) const {
    bool const any = std::any_of(alternatives_.begin(), alternatives_.end(),
                                 [&](Alternative const& alternative) {
                                     return alternative.kind == kind && alternative.covers(member);
                                 });
    if (!any || name_.empty()) {
        return any;
    }
    std::string name;
    appendMemberName(name, kind, member);
    std::string_view const wanted = name_;
    return wanted.ends_with('*') ? name.starts_with(wanted.substr(0, wanted.size() - 1))
                                 : name == wanted;
}

} // namespace BgpCommunities
