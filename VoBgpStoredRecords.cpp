#include "VoBgpStoredRecords.h"

namespace Routing::Bgp {

StoredListHead storedListHead(MoxStash::StoredRecord const& record, std::size_t memberOctets,
                              U32 flags) {
    constexpr U64 wordOctets = sizeof(U64);
    if (record.words() == 0) {
        record.refuse(0, "list record is empty");
    }
    auto const head = std::bit_cast<StoredListHead>(record.word(0));
    auto const octets = U64{head.count} * memberOctets;
    if ((octets + wordOctets - 1) / wordOctets != record.words() - 1) {
        record.refuse(0, "list record has " + std::to_string(head.count) + " members but the wrong size");
    }
    if ((head.flags & ~flags) != 0) {
        record.refuse(0, "unknown list flags");
    }
    return head;
}

void refuseUnsorted(MoxStash::StoredRecord const& record) {
    record.refuse(1, "list is marked as sorted, but its members are not sorted and distinct");
}

void expectStoredWords(MoxStash::StoredRecord const& record, U64 words) {
    if (record.words() != words) {
        record.refuse(0, "value record has the wrong size");
    }
}

ExtCommClassification storedClassification(MoxStash::StoredRecord const& record, U64 index,
                                           U32 number) {
    if (number >= extCommClassificationOneBeyondLast) {
        record.refuse(index, "unknown classification " + std::to_string(number));
    }
    return static_cast<ExtCommClassification>(number);
}

} // namespace Routing::Bgp
