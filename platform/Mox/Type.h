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
    /// Writes the attribute's value on an object as text. The object is a `PtrInterface const*` for
    /// an entity and the value's own address for a value.
    void (*write)(CharBuffer& out, void const* object);
    /// Reads the attribute's text into a value; null where it cannot be set.
    void (*read)(ValueReader& in, void* object) = nullptr;
};

/// One member of a reflected enumeration.
struct EnumerationMember {
    std::string_view name;
    U64 number;
};

/// What the framework knows of a type: its qualified name, and its attributes (of a value or a
/// counted object) or members (of an enumeration) in the order of their table.
///
/// One per type, a static of the source that defines the type; the strings it refers to are
/// literals. Immutable.
class VOBGP_EXPORT Type {
  public:
    enum class Kind { value, entity, enumeration };

    Type(Kind kind, std::string_view name, std::vector<Attribute> attributes,
         Type const* base = nullptr);
    Type(std::string_view name, std::vector<EnumerationMember> members);

    Kind kind() const noexcept { return kind_; }
    std::string_view name() const noexcept { return name_; }

    /// Those of the base type first.
    std::span<Attribute const> attributes() const noexcept { return attributes_; }
    std::span<EnumerationMember const> members() const noexcept { return members_; }

    /// The type this one derives from, or null.
    Type const* base() const noexcept { return base_; }

    /// The attribute of that name, or null.
    Attribute const* attribute(std::string_view name) const noexcept;

    /// The text of an attribute's value on an object of this type.
    String attributeText(Attribute const& attribute, PtrInterface const& object) const;

  private:
    Kind kind_;
    std::string_view name_;
    std::vector<Attribute> attributes_;
    std::vector<EnumerationMember> members_;
    Type const* base_ = nullptr;
};

/// Every reflected type of the process. Static initialisers fill it, in whatever order they run; it
/// is complete when main() begins. Thread-safe.
class VOBGP_EXPORT TypeRegistry {
  public:
    /// All types, by qualified name.
    static std::vector<Type const*> types();

    /// The type of that qualified name, or null.
    static Type const* type(std::string_view name);
};

/// A static of this class in a type's source registers the type.
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

/// An attribute that is read by a member function and cannot be set through its text.
template <class T, auto Get>
constexpr Attribute readOnlyAttribute(std::string_view name) noexcept {
    return {name, [](CharBuffer& out, void const* object) {
                auto const value = (Detail::attributeOwner<T>(object).*Get)();
                ValueText<std::remove_cvref_t<decltype(value)>>::write(out, value);
            }};
}

/// An attribute that is a counted pointer: `0x` and the address in hexadecimal, null as `0x0`.
template <class T, auto Get>
constexpr Attribute pointerAttribute(std::string_view name) noexcept {
    return {name, [](CharBuffer& out, void const* object) {
                writePointer(out, (Detail::attributeOwner<T>(object).*Get)().get());
            }};
}

/// An attribute that member functions read and set.
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
