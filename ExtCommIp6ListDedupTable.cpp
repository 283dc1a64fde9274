#include <VoBgp/ExtCommIp6ListDedupTable.h>

#include <Mox/Assert.h>
#include <Mox/Type.h>
#include <Routing/Bgp/VoBgpGlobals.h>

namespace Routing::Bgp {

Mox::Type const& ExtCommIp6ListDedupTable::staticType() noexcept {
    using Table = ExtCommIp6ListDedupTable;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommIp6ListDedupTable",
        {Mox::pointerAttribute<Table, &Table::extCommClassification>("extCommClassification")},
        &CommListDedupTableBase::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const
    extCommIp6ListDedupTableRegistration(ExtCommIp6ListDedupTable::staticType());
} // namespace

ExtCommIp6ListDedupTable::ExtCommIp6ListDedupTable() {
    handleInitialized();
}

ExtCommIp6ListDedupTable::~ExtCommIp6ListDedupTable() = default;

void ExtCommIp6ListDedupTable::handleInitialized() {
    classificationTableReplaced_ = extCommClassification_ != nullptr;
    extCommClassification_ =
        Mox::makeActive<Kel::DedupHashTableUnorderedSet>(VoBgpGlobals::multiThreaded());
}

void ExtCommIp6ListDedupTable::dumpState(Kel::DumpContext::PtrConst const& dumpContext,
                                         U32 indent) const {
    MOX_ASSERT_TEXT(dumpContext != nullptr, "__null != dumpContext");
    dumpContext->line(indent, "ExtCommListDedupTable");
    dumpContext->line(indent + 2, "extComm");
    dumpContext->dumpChild(*dedupTable(), indent + 4);
    dumpContext->line(indent + 2, "extCommClassification");
    dumpContext->dumpChild(*extCommClassification_, indent + 4);
}

ExtCommIp6ListDedupTable::Ptr extCommIp6ListDedupTableFactory() {
    return Mox::makeActive<ExtCommIp6ListDedupTable>();
}

} // namespace Routing::Bgp
