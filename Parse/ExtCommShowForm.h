#pragma once

#include <Mox/CharBuffer.h>
#include <VoBgp/VoBgpCommunity.h>

#include <ostream>
#include <string_view>

namespace Routing::Bgp {

/// Writes the show form of a typed community, `<DETAIL VALUE>`. The stream's formatting state is
/// not touched; it says only whether the value is in upper case.
inline void writeShowForm(std::ostream& os, std::string_view detail, ExtComm const& extComm) {
    Mox::LocalCharBuffer<128> out;
    out.append('<').append(detail).append(' ');
    appendCommunityValue(out, extComm.getContent(), (os.flags() & std::ios_base::uppercase) != 0);
    out.append('>');
    os.write(out.text().data(), static_cast<std::streamsize>(out.size()));
}

} // namespace Routing::Bgp
