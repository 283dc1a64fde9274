/// Fuzzes a store: the octets as they are, and again with a valid header, so that the reader
/// reaches the records.
#include "StoreContent.h"

#include <Mox/Assert.h>
#include <MoxStash/StoreException.h>
#include <MoxStash/StoreFormat.h>

#include <cstring>
#include <string>
#include <vector>

namespace Routing::Bgp::Test {
namespace {

namespace Format = MoxStash::Format;
using MoxStash::StoreManager;
using MoxStash::StoreWriter;
using Words = std::vector<U64>;

/// Rebuilds the content, writes it and rebuilds it again: text and octets must be the same.
void check(std::span<std::byte const> octets) {
    StoreWriter first, second;
    std::string text;
    try {
        StoreManager manager("input", octets);
        text = copyStore(manager, first);
    } catch (MoxStash::StoreException const& refusal) {
        MOX_ASSERT(refusal.store() == "input" && !refusal.reason().empty());
        return;
    }
    auto const words = first.image(1);
    StoreManager manager("copy", std::as_bytes(std::span(words)));
    MOX_ASSERT(copyStore(manager, second) == text);
    MOX_ASSERT(second.image(1) == words);
}

/// The offset of the last record, or of the first if there are no records.
U64 lastRecord(Words const& words) {
    auto last = Format::headerWords;
    for (auto at = last; at < words.size() - 1;) {
        auto const size = Format::load<Format::RecordHead>(&words[at]).words;
        last = at;
        at += size == 0 ? words.size() : size;
    }
    return last * Format::wordOctets;
}

void makeGood(Words& words) {
    auto header = Format::load<Format::StoreHeader>(words.data());
    header.magic = Format::storeMagic;
    header.byteOrder = Format::byteOrder;
    header.layoutVersion = Format::layoutVersion;
    header.octets = words.size() * Format::wordOctets;
    header.generation = 1;
    header.directory = lastRecord(words);
    header.reserved = {};
    Format::store(words.data(), header);
    words.back() = header.generation;
    words[Format::checksumWord] = Format::checksum(words);
}

} // namespace
} // namespace Routing::Bgp::Test

extern "C" int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size);

int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size) {
    using namespace Routing::Bgp::Test;
    check(std::as_bytes(std::span(data, size)));
    Words words(size / sizeof(U64));
    if (words.size() >= Format::headerWords + 2) {
        std::memcpy(words.data(), data, words.size() * sizeof(U64));
        makeGood(words);
        check(std::as_bytes(std::span(words)));
    }
    return 0;
}
