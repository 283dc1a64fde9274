#pragma once

#include <string>

#include "IntegerTypes.h"
#include "OctetReader.h"

namespace BgpCommunities {

// Appends fields to octets that are to be sent; big-endian, as OctetReader reads them.

inline void appendU8(std::string& out, U8 value) {
    out += static_cast<char>(value);
}

inline void appendU16(std::string& out, std::size_t value) {
    appendU8(out, static_cast<U8>(value >> 8 & 0xff));
    appendU8(out, static_cast<U8>(value & 0xff));
}

inline void appendU32(std::string& out, U64 value) {
    appendU16(out, value >> 16 & 0xffff);
    appendU16(out, value & 0xffff);
}

inline void appendOctets(std::string& out, Octets octets) {
    out.append(reinterpret_cast<char const*>(octets.data()), octets.size());
}

} // namespace BgpCommunities
