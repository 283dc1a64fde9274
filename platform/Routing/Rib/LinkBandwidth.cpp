#include <Routing/Rib/LinkBandwidth.h>

#include <Mox/CharBuffer.h>

#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <string_view>

namespace Routing::Rib {

namespace {

constexpr std::string_view units[] = {" bps", " kbps", " Mbps", " Gbps", " Tbps"};

/// The smallest number that three decimals round up to 1000.
constexpr double roundsToThousand = 999.9995;

/// Appends a number with at most three decimals and no trailing zeros.
void appendNumber(Mox::CharBuffer& out, double number) {
    if (std::isnan(number)) {
        out.append("nan");
        return;
    }
    // A sign, the digits of the largest float, the point and three decimals.
    char digits[1 + std::numeric_limits<float>::max_exponent10 + 1 + 1 + 3];
    auto const result =
        std::to_chars(digits, std::end(digits), number, std::chars_format::fixed, 3);
    std::string_view text(digits, static_cast<std::size_t>(result.ptr - digits));
    if (text.find('.') != text.npos) {
        text = text.substr(0, text.find_last_not_of('0') + 1);
        text.remove_suffix(text.ends_with('.') ? 1 : 0);
    }
    out.append(text == "-0" ? "0" : text);
}

} // namespace

void LinkBandwidth::format(Mox::CharBuffer& out, float bytesPerSecond, bool weighted) {
    if (weighted) {
        appendNumber(out.append("weight "), bytesPerSecond);
        return;
    }
    auto number = 8 * static_cast<double>(bytesPerSecond);
    auto const* unit = std::begin(units);
    for (; std::isfinite(number) && std::abs(number) >= roundsToThousand &&
           unit != std::prev(std::end(units));
         ++unit) {
        number /= 1000;
    }
    appendNumber(out, number);
    out.append(*unit);
}

Mox::String LinkBandwidth::toStrep(float bytesPerSecond, bool weighted) {
    Mox::LocalCharBuffer<64> out;
    format(out, bytesPerSecond, weighted);
    return out.string();
}

} // namespace Routing::Rib
