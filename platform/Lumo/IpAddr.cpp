#include <Lumo/IpAddr.h>

namespace Lumo {

void IpAddr::format(Mox::CharBuffer& out) const {
    out.appendDecimal(word_ >> 24).append('.');
    out.appendDecimal((word_ >> 16) & 0xff).append('.');
    out.appendDecimal((word_ >> 8) & 0xff).append('.');
    out.appendDecimal(word_ & 0xff);
}

Mox::String IpAddr::toStrep() const {
    Mox::LocalCharBuffer<20> out;
    format(out);
    return out.string();
}

} // namespace Lumo

Lumo::IpAddr Mox::ValueText<Lumo::IpAddr>::read(ValueReader& in) {
    U32 word = 0;
    for (int octet = 0; octet < 4; ++octet) {
        if (octet > 0) {
            in.expect(".");
        }
        word = word << 8 | static_cast<U32>(in.readDecimal(255, "an octet of an IPv4 address"));
    }
    return Lumo::IpAddr(word);
}
