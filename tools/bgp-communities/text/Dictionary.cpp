#include "Dictionary.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "input/InputStream.h"
#include "input/LineReader.h"
#include "input/Numbers.h"

namespace BgpCommunities {

namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    std::size_t const begin = std::min(text.find_first_not_of(blanks), text.size());
    return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

/// Takes the text before the next colon, and the colon.
std::string_view takeField(std::string_view& text) {
    std::size_t const colon = std::min(text.find(':'), text.size());
    std::string_view const field = text.substr(0, colon);
    text.remove_prefix(std::min(colon + 1, text.size()));
    return field;
}

/// Whether the digits match: 'x' matches one digit, a run of 'n' one or more.
bool matches(std::string_view pattern, std::string_view digits) {
    while (!pattern.empty() && pattern[0] != 'n') {
        if (digits.empty() || (pattern[0] != 'x' && pattern[0] != digits[0])) {
            return false;
        }
        pattern.remove_prefix(1);
        digits.remove_prefix(1);
    }
    if (pattern.empty()) {
        return digits.empty();
    }
    pattern.remove_prefix(std::min(pattern.find_first_not_of('n'), pattern.size()));
    for (std::size_t taken = 1; taken <= digits.size(); ++taken) {
        if (matches(pattern, digits.substr(taken))) {
            return true;
        }
    }
    return false;
}

} // namespace

bool Dictionary::Field::covers(U32 number) const {
    if (digits.empty()) {
        return low <= number && number <= high;
    }
    char text[10];
    auto const end = std::to_chars(text, text + sizeof text, number).ptr;
    return matches(digits, {text, static_cast<std::size_t>(end - text)});
}

bool Dictionary::readField(std::string_view text, Field& field) {
    std::size_t const dash = text.find('-');
    if (dash != std::string_view::npos) {
        auto const low = readNumber<U32>(text.substr(0, dash)),
                   high = readNumber<U32>(text.substr(dash + 1));
        field.low = low.value_or(1);
        field.high = high.value_or(0);
        return low && high && *low <= *high;
    }
    if (auto const number = readNumber<U32>(text)) {
        field.low = field.high = *number;
        return true;
    }
    field.digits = text == "*" ? "n" : std::string(text);
    // No number has more digits. This also bounds the cost of an untrusted pattern.
    return !text.empty() && text.size() <= 10 &&
           field.digits.find_first_not_of("0123456789xn") == std::string::npos;
}

bool Dictionary::isExact(Entry const& entry) {
    return std::all_of(entry.fields.begin(), entry.fields.end(), [](Field const& field) {
        return field.digits.empty() && field.low == field.high;
    });
}

void Dictionary::addEntry(Key const& key, Entry entry) {
    auto& entries = entries_[key.word()];
    auto const place =
        isExact(entry) ? std::find_if_not(entries.begin(), entries.end(), isExact) : entries.end();
    entries.insert(place, std::move(entry));
}

/// Returns why the line is skipped; empty on success.
std::string_view Dictionary::readLine(std::string_view line) {
    std::size_t const comma = line.find(',');
    if (comma == std::string_view::npos) {
        return "no comma between pattern and description";
    }
    std::string_view pattern = trimmed(line.substr(0, comma));
    std::string_view description = trimmed(line.substr(comma + 1));
    if (description.size() >= 2 && description.starts_with('"') && description.ends_with('"')) {
        description = description.substr(1, description.size() - 2);
    }
    if (description.empty()) {
        return "no description";
    }
    Key key;
    std::string_view const first = pattern.substr(0, pattern.find(':'));
    if (first == "rt" || first == "soo") {
        key.kind = CommunityKind::extended;
        key.type = first == "rt" ? 2 : 3;
        takeField(pattern);
    }
    auto const as = readNumber<U32>(takeField(pattern));
    if (!as) {
        return "no AS number before the first colon";
    }
    key.as = *as;
    Entry entry = {{}, std::string(description)};
    while (!pattern.empty()) {
        if (!readField(takeField(pattern), entry.fields.emplace_back())) {
            return "malformed pattern: expected digits, x, n, or a range";
        }
    }
    if (key.kind == CommunityKind::standard && entry.fields.size() == 2) {
        key.kind = CommunityKind::large;
    } else if (entry.fields.size() != 1) {
        return "expected one field after the AS number, or two";
    }
    addEntry(key, std::move(entry));
    return {};
}

void Dictionary::readFile(std::string const& path, Complain const& complain) {
    InputStream input(path);
    LineReader lines(input);
    while (lines.next()) {
        std::string_view const line = trimmed(lines.line());
        if (line.empty() || line[0] == '#') {
            continue;
        }
        std::string_view const fault = lines.isTooLong() ? "too long" : readLine(line);
        if (!fault.empty()) {
            complain(input.name() + ": line " + std::to_string(lines.number()) + ": " +
                     std::string(fault));
        }
    }
    if (!input.damage().empty()) {
        complain(input.name() + ": " + input.damage());
    }
}

void Dictionary::read(std::string const& path, Complain const& complain) {
    std::error_code error;
    if (!std::filesystem::is_directory(path, error)) {
        readFile(path, complain);
        return;
    }
    std::vector<std::string> files;
    std::error_code fileError; // inaccessible files are skipped
    std::filesystem::directory_iterator folder(path, error);
    for (; !error && folder != std::filesystem::directory_iterator(); folder.increment(error)) {
        if (folder->is_regular_file(fileError) &&
            !folder->path().filename().string().starts_with('.')) {
            files.push_back(folder->path().string());
        }
    }
    if (error) {
        throw InputError(path + ": " + error.message());
    }
    std::sort(files.begin(), files.end());
    for (std::string const& file : files) {
        readFile(file, complain);
    }
}

std::string_view Dictionary::meaning(CommunityKind kind, Octets member) const {
    if (entries_.empty()) {
        return {};
    }
    OctetReader in(member);
    Key key = {kind, 0, 0};
    std::vector<U32> fields;
    if (kind == CommunityKind::standard) {
        key.as = in.u16();
        fields = {in.u16()};
    } else if (kind == CommunityKind::large) {
        key.as = in.u32();
        fields = {in.u32(), in.u32()};
    } else if (kind == CommunityKind::extended) {
        U8 const type = in.u8();
        key.type = in.u8();
        bool const isAs2 = type == 0;
        key.as = isAs2 ? in.u16() : in.u32();
        fields = {isAs2 ? in.u32() : in.u16()};
        if (type != 0 && type != 2) {
            return {};
        }
    }
    auto const found = entries_.find(key.word());
    if (found == entries_.end()) {
        return {};
    }
    for (Entry const& entry : found->second) {
        if (std::equal(entry.fields.begin(), entry.fields.end(), fields.begin(), fields.end(),
                       [](Field const& field, U32 number) { return field.covers(number); })) {
            return entry.description;
        }
    }
    return {};
}

} // namespace BgpCommunities
