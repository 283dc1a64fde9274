#include <VoBgp/BgpShowCliExtCommCache.h>

#include <Mox/Type.h>

#include <utility>

namespace BgpShowCli {

Mox::Type const& ExtCommCache::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "BgpShowCli::ExtCommCache",
        {Mox::readOnlyAttribute<ExtCommCache, &ExtCommCache::extCommToStrings>("extCommToString"),
         Mox::readOnlyAttribute<ExtCommCache, &ExtCommCache::extCommToAsdotStrings>(
             "extCommToAsdotString")});
    return type;
}

namespace {
Mox::TypeRegistration const extCommCacheRegistration(ExtCommCache::staticType());
} // namespace

ExtCommCache::ExtCommCache() = default;
ExtCommCache::~ExtCommCache() = default;

Mox::String ExtCommCache::lookup(U64 const& extCommVal, bool asdot) const {
    auto const* const text = (asdot ? extCommToAsdotString_ : extCommToString_).get(extCommVal);
    return text == nullptr ? Mox::String() : *text;
}

void ExtCommCache::insert(U64 const& extCommVal, Mox::String extCommStr, bool asdot) {
    if (asdot) {
        extCommToAsdotStringIs(extCommVal, std::move(extCommStr));
    } else {
        extCommToStringIs(extCommVal, std::move(extCommStr));
    }
}

void ExtCommCache::extCommToStringIs(U64 const& extCommVal, Mox::String extCommStr) {
    extCommToString_.is(extCommVal, std::move(extCommStr));
}

void ExtCommCache::extCommToStringDel(U64 const& extCommVal) noexcept {
    extCommToString_.del(extCommVal);
}

void ExtCommCache::extCommToStringDelAll() noexcept {
    extCommToString_ = Mox::HashMap<U64, Mox::String>();
}

bool ExtCommCache::extCommToStringHas(U64 const& extCommVal) const noexcept {
    return extCommToString_.has(extCommVal);
}

void ExtCommCache::extCommToAsdotStringIs(U64 const& extCommVal, Mox::String extCommStr) {
    extCommToAsdotString_.is(extCommVal, std::move(extCommStr));
}

void ExtCommCache::extCommToAsdotStringDel(U64 const& extCommVal) noexcept {
    extCommToAsdotString_.del(extCommVal);
}

void ExtCommCache::extCommToAsdotStringDelAll() noexcept {
    extCommToAsdotString_ = Mox::HashMap<U64, Mox::String>();
}

bool ExtCommCache::extCommToAsdotStringHas(U64 const& extCommVal) const noexcept {
    return extCommToAsdotString_.has(extCommVal);
}

ExtCommCache::Ptr extCommCacheFactory() {
    return Mox::makeActive<ExtCommCache>();
}

} // namespace BgpShowCli
