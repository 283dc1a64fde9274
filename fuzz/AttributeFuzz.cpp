/// Fuzzes attribute values: the first octet is the attribute type, the rest is the value.
#include "AttributeCheck.h"

extern "C" int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size);

int LLVMFuzzerTestOneInput(Mox::U8 const* data, std::size_t size) {
    using namespace BgpCommunities;
    static Test::AttributeCheck check;
    if (size == 0) {
        return 0;
    }
    if (auto const kind = communityKind(data[0])) {
        check.check(*kind, Octets(data, size).subspan(1));
    }
    return 0;
}
