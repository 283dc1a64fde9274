#include <Kel/DedupHashTable.h>

#include <Kel/DedupTableCore.h>
#include <Mox/Assert.h>
#include <Mox/Hash.h>
#include <Mox/TextStream.h>
#include <Mox/Type.h>

#include <string>

namespace Kel {

Mox::Type const& DedupHashTableLifeTimeNotifiee::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Kel::DedupHashTableLifeTimeNotifiee", {});
    return type;
}

Mox::Type const& DedupHashTable::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Kel::DedupHashTable",
        {Mox::readOnlyAttribute<DedupHashTable, &DedupHashTable::isThreadSafe>("isThreadSafe"),
         Mox::readOnlyAttribute<DedupHashTable, &DedupHashTable::size>("size"),
         Mox::readOnlyAttribute<DedupHashTable, &DedupHashTable::capacity>("capacity"),
         Mox::readOnlyAttribute<DedupHashTable, &DedupHashTable::octets>("octets")});
    return type;
}

Mox::Type const& DedupHashTableUnorderedSet::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Kel::DedupHashTableUnorderedSet", {},
                                &DedupHashTable::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const dedupHashTableRegistrations[] = {
    Mox::TypeRegistration(DedupHashTableLifeTimeNotifiee::staticType()),
    Mox::TypeRegistration(DedupHashTable::staticType()),
    Mox::TypeRegistration(DedupHashTableUnorderedSet::staticType()),
};
} // namespace

DedupHandleFilter DedupHashTableLifeTimeNotifiee::filter() const noexcept {
    return [](DedupHandle const&) noexcept { return true; };
}

DedupHashTable::DedupHashTable(bool threadSafe)
  : core_(new DedupTableCore(threadSafe)) {}

DedupHashTable::~DedupHashTable() {
    core_->abandon();
}

void DedupHashTable::onZeroReferences() noexcept {
    core_->notifieeIs(nullptr, PtrConst(this));
}

DedupHandle::PtrConst DedupHashTable::lookupByContent(DedupContentHandle const& content,
                                                      U32 hash) const {
    return find(content.placementHash().value_or(Mox::keyedHash(hash)),
                [&](DedupHandle const& candidate) { return candidate.compareByContent(content); });
}

DedupHandle::PtrConst DedupHashTable::dedup(DedupHandle::Ptr const& object) const {
    return core_->dedup(object, DedupMiss(object->placementHash()));
}

void DedupHashTable::lifeTimeNotifieeIs(DedupHashTableLifeTimeNotifiee::Ptr const& notifiee) {
    core_->notifieeIs(notifiee, PtrConst(this));
}

DedupHashTableLifeTimeNotifiee::Ptr DedupHashTable::lifeTimeNotifiee() const {
    return core_->notifiee();
}

bool DedupHashTable::isThreadSafe() const noexcept {
    return core_->isThreadSafe();
}

std::size_t DedupHashTable::size() const {
    return core_->size();
}

std::size_t DedupHashTable::capacity() const {
    return core_->capacity();
}

std::size_t DedupHashTable::octets() const {
    return core_->octets();
}

DedupHashTable::Counters DedupHashTable::counters() const {
    return {size(), core_->hits(), core_->misses(), octets()};
}

void DedupHashTable::hitsCountedIs(bool counted) noexcept {
    core_->hitsCountedIs(counted);
}

bool DedupHashTable::hitsCounted() const noexcept {
    return core_->hitsCounted();
}

void DedupHashTable::dumpState(DumpContext::PtrConst const& context, U32 indent) const {
    auto const handles = core_->handles();
    std::string line(fwkType().name());
    line += " #" + std::to_string(handles.size()) + " capacity " + std::to_string(capacity()) +
            " octets " + std::to_string(octets());
    if (hitsCounted()) {
        line +=
            " hits " + std::to_string(core_->hits()) + " misses " + std::to_string(core_->misses());
    }
    context->line(indent, line);
    for (auto const& handle : handles) {
        Mox::TextStream text;
        handle->formatHandle(text);
        // Without the references of this dump and of the table.
        text << " references " << handle->referenceCount() - 2;
        context->line(indent + 2, text.text());
    }
}

DedupHashTableUnorderedSet::DedupHashTableUnorderedSet(bool threadSafe)
  : DedupHashTable(threadSafe) {}

DedupHashTableUnorderedSet::~DedupHashTableUnorderedSet() = default;

} // namespace Kel
