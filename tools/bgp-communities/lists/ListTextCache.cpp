#include "ListTextCache.h"

#include "input/Hex.h"
#include "text/MemberName.h"
#include "text/Utf8.h"

namespace BgpCommunities {

void ListTextCache::make(Octets value, ListText& result) {
    result.text.clear();
    result.notes.clear();
    result.fault = decoder_->decode(value);
    appendText(result.text, value, result.fault);
    if (result.fault.empty()) {
        appendNotes(result.notes, value);
        result.met = filter_.conditionsMetBy(*decoder_);
    }
    decoder_->release();
}

void ListTextCache::appendText(std::string& out, Octets value, std::string_view fault) {
    if (format_ == RouteFormat::json) {
        JsonWriter json(out);
        decoder_->writeJson(json, value, fault, detail_);
    } else if (!fault.empty()) {
        out += '!';
        appendHex(out, value);
        out.append(" (").append(fault).append(")");
    } else if (format_ == RouteFormat::text) {
        decoder_->appendList(out);
    } else {
        appendMemberNames(out, decoder_->kind(), value);
    }
}

/// For text, appends the names that the library's text does not show, and all meanings; for TSV,
/// where members are names, only meanings.
void ListTextCache::appendNotes(std::string& out, Octets value) const {
    CommunityKind const kind = decoder_->kind();
    std::size_t const size = traitsOf(kind).memberOctets;
    if (format_ == RouteFormat::json) {
        return;
    }
    for (std::size_t at = 0; at + size <= value.size(); at += size) {
        Octets const member = value.subspan(at, size);
        auto const meaning = dictionary_.meaning(kind, member);
        bool const named = format_ == RouteFormat::text && !isNamedByLibrary(kind, member);
        if (named || !meaning.empty()) {
            out += out.empty() ? "" : "; ";
            appendMemberName(out, kind, member);
        }
        if (!meaning.empty()) {
            out += '=';
            appendMeaning(out, meaning);
        }
    }
}

/// Doubles backslashes in TSV, because programs that load it interpret them as escapes.
void ListTextCache::appendMeaning(std::string& out, std::string_view meaning) const {
    for (char const character : masked(meaning)) {
        out.append(character == '\\' && format_ == RouteFormat::tsv ? 2 : 1, character);
    }
}

} // namespace BgpCommunities
