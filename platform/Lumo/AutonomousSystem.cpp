#include <Lumo/AutonomousSystem.h>

namespace Lumo {

void AutonomousSystem::format(Mox::CharBuffer& out, bool asdot) const {
    if (asdot && number_ > 0xffff) {
        out.appendDecimal(number_ >> 16).append('.').appendDecimal(number_ & 0xffff);
    } else {
        out.appendDecimal(number_);
    }
}

Mox::String AutonomousSystem::display(bool asdot) const {
    Mox::LocalCharBuffer<20> out;
    format(out, asdot);
    return out.string();
}

} // namespace Lumo

Lumo::AutonomousSystem Mox::ValueText<Lumo::AutonomousSystem>::read(ValueReader& in) {
    return Lumo::AutonomousSystem(
        static_cast<U32>(in.readDecimal(0xffffffff, "an autonomous system number")));
}
