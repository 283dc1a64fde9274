#include <Kel/DumpContext.h>

#include <Mox/Type.h>

namespace Kel {

Mox::Type const& DumpContext::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Kel::DumpContext", {});
    return type;
}

Mox::Type const& StringDumpContext::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Kel::StringDumpContext", {},
                                &DumpContext::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const dumpContextRegistrations[] = {
    Mox::TypeRegistration(DumpContext::staticType()),
    Mox::TypeRegistration(StringDumpContext::staticType()),
};
} // namespace

void DumpContext::line(U32 indent, std::string_view text) const {
    std::string whole(indent, ' ');
    whole.append(text).push_back('\n');
    write(whole);
}

} // namespace Kel
