#include "VoBgpStoredRecords.h"

namespace Routing::Bgp {

StoredListHead storedListHead(MoxStash::StoredRecord const& record, std::size_t memberOctets,
                              U32 flags) {
    constexpr U64 wordOctets = sizeof(U64);
    if (record.words() == 0) {
        record.refuse(0, "a list without its first word");
    }
    auto const head = std::bit_cast<StoredListHead>(record.word(0));
    auto const octets = U64{head.count} * memberOctets;
    if ((octets + wordOctets - 1) / wordOctets != record.words() - 1) {
        record.refuse(0, "a list of " + std::to_string(head.count) +
                             " members whose record has not their size");
    }
    if ((head.flags & ~flags) != 0) {
        record.refuse(0, "a list with unknown flags");
    }
    return head;
}

void refuseUnsorted(MoxStash::StoredRecord const& record) {
    record.refuse(1, "members out of order, or repeated, in a list that says they are sorted");
}

void expectStoredWords(MoxStash::StoredRecord const& record, U64 words) {
    if (record.words() != words) {
        record.refuse(0, "a value whose record has not its size");
    }
}

ExtCommClassification storedClassification(MoxStash::StoredRecord const& record, U64 index,
                                           U32 number) {
    if (number >= extCommClassificationOneBeyondLast) {
        record.refuse(index, "a classification that there is not: " + std::to_string(number));
    }
    return static_cast<ExtCommClassification>(number);
}

} // namespace Routing::Bgp
