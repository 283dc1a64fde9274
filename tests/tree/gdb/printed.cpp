// Constructs one object of each printed type, and stops.
#include <Mox/String.h>
#include <VoBgp/CommunityTables.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <span>

using namespace Routing::Bgp;

namespace {

template <std::size_t size>
std::span<std::byte const> octets(unsigned char const (&value)[size]) {
    return std::as_bytes(std::span(value));
}

struct Printed {
    CommunityTables tables;
    Mox::String text{"communities"};
    Mox::String noText;
    CommList::PtrConst standard =
        tables.commList(octets({0xfb, 0xf4, 0, 1, 0xff, 0xff, 0xff, 1})).list;
    LargeCommList::PtrConst large =
        tables.largeCommList(octets({0, 0, 0xfb, 0xf4, 0, 0, 0, 1, 0, 0, 0, 2})).list;
    ExtCommList::PtrConst extended = tables
                                         .extCommList(octets({0, 2,  0xfb, 0xf4, 0, 0, 0, 1, //
                                                              1, 2,  192,  0,    2, 1, 0, 3, //
                                                              2, 3,  0,    1,    0, 0, 0, 4, //
                                                              3, 11, 0,    0,    0, 0, 0, 5}))
                                         .list;
    ExtCommIp6List::PtrConst ip6 =
        tables
            .extCommIp6List(octets({0, 2, 0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, //
                                    0, 0, 0,    0,    0,    0,    0, 1, 0, 7}))
            .list;
    ExtComm::PtrConst community = (*extended)[0];
    ExtCommIp6::PtrConst ip6Community = (*ip6)[0];
    ExtComm::PtrConst null;
    ExtComm::PtrConst unmapped;
    ExtComm::PtrConst notAnObject;
    Mox::String damagedText;
};

template <class T>
void damage(T& pointer, void const* address) {
    static_assert(sizeof pointer == sizeof address);
    std::memcpy(static_cast<void*>(&pointer), &address, sizeof address);
}

} // namespace

extern "C" [[gnu::noinline]] void stop(Printed const* printed) {
    asm volatile("" : : "r"(printed) : "memory");
}

int main() {
    Printed printed;
    static std::array<std::size_t, 8> const zeros{};
    damage(printed.unmapped, reinterpret_cast<void const*>(std::size_t{64}));
    damage(printed.notAnObject, zeros.data());
    damage(printed.damagedText, reinterpret_cast<void const*>(std::size_t{64}));
    stop(&printed);
    std::_Exit(0); // do not release the damaged pointers
}
