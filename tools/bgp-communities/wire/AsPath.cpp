#include "AsPath.h"

#include <algorithm>
#include <array>
#include <limits>

#include "input/Numbers.h"

namespace BgpCommunities {

namespace {

using Type = AsPathSegment::Type;

bool isOfConfederation(Type type) {
    return type == Type::confedSequence || type == Type::confedSet;
}

bool isSequence(Type type) {
    return type == Type::sequence || type == Type::confedSequence;
}

U32 takeNumber(OctetReader& in, AsWidth width) {
    return width == AsWidth::four ? in.u32() : in.u16();
}

/// Returns the length of a path; none if it is malformed.
std::optional<std::size_t> lengthOf(Octets value, AsWidth width) {
    AsPathReader in(value, width);
    std::size_t length = 0;
    for (AsPathSegment segment; in.next(segment);) {
        length += segment.length();
    }
    return in.fault().empty() ? std::optional(length) : std::nullopt;
}

/// How much of AS_PATH precedes AS4_PATH.
struct Merge {
    static constexpr std::size_t all = std::numeric_limits<std::size_t>::max();

    std::size_t leading = all; // path length taken from AS_PATH
    bool merged = false;
};

/// An AS4_PATH that is malformed, or longer than the AS_PATH, is ignored (RFC 6793, sections 4.2.3
/// and 6).
Merge mergeOf(AsPath const& path) {
    if (path.as4Path.empty()) {
        return {};
    }
    auto const length = lengthOf(path.value, path.width);
    auto const as4Length = lengthOf(path.as4Path, AsWidth::four);
    if (!length || !as4Length || *as4Length == 0 || *length < *as4Length) {
        return {};
    }
    return {*length - *as4Length, true};
}

/// Appends segments, separated by spaces.
class PathText {
  public:
    explicit PathText(std::string& out)
      : out_(out) {}

    /// Appends the first `count` numbers of a segment. Adjacent sequences read as one.
    void append(AsPathSegment const& segment, std::size_t count) {
        struct Brackets {
            std::string_view open, separator, close;
        };
        static constexpr std::array<Brackets, 5> brackets = {
            {{}, {"{", ",", "}"}, {"", " ", ""}, {"(", " ", ")"}, {"[", ",", "]"}}};
        Brackets const& form = brackets[static_cast<std::size_t>(segment.type)];
        out_ += first_ ? "" : " ";
        first_ = false;
        out_ += form.open;
        OctetReader in(segment.numbers);
        for (std::size_t at = 0; at < count; ++at) {
            out_ += at == 0 ? std::string_view() : form.separator;
            appendNumber(out_, takeNumber(in, segment.width));
        }
        out_ += form.close;
    }

  private:
    std::string& out_;
    bool first_ = true;
};

/// Appends the first part of a path, of length `leading`, with the confederation segments before
/// and next to it.
void appendLeading(PathText& text, AsPath const& path, std::size_t leading) {
    AsPathReader in(path.value, path.width);
    for (AsPathSegment segment; in.next(segment);) {
        if (isOfConfederation(segment.type)) {
            text.append(segment, segment.size());
            continue;
        }
        if (leading == 0) {
            break;
        }
        std::size_t const taken = std::min(leading, segment.length());
        text.append(segment, segment.type == Type::set ? segment.size() : taken);
        leading -= taken;
        if (taken < segment.length()) {
            break; // the next segment is not adjacent (RFC 6793, section 4.2.3)
        }
    }
}

} // namespace

std::size_t AsPathSegment::length() const {
    switch (type) {
    case Type::sequence:
        return size();
    case Type::set:
        return 1;
    default:
        return 0;
    }
}

bool AsPathReader::next(AsPathSegment& segment) {
    if (in_.empty()) {
        return false;
    }
    U8 const type = in_.u8();
    std::size_t const count = in_.u8();
    if (in_.ok() && (type < 1 || type > 4)) {
        fault_ = "unknown AS path segment type";
        in_.rest();
        return false;
    }
    segment.type = static_cast<Type>(type);
    segment.width = width_;
    segment.numbers = in_.octets(count * static_cast<std::size_t>(width_));
    if (in_.ok() && count == 0) {
        fault_ = "empty AS path segment";
        in_.rest();
    } else if (!in_.ok()) {
        fault_ = "truncated AS path segment";
    }
    return fault_.empty();
}

std::string_view faultOf(AsPath const& path) {
    AsPathReader in(path.value, path.width);
    for (AsPathSegment segment; in.next(segment);) {
    }
    return in.fault();
}

void appendText(std::string& out, AsPath const& path) {
    Merge const merge = mergeOf(path);
    PathText text(out);
    appendLeading(text, path, merge.leading);
    if (merge.merged) {
        AsPathReader in(path.as4Path, AsWidth::four);
        for (AsPathSegment segment; in.next(segment);) {
            if (!isOfConfederation(segment.type)) {
                text.append(segment, segment.size());
            }
        }
    }
}

std::size_t lengthOf(AsPath const& path) {
    return lengthOf(path.value, path.width).value_or(0);
}

std::optional<U32> originAs(AsPath const& path) {
    bool const merged = mergeOf(path).merged;
    AsPathReader in(merged ? path.as4Path : path.value, merged ? AsWidth::four : path.width);
    std::optional<U32> last;
    for (AsPathSegment segment; in.next(segment);) {
        if (merged && isOfConfederation(segment.type)) {
            continue;
        }
        OctetReader numbers(segment.numbers.last(static_cast<std::size_t>(segment.width)));
        last = isSequence(segment.type) ? std::optional(takeNumber(numbers, segment.width))
                                        : std::nullopt;
    }
    return last;
}

} // namespace BgpCommunities
