#include <VoBgp/CommListDedupTable.h>

#include <Mox/Assert.h>
#include <Mox/Type.h>
#include <Routing/Bgp/VoBgpGlobals.h>

namespace Routing::Bgp {

Mox::Type const& CommListDedupTableBase::staticType() noexcept {
    using Table = CommListDedupTableBase;
    static Mox::Type const type(Mox::Type::Kind::entity, "Routing::Bgp::CommListDedupTableBase",
                                {Mox::pointerAttribute<Table, &Table::dedupTable>("dedupTable")});
    return type;
}

Mox::Type const& CommListDedupTable::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Routing::Bgp::CommListDedupTable", {},
                                &CommListDedupTableBase::staticType());
    return type;
}

Mox::Type const& LargeCommListDedupTable::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Routing::Bgp::LargeCommListDedupTable",
                                {}, &CommListDedupTableBase::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const commListDedupTableRegistrations[] = {
    Mox::TypeRegistration(CommListDedupTableBase::staticType()),
    Mox::TypeRegistration(CommListDedupTable::staticType()),
    Mox::TypeRegistration(LargeCommListDedupTable::staticType()),
};
} // namespace

CommListDedupTableBase::CommListDedupTableBase() {
    initDedupTable();
}

CommListDedupTableBase::~CommListDedupTableBase() = default;

void CommListDedupTableBase::initDedupTable() {
    dedupTable_ = Mox::makeActive<Kel::DedupHashTableUnorderedSet>(VoBgpGlobals::multiThreaded());
}

Kel::DedupHandle::PtrConst
CommListDedupTableBase::dedup(Kel::DedupHandle::Ptr const& object) const {
    MOX_ASSERT_TEXT(object != nullptr, "__null != object");
    return dedupTable_->dedup(object);
}

void CommListDedupTableBase::dumpState(Kel::DumpContext::PtrConst const& context,
                                       U32 indent) const {
    MOX_ASSERT_TEXT(context != nullptr, "__null != context");
    context->line(indent, "DedupTable");
    context->dumpChild(*dedupTable_, indent + 2);
}

CommListDedupTable::CommListDedupTable() = default;
CommListDedupTable::~CommListDedupTable() = default;

CommListDedupTable::Ptr commListDedupTableFactory() {
    return Mox::makeActive<CommListDedupTable>();
}

LargeCommListDedupTable::LargeCommListDedupTable() = default;
LargeCommListDedupTable::~LargeCommListDedupTable() = default;

LargeCommListDedupTable::Ptr largeCommListDedupTableFactory() {
    return Mox::makeActive<LargeCommListDedupTable>();
}

} // namespace Routing::Bgp
