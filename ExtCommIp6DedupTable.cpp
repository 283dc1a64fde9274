#include <VoBgp/ExtCommIp6DedupTable.h>

#include <Mox/Assert.h>
#include <Mox/Type.h>
#include <VoBgp/Parse/ExtComm.h>

namespace Routing::Bgp {

Mox::Type const& ExtCommIp6DedupTable::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommIp6DedupTable",
        {Mox::pointerAttribute<ExtCommIp6DedupTable, &ExtCommIp6DedupTable::parseExtCommRule>(
            "parseExtCommRule")},
        &BasicDedupTable_::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const extCommIp6DedupTableRegistration(ExtCommIp6DedupTable::staticType());
} // namespace

ExtCommIp6DedupTable::ExtCommIp6DedupTable(
    Mox::PtrConst<BgpParseExtendedCommunityRule> const& parseExtCommRule)
  : parseExtCommRule_(parseExtCommRule) {}

ExtCommIp6DedupTable::~ExtCommIp6DedupTable() = default;

ExtCommIp6DedupTable::Ptr
extCommIp6DedupTableFactory(Mox::PtrConst<BgpParseExtendedCommunityRule> const& parseExtCommRule) {
    return Mox::makeActive<ExtCommIp6DedupTable>(parseExtCommRule);
}

} // namespace Routing::Bgp
