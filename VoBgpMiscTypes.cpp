#include <VoBgp/VoBgpMiscTypes.h>

#include <Mox/Assert.h>
#include <Mox/CharBuffer.h>
#include <Mox/Exception.h>
#include <Mox/Type.h>

namespace Routing::Bgp {

namespace {

/// The bits of one element of a view.
struct Element {
    unsigned shift;
    U32 mask;
};

/// Returns element `index` of a view of `elements` elements of `bits` bits each. Throws
/// RangeException.
Element elementOf(U8 index, unsigned elements, unsigned bits, char const* operation) {
    if (index >= elements) {
        throw Mox::RangeException(operation);
    }
    unsigned const shift = index * bits;
    return {shift, ((U32{1} << bits) - 1) << shift};
}

Element boolElement(U8 index, char const* operation) {
    return elementOf(index, 16, 1, operation);
}

Element u8Element(U8 index, char const* operation) {
    return elementOf(index, 4, 8, operation);
}

Element u16Element(U8 index, char const* operation) {
    return elementOf(index, 2, 16, operation);
}

U32 readElement(U32 word, Element element) {
    return (word & element.mask) >> element.shift;
}

U32 withElement(U32 word, Element element, U32 value) {
    return (word & ~element.mask) | value << element.shift;
}

} // namespace

Mox::Type const& BgpDenseU32Attr::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::value, "Routing::Bgp::BgpDenseU32Attr",
        {Mox::readOnlyAttribute<BgpDenseU32Attr, &BgpDenseU32Attr::value>("value")});
    return type;
}

namespace {

// For the registry only; the text form of a value does not use this attribute.
Mox::Type const maybeU63Type(Mox::Type::Kind::value, "Routing::Bgp::BgpMaybeU63",
                             {{"value", [](Mox::CharBuffer& out, void const* object) {
                                   Kel::writeMaybeU63(out,
                                                      *static_cast<BgpMaybeU63 const*>(object));
                               }}});

Mox::TypeRegistration const miscTypeRegistrations[] = {
    Mox::TypeRegistration(BgpDenseU32Attr::staticType()),
    Mox::TypeRegistration(maybeU63Type),
};

} // namespace

bool BgpDenseU32Attr::valueBool(U8 index) const {
    return readElement(value_, boolElement(index, "BgpDenseU32Attr::valueBool")) != 0;
}

U8 BgpDenseU32Attr::valueU8(U8 index) const {
    return static_cast<U8>(readElement(value_, u8Element(index, "BgpDenseU32Attr::valueU8")));
}

U16 BgpDenseU32Attr::valueU16(U8 index) const {
    return static_cast<U16>(readElement(value_, u16Element(index, "BgpDenseU32Attr::valueU16")));
}

void BgpDenseU32Attr::valueBoolIs(U8 index, bool value) {
    value_ = withElement(value_, boolElement(index, "BgpDenseU32Attr::valueBoolIs"), value);
}

void BgpDenseU32Attr::valueU8Is(U8 index, U8 value) {
    value_ = withElement(value_, u8Element(index, "BgpDenseU32Attr::valueU8Is"), value);
}

void BgpDenseU32Attr::valueU16Is(U8 index, U16 value) {
    value_ = withElement(value_, u16Element(index, "BgpDenseU32Attr::valueU16Is"), value);
}

void BgpDenseU32Attr::valueBoolDel(U8 /*index*/) {
    throw Mox::NonDeletableAttributeException("BgpDenseU32Attr::valueBoolDel");
}

void BgpDenseU32Attr::valueU8Del(U8 /*index*/) {
    throw Mox::NonDeletableAttributeException("BgpDenseU32Attr::valueU8Del");
}

void BgpDenseU32Attr::valueU16Del(U8 /*index*/) {
    throw Mox::NonDeletableAttributeException("BgpDenseU32Attr::valueU16Del");
}

BgpMaybeU63::~BgpMaybeU63() = default;

void BgpMaybeU63::checkValue() {
    if (isUnspecified()) {
        return;
    }
    if (word() < min() || word() > max()) {
        wordIs(unspecifiedWord);
        throw Mox::RangeException("value < min or > max not allowed");
    }
}

void BgpMaybeU63::valueIs(U64 value) {
    wordIs((value & unspecifiedWord) != 0 ? unspecifiedWord : value);
    checkValue();
}

BgpMaybeU63::operator U64() const noexcept {
    MOX_ASSERT(!isUnspecified() && "Caller must check isUnspecified() before getting value()");
    return word();
}

String BgpMaybeU63::toStrep() const {
    if (isUnspecified()) {
        return "-";
    }
    Mox::LocalCharBuffer<20> out;
    return out.appendDecimal(word()).string();
}

} // namespace Routing::Bgp
