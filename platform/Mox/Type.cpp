#include <Mox/Type.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

namespace Mox {

Type::Type(Kind kind, std::string_view name, std::vector<Attribute> attributes, Type const* base)
  : kind_(kind)
  , name_(name)
  , base_(base) {
    if (base != nullptr) {
        attributes_.assign(base->attributes().begin(), base->attributes().end());
    }
    attributes_.insert(attributes_.end(), attributes.begin(), attributes.end());
}

Type::Type(std::string_view name, std::vector<EnumerationMember> members)
  : kind_(Kind::enumeration)
  , name_(name)
  , members_(std::move(members)) {}

Attribute const* Type::attribute(std::string_view name) const noexcept {
    auto const place = std::find_if(attributes_.begin(), attributes_.end(),
                                    [name](auto const& each) { return each.name == name; });
    return place == attributes_.end() ? nullptr : &*place;
}

String Type::attributeText(Attribute const& attribute, PtrInterface const& object) const {
    LocalCharBuffer<128> out;
    attribute.write(out, &object);
    return out.string();
}

namespace {

/// Created on first use and never destroyed, so that the order of static initialisers and
/// destructors does not matter.
struct Registry {
    std::mutex mutex;
    std::map<std::string_view, Type const*> types;
};

Registry& registry() {
    static auto* const instance = new Registry;
    return *instance;
}

} // namespace

std::vector<Type const*> TypeRegistry::types() {
    auto& all = registry();
    std::scoped_lock const lock(all.mutex);
    std::vector<Type const*> result;
    result.reserve(all.types.size());
    for (auto const& [name, type] : all.types) {
        result.push_back(type);
    }
    return result;
}

Type const* TypeRegistry::type(std::string_view name) {
    auto& all = registry();
    std::scoped_lock const lock(all.mutex);
    auto const place = all.types.find(name);
    return place == all.types.end() ? nullptr : place->second;
}

TypeRegistration::TypeRegistration(Type const& type)
  : type_(type) {
    auto& all = registry();
    std::scoped_lock const lock(all.mutex);
    [[maybe_unused]] auto const [place, isNew] = all.types.emplace(type.name(), &type);
    MOX_ASSERT_TEXT(isNew, "each type is registered once");
}

TypeRegistration::~TypeRegistration() {
    auto& all = registry();
    std::scoped_lock const lock(all.mutex);
    all.types.erase(type_.name());
}

} // namespace Mox
