#include <Mox/ValueText.h>

#include <Mox/Type.h>

#include <bit>
#include <string>

namespace Mox {

void ValueReader::expect(std::string_view literal) {
    if (!accept(literal)) {
        fail("\"" + std::string(literal) + "\"");
    }
}

bool ValueReader::accept(std::string_view literal) noexcept {
    if (!rest().starts_with(literal)) {
        return false;
    }
    skip(literal.size());
    return true;
}

U64 ValueReader::readDecimal(U64 max, std::string_view what) {
    auto const digits = rest();
    U64 number = 0;
    std::size_t length = 0;
    for (; length < digits.size() && digits[length] >= '0' && digits[length] <= '9'; ++length) {
        auto const digit = static_cast<U64>(digits[length] - '0');
        bool const superfluousZero = length == 1 && number == 0;
        if (superfluousZero) {
            fail(what);
        }
        if (digit > max || number > (max - digit) / 10) {
            throw ParseException(what, offset(), true);
        }
        number = number * 10 + digit;
    }
    if (length == 0) {
        fail(what);
    }
    skip(length);
    return number;
}

std::string_view ValueReader::readName() noexcept {
    auto const text = rest();
    std::size_t length = 0;
    auto const belongs = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == ':';
    };
    while (length < text.size() && belongs(text[length])) {
        ++length;
    }
    skip(length);
    return text.substr(0, length);
}

void ValueReader::expectEnd() {
    if (!atEnd()) {
        fail("the end of the text");
    }
}

void ValueReader::fail(std::string_view expected) const {
    throw ParseException(expected, offset());
}

bool ValueText<bool>::read(ValueReader& in) {
    if (in.accept("True")) {
        return true;
    }
    if (in.accept("False")) {
        return false;
    }
    in.fail("True or False");
}

namespace {

/// The text before an attribute's value: `'NAME': `, preceded by a comma except for the first
/// attribute.
std::string keyText(Type const& type, std::size_t number) {
    std::string key = number == 0 ? "'" : ", '";
    return key.append(type.attributes()[number].name).append("': ");
}

std::string openingText(Type const& type) {
    return "Value('" + std::string(type.name()) + "', ** {";
}

} // namespace

void writePointer(CharBuffer& out, void const* pointer) {
    auto const address = reinterpret_cast<U64>(pointer);
    auto const bits = static_cast<unsigned>(std::bit_width(address));
    out.append("0x").appendHex(address, bits == 0 ? 1 : (bits + 3) / 4);
}

void writeAttributes(CharBuffer& out, Type const& type, void const* object) {
    out.append("Value('").append(type.name()).append("', ** {");
    std::string_view separator;
    for (auto const& attribute : type.attributes()) {
        out.append(separator).append('\'').append(attribute.name).append("': ");
        attribute.write(out, object);
        separator = ", ";
    }
    out.append("})");
}

void readAttributes(ValueReader& in, Type const& type, void* object) {
    in.expect(openingText(type));
    for (std::size_t i = 0; i < type.attributes().size(); ++i) {
        in.expect(keyText(type, i));
        auto const& attribute = type.attributes()[i];
        if (attribute.read == nullptr) {
            in.fail("an attribute that can be set");
        }
        attribute.read(in, object);
    }
    in.expect("})");
}

} // namespace Mox
