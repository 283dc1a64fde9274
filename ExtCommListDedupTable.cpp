#include <VoBgp/ExtCommListDedupTable.h>

#include <Mox/Assert.h>
#include <Mox/CharBuffer.h>
#include <Mox/EntityCast.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>
#include <Routing/Bgp/VoBgpGlobals.h>

#include <algorithm>
#include <ostream>
#include <string>

namespace Routing::Bgp {

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& RtExtCommListLifeTimeNotifier::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity,
                                "Routing::Bgp::RtExtCommListLifeTimeNotifier", {},
                                &Kel::DedupHandleLifeTimeNotifier::staticType());
    return type;
}

Mox::Type const& NotifyingRtExtCommListCollection::staticType() noexcept {
    using Collection = NotifyingRtExtCommListCollection;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::NotifyingRtExtCommListCollection",
        {Mox::readOnlyAttribute<Collection, &Collection::rtExtCommLists>("rtExtCommLists")});
    return type;
}

Mox::Type const& RtExtCommListLifeTimeNotifiee::staticType() noexcept {
    using Notifiee = RtExtCommListLifeTimeNotifiee;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::RtExtCommListLifeTimeNotifiee",
        {Mox::pointerAttribute<Notifiee, &Notifiee::notifyingRtExtCommListCollection>(
            "notifyingRtExtCommListCollection")},
        &Kel::DedupHashTableLifeTimeNotifiee::staticType());
    return type;
}

Mox::Type const& ExtCommListDedupTable::staticType() noexcept {
    using Table = ExtCommListDedupTable;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommListDedupTable",
        {Mox::pointerAttribute<Table, &Table::extCommClassificationListDedupTable>(
             "extCommClassificationListDedupTable"),
         Mox::pointerAttribute<Table, &Table::notifyingRtExtCommListCollection>(
             "notifyingRtExtCommListCollection"),
         Mox::pointerAttribute<Table, &Table::rtExtCommListLifeTimeNotifiee>(
             "rtExtCommListLifeTimeNotifiee"),
         Mox::pointerAttribute<Table, &Table::rtExtCommClassificationListDedupTable>(
             "rtExtCommClassificationListDedupTable")},
        &CommListDedupTableBase::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const extCommListDedupTableRegistrations[] = {
    Mox::TypeRegistration(RtExtCommListLifeTimeNotifier::staticType()),
    Mox::TypeRegistration(NotifyingRtExtCommListCollection::staticType()),
    Mox::TypeRegistration(RtExtCommListLifeTimeNotifiee::staticType()),
    Mox::TypeRegistration(ExtCommListDedupTable::staticType()),
};

/// Formats an object for a trace: type and address.
struct Traced {
    Mox::PtrInterface const* object;

    friend std::ostream& operator<<(std::ostream& os, Traced const& traced) {
        Mox::LocalCharBuffer<128> out;
        if (traced.object == nullptr) {
            out.append("NULL");
        } else {
            out.append(traced.object->fwkType().name()).append(" 0x");
            out.appendHex(reinterpret_cast<U64>(traced.object), 16);
        }
        return os.write(out.text().data(), static_cast<std::streamsize>(out.size()));
    }
};

} // namespace

// ---- The notifier -------------------------------------------------------------------------------

RtExtCommListLifeTimeNotifier::RtExtCommListLifeTimeNotifier(
    Kel::DedupHandle::PtrConst const& rtExtCommList) noexcept
  : DedupHandleLifeTimeNotifier(rtExtCommList) {}

RtExtCommListLifeTimeNotifier::~RtExtCommListLifeTimeNotifier() = default;

// ---- The collection -----------------------------------------------------------------------------

void NotifyingRtExtCommListCollection::Notifiee::handleChange(Mox::AttributeNumber /*attribute*/,
                                                              void const* key) {
    handleRtExtCommList(*static_cast<NotifierPtr const*>(key));
}

NotifyingRtExtCommListCollection::NotifyingRtExtCommListCollection()
  : notifieeList_(*this)
  , rtExtCommList_(*this, rtExtCommListAttribute, 0xE67954DD) {}

NotifyingRtExtCommListCollection::~NotifyingRtExtCommListCollection() = default;

void NotifyingRtExtCommListCollection::rtExtCommListIs(NotifierPtr const& rtExtCommList) {
    MOX_ASSERT_TEXT(rtExtCommList != nullptr, "__null != rtExtCommList");
    rtExtCommList_.is(rtExtCommList);
}

void NotifyingRtExtCommListCollection::dumpState(Kel::DumpContext::PtrConst const& dumpContext,
                                                 U32 indent) const {
    MOX_ASSERT_TEXT(dumpContext != nullptr, "__null != dumpContext");
    // Indented as "%*c" does it: by one blank at indent 0, too.
    dumpContext->line(std::max<U32>(indent, 1),
                      "NotifyingRtExtCommListCollection rtExtCommLists #" +
                          std::to_string(rtExtCommLists()) + ";");
    rtExtCommList_.forEach([&](NotifierPtr const& each) {
        dumpContext->line(indent + 2, "rtExtCommList " + each->toStrep().str());
    });
}

NotifyingRtExtCommListCollection::Ptr notifyingRtExtCommListCollectionFactory() {
    return Mox::makeActive<NotifyingRtExtCommListCollection>();
}

// ---- The table's notifiee -----------------------------------------------------------------------

RtExtCommListLifeTimeNotifiee::RtExtCommListLifeTimeNotifiee(
    NotifyingRtExtCommListCollection::Ptr const& collection) noexcept
  : notifyingRtExtCommListCollection_(collection) {
    MOX_ASSERT_TEXT(collection != nullptr, "__null != collection");
}

RtExtCommListLifeTimeNotifiee::~RtExtCommListLifeTimeNotifiee() = default;

void RtExtCommListLifeTimeNotifiee::handleInsert(Kel::DedupHandle::Ptr const& handle) {
    // Checked, because any object may be interned in the table directly.
    auto* const rtExtCommList = Mox::entityCast<RtExtCommClassificationList>(handle.get());
    MOX_ASSERT_TEXT(rtExtCommList != nullptr, "__null != rtExtCommList");
    MOX_ASSERT_TEXT(nullptr == rtExtCommList->lifeTimeNotifier(),
                    "__null == rtExtCommList->lifeTimeNotifier()");
    auto const lifeTimeNotifier = Mox::makeActive<RtExtCommListLifeTimeNotifier>(handle);
    rtExtCommList->lifeTimeNotifierIs(lifeTimeNotifier);
    try {
        MOX_TRACE(9, Traced{this} << " handle: " << Traced{handle.get()}
                                  << " rtExtCommListLifeTimeNotifier: "
                                  << Traced{lifeTimeNotifier.get()});
        notifyingRtExtCommListCollection_->rtExtCommListIs(lifeTimeNotifier);
    } catch (...) {
        // The insertion is undone; remove the notifier as well.
        rtExtCommList->lifeTimeNotifierIs(nullptr);
        notifyingRtExtCommListCollection_->rtExtCommListDel(lifeTimeNotifier);
        throw;
    }
}

void RtExtCommListLifeTimeNotifiee::handleRemove(Kel::DedupHandle* handle) {
    MOX_ASSERT_TEXT(handle != nullptr, "__null != handle");
    auto* const rtExtCommList = static_cast<RtExtCommClassificationList*>(handle);
    // Keep the notifier alive: it may own the last reference to the list if the table has released
    // it.
    auto const lifeTimeNotifier = rtExtCommList->getLifeTimeNotifier();
    MOX_TRACE(9, Traced{this} << " handle: " << Traced{handle} << " rtExtCommListLifeTimeNotifier: "
                              << Traced{lifeTimeNotifier.get()});
    MOX_ASSERT_TEXT(nullptr != lifeTimeNotifier, "__null != lifeTimeNotifier");
    notifyingRtExtCommListCollection_->rtExtCommListDel(lifeTimeNotifier);
    rtExtCommList->lifeTimeNotifierIs(nullptr);
}

void RtExtCommListLifeTimeNotifiee::handleNotificationStop(
    Kel::DedupHashTable::PtrConst const& table) {
    MOX_TRACE(9, Traced{table.get()});
    notifyingRtExtCommListCollection_->forEachRtExtCommList(
        [this](RtExtCommListLifeTimeNotifier::PtrConst const& each) {
            handleRemove(const_cast<RtExtCommClassificationList*>(each->rtExtCommListRawPtr()));
        });
}

RtExtCommListLifeTimeNotifiee::Ptr
rtExtCommListLifeTimeNotifieeFactory(NotifyingRtExtCommListCollection::Ptr const& collection) {
    return Mox::makeActive<RtExtCommListLifeTimeNotifiee>(collection);
}

// ---- The table ----------------------------------------------------------------------------------

ExtCommListDedupTable::ExtCommListDedupTable() {
    handleInitialized();
}

ExtCommListDedupTable::~ExtCommListDedupTable() = default;

void ExtCommListDedupTable::handleInitialized() {
    auto const multiThreaded = VoBgpGlobals::multiThreaded();
    extCommClassificationListDedupTable_ =
        Mox::makeActive<Kel::DedupHashTableUnorderedSet>(multiThreaded);
    rtExtCommClassificationListDedupTable_ =
        Mox::makeActive<Kel::DedupHashTableUnorderedSet>(multiThreaded);
    notifyingRtExtCommListCollectionIs();
    rtExtCommListLifeTimeNotifieeIs(notifyingRtExtCommListCollection_);
    rtExtCommClassificationListDedupTable_->lifeTimeNotifieeIs(rtExtCommListLifeTimeNotifiee_);
}

void ExtCommListDedupTable::notifyingRtExtCommListCollectionIs() {
    notifyingRtExtCommListCollection_ = notifyingRtExtCommListCollectionFactory();
}

void ExtCommListDedupTable::notifyingRtExtCommListCollectionDel() noexcept {
    notifyingRtExtCommListCollection_ = nullptr;
}

RtExtCommListLifeTimeNotifiee::Ptr ExtCommListDedupTable::rtExtCommListLifeTimeNotifieeIs(
    NotifyingRtExtCommListCollection::Ptr const& collection) {
    if (!rtExtCommListLifeTimeNotifiee_ ||
        rtExtCommListLifeTimeNotifiee_->notifyingRtExtCommListCollection() != collection) {
        rtExtCommListLifeTimeNotifiee_ = rtExtCommListLifeTimeNotifieeFactory(collection);
    }
    return rtExtCommListLifeTimeNotifiee_;
}

void ExtCommListDedupTable::rtExtCommListLifeTimeNotifieeDel() noexcept {
    rtExtCommListLifeTimeNotifiee_ = nullptr;
}

void ExtCommListDedupTable::dumpState(Kel::DumpContext::PtrConst const& context, U32 indent) const {
    MOX_ASSERT_TEXT(context != nullptr, "__null != context");
    context->line(indent, "ExtCommListDedupTable");
    context->line(indent + 2, "extComm");
    context->dumpChild(*dedupTable(), indent + 4);
    context->line(indent + 2, "extCommClassification");
    context->dumpChild(*extCommClassificationListDedupTable_, indent + 4);
    context->line(indent + 2, "rtExtCommClassification");
    context->dumpChild(*rtExtCommClassificationListDedupTable_, indent + 4);
}

ExtCommListDedupTable::Ptr extCommListDedupTableFactory() {
    return Mox::makeActive<ExtCommListDedupTable>();
}

} // namespace Routing::Bgp
