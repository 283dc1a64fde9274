#pragma once

#include <Mox/Export.h>
#include <Mox/PtrInterface.h>
#include <Mox/Types.h>
#include <Mox/ValueText.h>

#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Mox {

/// One attribute of a reflected type.
struct Attribute {
    std::string_view name;
    /// Writes the attribute's value as text. The object is a `PtrInterface const*` for an entity
    /// and the value's own address for a value.
    void (*write)(CharBuffer& out, void const* object);
    /// Parses text and sets the attribute; null if the attribute is read-only.
    void (*read)(ValueReader& in, void* object) = nullptr;
};

/// One member of a reflected enumeration.
struct EnumerationMember {
    std::string_view name;
    U64 number;
};

/// A reflected type: its qualified name and its attributes (of a value or counted object) or
/// members (of an enumeration), in table order.
///
/// One static per type, in the source that defines it; strings are literals. Immutable.
class VOBGP_EXPORT Type {
  public:
    enum class Kind { value, entity, enumeration };

    Type(Kind kind, std::string_view name, std::vector<Attribute> attributes,
         Type const* base = nullptr);
    Type(std::string_view name, std::vector<EnumerationMember> members);

    Kind kind() const noexcept { return kind_; }
    std::string_view name() const noexcept { return name_; }

    /// Attributes of the base type come first.
    std::span<Attribute const> attributes() const noexcept { return attributes_; }
    std::span<EnumerationMember const> members() const noexcept { return members_; }

    /// The base type, or null.
    Type const* base() const noexcept { return base_; }

    /// Returns null if not found.
    Attribute const* attribute(std::string_view name) const noexcept;

    /// Returns the value of an attribute of `object` as text.
    String attributeText(Attribute const& attribute, PtrInterface const& object) const;

  private:
    Kind kind_;
    std::string_view name_;
    std::vector<Attribute> attributes_;
    std::vector<EnumerationMember> members_;
    Type const* base_ = nullptr;
};

/// All reflected types of the process, registered by static initialisers in any order. Complete
/// when main() begins. Thread-safe.
class VOBGP_EXPORT TypeRegistry {
  public:
    /// Returns all types, ordered by qualified name.
    static std::vector<Type const*> types();

    /// Returns null if not found.
    static Type const* type(std::string_view name);
};

/// Registers a type; a static in the type's source.
class VOBGP_EXPORT TypeRegistration {
  public:
    explicit TypeRegistration(Type const& type);
    ~TypeRegistration();
    TypeRegistration(TypeRegistration const&) = delete;
    TypeRegistration& operator=(TypeRegistration const&) = delete;

  private:
    Type const& type_;
};

namespace Detail {

template <class T>
T const& attributeOwner(void const* object) noexcept {
    if constexpr (std::derived_from<T, PtrInterface>) {
        return *static_cast<T const*>(static_cast<PtrInterface const*>(object));
    } else {
        return *static_cast<T const*>(object);
    }
}

} // namespace Detail

/// A read-only attribute with a member function as getter.
template <class T, auto Get>
constexpr Attribute readOnlyAttribute(std::string_view name) noexcept {
    return {name, [](CharBuffer& out, void const* object) {
                auto const value = (Detail::attributeOwner<T>(object).*Get)();
                ValueText<std::remove_cvref_t<decltype(value)>>::write(out, value);
            }};
}

/// A counted-pointer attribute: `0x` and the address in hexadecimal; null is `0x0`.
template <class T, auto Get>
constexpr Attribute pointerAttribute(std::string_view name) noexcept {
    return {name, [](CharBuffer& out, void const* object) {
                writePointer(out, (Detail::attributeOwner<T>(object).*Get)().get());
            }};
}

/// A read-write attribute with member functions as getter and setter.
template <class T, auto Get, auto Set>
constexpr Attribute attribute(std::string_view name) noexcept {
    auto result = readOnlyAttribute<T, Get>(name);
    result.read = [](ValueReader& in, void* object) {
        auto& owner = *static_cast<T*>(object);
        using Value = std::remove_cvref_t<decltype((owner.*Get)())>;
        (owner.*Set)(ValueText<Value>::read(in));
    };
    return result;
}

} // namespace Mox
