#include <Kel/MaybeU63.h>

namespace Kel {

namespace {
constexpr std::string_view unspecifiedText = "unspecified";
} // namespace

void writeMaybeU63(Mox::CharBuffer& out, MaybeU63 const& value) {
    if (value.isUnspecified()) {
        out.append(unspecifiedText);
    } else {
        out.appendDecimal(value.word());
    }
}

MaybeU63 readMaybeU63(Mox::ValueReader& in) {
    if (in.accept(unspecifiedText)) {
        return MaybeU63();
    }
    return MaybeU63(
        in.readDecimal(MaybeU63::unspecifiedWord - 1, "a 63-bit number or unspecified"));
}

} // namespace Kel
