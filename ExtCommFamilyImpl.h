#pragma once

#include <Kel/DedupHandle.h>
#include <Kel/DedupHashTable.h>
#include <Mox/CharBuffer.h>
#include <Mox/Ptr.h>
#include <Mox/PtrInterface.h>
#include <Mox/StreamState.h>
#include <Mox/String.h>
#include <Mox/TextStream.h>

#include <ostream>
#include <utility>

// The operations that extended communities of eight octets and of twenty have in common, for the
// two sources that define them. `Comm` is ExtComm or ExtCommIp6.

namespace Routing::Bgp::Detail {

using Mox::String;

// ---- Interning ----------------------------------------------------------------------------------

/// Whether an object of a table of `Comm` has the content, compared without a virtual call.
template <class Comm, class Content>
class HasContent {
  public:
    explicit HasContent(Content const& content) noexcept
      : content_(content) {}

    bool operator()(Kel::DedupHandle const& candidate) const noexcept {
        return static_cast<Comm const&>(candidate).getContent() == content_;
    }

  private:
    Content const content_;
};

/// Another thread may intern an equal object meanwhile: dedup() returns the first, and the one
/// parsed here is destroyed.
template <auto parse, class Comm, class Table, class Content>
[[gnu::noinline]] Mox::PtrConst<Comm> dedupSlowly(Table const& table, Content const& content) {
    auto const& hashTable = *table.dedupHashTable();
    HasContent<Comm, Content> const hasContent(content);
    Kel::DedupMiss miss(content.placementHash());
    auto found = hashTable.findSlowly(miss, hasContent);
    if (!found) {
        auto const& rule = table.parseExtCommRule();
        MOX_ASSERT_TEXT(rule != nullptr, "__null != parseExtCommRule");
        // A sub-rule may release the last reference to the table, and with it to the rule.
        Mox::ScopedHold const held(table);
        auto parsed = Mox::constPtrCast<Comm>(((*rule).*parse)(content));
        MOX_ASSERT_TEXT(parsed != nullptr, "dedupHandle");
        // An agent's sub-rule may build an object of another content.
        found = hasContent(*parsed) ? hashTable.dedup(std::move(parsed), miss)
                                    : hashTable.dedup(std::move(parsed));
    }
    return Mox::staticPtrCast<Comm const>(std::move(found));
}

/// The interned object for a content: the one in the table, or a new one that the operation `parse`
/// of the table's rule returns.
template <auto parse, class Comm, class Table, class Content>
[[gnu::always_inline]] inline Mox::PtrConst<Comm> dedupContent(Table const& table,
                                                               Content const& content) {
    auto const* const taken = table.dedupHashTable()->takeFast(content.placementHash(),
                                                               HasContent<Comm, Content>(content));
    if (taken != nullptr) [[likely]] {
        return Mox::PtrConst<Comm>::adopt(static_cast<Comm const*>(taken));
    }
    // Out of line, so that a hit saves no registers.
    return dedupSlowly<parse, Comm>(table, content);
}

// ---- Text ---------------------------------------------------------------------------------------

/// Writes the text that `append(CharBuffer&)` appends in one call, because the stream may release
/// the last reference to the object.
template <class Append>
void writeForm(std::ostream& os, Append const& append) {
    Mox::LocalCharBuffer<192> out;
    append(out);
    os.write(out.text().data(), static_cast<std::streamsize>(out.size()));
}

/// Appends the text that formatDerivedType() writes.
template <class Comm>
void appendStreamed(Mox::CharBuffer& out, Comm const& comm) {
    Mox::TextStream os;
    comm.formatDerivedType(os);
    out.append(os.text());
}

/// Returns the text that `append(CharBuffer&)` appends.
template <class Append>
String textOf(Append const& append) {
    Mox::LocalCharBuffer<192> out;
    append(out);
    return out.string();
}

/// Writes `NULL` for null.
template <class Comm>
std::ostream& stream(std::ostream& os, Comm const* comm) {
    if (comm == nullptr) {
        return os.write("NULL", 4);
    }
    Mox::StreamState const state(os);
    comm->formatDerivedType(os);
    return os;
}

} // namespace Routing::Bgp::Detail

/// Defines the operations of Kel::DedupHandle for `Comm`, which is interned by its content.
#define VOBGP_EXT_COMM_HANDLE(Comm, Content)                                                       \
    U32 Comm::hash() const {                                                                       \
        return static_cast<U32>(getContent().hash());                                              \
    }                                                                                              \
    U64 Comm::placementHash() const {                                                              \
        return getContent().placementHash();                                                       \
    }                                                                                              \
    bool Comm::compare(Kel::DedupHandle const* other) const {                                      \
        return Detail::HasContent<Comm, Content>(getContent())(*other);                            \
    }                                                                                              \
    bool Comm::compareByContent(Kel::DedupContentHandle const& content) const {                    \
        return content.as<Content>() == getContent();                                              \
    }                                                                                              \
    void Comm::formatHandle(std::ostream& os) const {                                              \
        os << *this;                                                                               \
    }
