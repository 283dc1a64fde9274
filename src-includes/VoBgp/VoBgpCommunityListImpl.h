#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Assert.h>
#include <Mox/CharBuffer.h>
#include <Mox/StreamState.h>
#include <Mox/TextStream.h>
#include <Routing/RouteMap/PosixRegex.h>
#include <VoBgp/CommListVector.h>
#include <VoBgp/VoBgpMiscTypes.h>
#include <VoBgp/VoBgpSerialize.h>

#include <cstddef>
#include <cstring>
#include <ostream>
#include <span>
#include <string_view>

/// Shared by all kinds of lists of communities: text and the path attribute. Header-only. The
/// library's sources include it; an agent needs it only to format or send lists of its own.

namespace Routing::Bgp {

// ---- Text ---------------------------------------------------------------------------------------

/// The text of a list under construction, to which formatters append as to a stream.
///
/// Uses the heap only for texts longer than those of most lists. Thread-compatible.
class CommListText {
  public:
    /// Where the next value's text goes.
    Mox::CharBuffer& buffer() {
        text_.expect(longestUsualValue);
        return text_;
    }

    CommListText& append(std::string_view text) {
        text_.append(text);
        return *this;
    }

    /// The text so far; invalidated by the next append.
    std::string_view text() const noexcept { return text_.text(); }

    String string() const { return text_.string(); }

    /// The text with a terminating NUL; nothing may be appended afterwards.
    char const* terminated() { return text_.append('\0').text().data(); }

  private:
    static constexpr std::size_t longestUsualValue = 128;

    Mox::LocalCharBuffer<2048> text_;
};

/// The operations on streams that `formatCommList()` uses.
inline void writeCommListText(std::ostream& os, std::string_view text) {
    os.write(text.data(), static_cast<std::streamsize>(text.size()));
}

inline void writeCommListText(CommListText& os, std::string_view text) {
    os.append(text);
}

inline Mox::StreamState savedState(std::ostream& os) {
    return Mox::StreamState(os);
}

/// A text under construction has no formatting state.
inline CommListText const& savedState(CommListText const& os) {
    return os;
}

/// Writes the values of a list, each by `formatter(os, value)`, separated and optionally in
/// brackets. A null list is `NULL` with brackets and empty without. Preserves the stream's
/// formatting state.
template <class Stream, class ListType, class ValueFormatter>
Stream& formatCommList(Stream& os, ListType const* list, ValueFormatter formatter, bool bracketed,
                       char const* separator) {
    [[maybe_unused]] auto const& state = savedState(os);
    if (list == nullptr) {
        writeCommListText(os, bracketed ? "NULL" : "");
        return os;
    }
    writeCommListText(os, bracketed ? "[ " : "");
    std::string_view before;
    for (auto const& value : *list) {
        writeCommListText(os, before);
        formatter(os, value);
        before = separator;
    }
    writeCommListText(os, bracketed ? " ]" : "");
    return os;
}

/// The text that streaming a pointer to the object writes.
template <class T>
String stringify(T const* const& object) {
    if constexpr (requires(CommListText & text) { text << object; }) {
        CommListText text;
        return (text << object).string();
    } else {
        Mox::TextStream os;
        os << object;
        return os.string();
    }
}

/// Whether the expression matches the values of a list, formatted by `formatter(text, value)` and
/// separated by spaces.
template <class ListType, class ValueFormatter>
bool commListMatches(RouteMap::PosixRegex const& regex, ListType const& list,
                     ValueFormatter formatter) {
    CommListText text;
    formatCommList(text, &list, formatter, false, " ");
    return regex.matches(text.terminated());
}

/// The result of `matches()`, remembered for interned lists, which never change.
template <class ListType, class Matches>
bool commListVerdict(RouteMap::PosixRegex const& regex, ListType const& list,
                     RouteMap::RegexSubject const& subject, Matches matches) {
    if (list.dedupState() != Kel::dedupHandleStateDeduped()) {
        return matches();
    }
    if (auto const verdict = regex.remembered(subject)) {
        return *verdict;
    }
    bool const verdict = matches();
    regex.remember(subject, verdict);
    return verdict;
}

// ---- The path attribute -------------------------------------------------------------------------

/// The path attribute, optional and transitive, of the members for which `admits(member)` is true;
/// `put(place, member)` writes the `memberSize` octets of one. REQUIRES: there are `count` of them
/// (asserted).
template <U32 memberSize, class ListType, class Admits, class Put>
String serializeCommList(BgpPathAttrType attrType, U32 count, ListType const& list, Admits admits,
                         Put put) {
    auto const attrSize = memberSize * count;
    auto const header =
        pathAttributeHeader(attrType, BgpPathAttrFlag::optionalTransitive, attrSize);
    return String::written(header.size + attrSize, [&](char* place) {
        std::memcpy(place, header.octets, header.size);
        place += header.size;
        auto const* const end = place + attrSize;
        for (auto const& member : list) {
            if (admits(member)) {
                MOX_ASSERT_TEXT(place != end, "serialized.size() == attrSize_ + headerSize_");
                put(place, member);
                place += memberSize;
            }
        }
        MOX_ASSERT_TEXT(place == end, "serialized.size() == attrSize_ + headerSize_");
    });
}

/// The same for a list whose members are all sent, given their octets.
inline String serializeCommList(BgpPathAttrType attrType, std::span<std::byte const> octets) {
    auto const header = pathAttributeHeader(attrType, BgpPathAttrFlag::optionalTransitive,
                                            static_cast<U32>(octets.size()));
    return String::written(header.size + octets.size(), [&](char* place) {
        std::memcpy(place, header.octets, header.size);
        std::memcpy(place + header.size, octets.data(), octets.size());
    });
}

} // namespace Routing::Bgp
