#include <Acl/CommunityValue.h>

#include <Mox/Type.h>

namespace Acl {

Mox::Type const& CommunityValue::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::value, "Acl::CommunityValue",
        {Mox::attribute<CommunityValue, &CommunityValue::globalAdministrator,
                        &CommunityValue::globalAdministratorIs>("globalAdministrator"),
         Mox::attribute<CommunityValue, &CommunityValue::localData1, &CommunityValue::localData1Is>(
             "localData1"),
         Mox::attribute<CommunityValue, &CommunityValue::localData2, &CommunityValue::localData2Is>(
             "localData2")});
    return type;
}

namespace {
Mox::TypeRegistration const communityValueRegistration(CommunityValue::staticType());
} // namespace

} // namespace Acl
